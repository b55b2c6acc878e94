% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% A piston whose velocity falls to its edges, as tiles, beside one that moves as a whole.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example19_apodised_piston.m
% The apodised one has no maxima and minima before it, and no side lobes.

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

frequency = 1e6;              % Hz
wavelength = 1482 / frequency;  % m
sides = {'width', 16e-3, 'height', 16e-3};
[array, weights] = pistonfield_array('apodised', sides{:}, 'along_x', 'hann', 'along_y', 'hann', ...
                                     'wavelength', wavelength, 'distance', 2e-3, ...
                                     'tolerance', 1e-2);
fprintf('%d tiles: the estimated error is %.1e\n', numel(weights), array.description.error);

x = (-25:0.5:25) * 1e-3;
z = (2:0.5:100) * 1e-3;
grid = pistonfield_grid(x, 0, z);
apodised = pistonfield_pressure(array, grid, 'frequency', frequency, 'weights', weights);
whole = pistonfield_pressure(struct(sides{:}), grid, 'frequency', frequency);
lobe = @(p) 20 * log10(max(abs(p(abs(x) > 20e-3, 1, end))) / max(abs(p(:, 1, end))));
fprintf('beyond 20 mm beside the axis, at 100 mm: %.0f dB, as a whole %.0f dB\n', ...
        lobe(apodised), lobe(whole));

figure_ = example_figure(1200, 460);
fields = {whole, apodised};
titles = {'moves as a whole', 'falls to its edges'};
for i = 1:2
  plane = axes('parent', figure_, 'position', [0.06 + (i - 1) * 0.49, 0.13, 0.40, 0.76]);
  field = abs(squeeze(fields{i}));
  imagesc(plane, z * 1e3, x * 1e3, 20 * log10(field / max(field(:)) + 1e-4));
  axis(plane, 'xy');
  caxis(plane, [-40 0]);
  colormap(plane, 'hot');
  colorbar('peer', plane);
  xlabel(plane, 'z (mm)');
  ylabel(plane, 'x (mm)');
  title(plane, ['A piston that ', titles{i}, ' (dB)']);
end
example_picture(figure_, folder, 'apodised_piston');
