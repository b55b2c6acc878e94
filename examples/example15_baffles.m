% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The same piston in a rigid baffle, in one without pressure, and in none.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example15_baffles.m
% A disc of two wavelengths in diameter. On the axis far away all three are alike; to the side the
% rigid baffle has the field of the integral, the soft one that times the cosine of the angle, and what
% stands for none the mean of both.

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

frequency = 1e6;            % Hz
wavelength = 1482 / 1e6;    % m
disc = pistonfield_piston('disc', 'radius', wavelength);
x = linspace(-6, 6, 181) * wavelength;
z = linspace(0, 9, 136) * wavelength;
grid = pistonfield_grid(x, 0, z);
angles = (-90:90).';        % degrees
far = 300 * wavelength * [sind(angles), 0 * angles, cosd(angles)];

baffles = {'rigid', 'soft', 'free'};
figure_ = example_figure(1500, 420);
shared = [0 0.25 0.5];
levels = zeros(numel(angles), 3);
for i = 1:3
  options = {'frequency', frequency, 'baffle', baffles{i}};
  p = pistonfield_pressure(disc, grid, options{:});
  levels(:, i) = abs(pistonfield_pressure(disc, far, options{:}));
  pistonfield_plot(p, grid, 'axes', axes('parent', figure_, 'outerposition', ...
                                         [shared(i), 0, 0.25, 1]), ...
                   'piston', disc, 'title', ['baffle: ', baffles{i}], 'limits', [0 3e6]);
end
levels = levels / levels(91, 1);
at_60 = levels(angles == 60, :);
fprintf('at 60 degrees: %.4f, soft %.4f, free %.4f of the axis\n', at_60);
polar = axes('parent', figure_, 'outerposition', [0.76 0.02 0.24 0.96]);
plot(polar, angles, 20 * log10(levels), 'linewidth', 1.5);
axis(polar, [-90 90 -50 0]);
set(polar, 'xtick', -90:30:90);
xlabel(polar, 'angle to the axis (degrees)');
ylabel(polar, 'level (dB)');
title(polar, 'Far away');
legend(polar, baffles, 'location', 'south');
example_picture(figure_, folder, 'baffles');
