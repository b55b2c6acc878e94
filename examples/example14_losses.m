% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The beam of a disc in a medium with losses, beside that without them.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example14_losses.m
% A disc of 12 mm in diameter radiates at 3 MHz into a medium like soft tissue, with 0.5 dB/(cm MHz).
% On the axis the field without losses is known in closed form, and with them as well: its wavenumber
% is then complex.

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

disc = pistonfield_piston('disc', 'radius', 6e-3);  % m
medium = {'frequency', 3e6, 'speed', 1540, 'density', 1050};
losses = {'attenuation', 0.5, 'dispersion', true};
x = (-12:0.15:12) * 1e-3;
z = (1:0.3:120) * 1e-3;
grid = pistonfield_grid(x, 0, z);
plain = pistonfield_pressure(disc, grid, medium{:});
[lossy, info] = pistonfield_pressure(disc, grid, medium{:}, losses{:});
fprintf('phase speed %.2f m/s, 1540 m/s at 1 MHz\n', 2 * pi * 3e6 / info.wavenumber);

middle = (numel(x) + 1) / 2;
drop = 20 * log10(abs(lossy(middle, 1, :) ./ plain(middle, 1, :)));
deep = find(z >= 100e-3, 1);
fprintf('on the axis at %.0f mm: %.2f dB less, %.2f dB are 0.5 dB/(cm MHz)\n', z(deep) * 1e3, ...
        -drop(deep), 0.5 * 3 * z(deep) * 100);

figure_ = example_figure(1300, 480);
bounds = {[0 0 0.35 1], [0.35 0 0.35 1], [0.71 0.04 0.29 0.92]};
fields = {plain, lossy};
titles = {'No losses', '0.5 dB/(cm MHz)'};
for i = 1:2
  pistonfield_plot(fields{i}, grid, 'axes', axes('parent', figure_, 'outerposition', bounds{i}), ...
                   'piston', disc, 'title', titles{i}, 'show', 'level', ...
                   'reference', max(abs(plain(:))), 'limits', [-40 0]);
end
on_axis = axes('parent', figure_, 'outerposition', bounds{3});
plot(on_axis, z * 1e3, abs(squeeze(plain(middle, 1, :))) / 1e6, 'linewidth', 1.5, ...
     z * 1e3, abs(squeeze(lossy(middle, 1, :))) / 1e6, 'linewidth', 1.5);
axis(on_axis, [0 120 0 4.3]);
xlabel(on_axis, 'z (mm)');
ylabel(on_axis, '|p| (MPa)');
title(on_axis, 'On the axis');
legend(on_axis, titles, 'location', 'northeast');
example_picture(figure_, folder, 'losses');
