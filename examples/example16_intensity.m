% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% Where the power of a disc flows in its near field: the active intensity.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example16_intensity.m
% The arrows have the direction of the active intensity, the colours the pressure. Where the pressure
% on the axis is 0, the power flows around the place. What goes through planes before the disc is what
% it radiates, wherever they are.

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

frequency = 1e6;                                    % Hz
wavelength = 1482 / frequency;                      % m
disc = pistonfield_piston('disc', 'radius', 2.5 * wavelength);
drive = {'frequency', frequency, 'velocity', 0.1};  % m/s
x = linspace(-4, 4, 161) * wavelength;
z = linspace(0, 10, 201) * wavelength;
grid = pistonfield_grid(x, 0, z);
p = pistonfield_pressure(disc, grid, drive{:});

% Rings about the axis, through which the power flows.
r = (0.5:1599.5) * wavelength / 20;
for distance = [1 5] * wavelength
  [~, ~, iz] = pistonfield_intensity(disc, [r.', 0 * r.', distance + 0 * r.'], drive{:}, ...
                                     'tolerance', 1e-5);
  power = 2 * pi * sum(real(iz).' .* r) * wavelength / 20;
  fprintf('through the plane %4.1f mm before the disc flow %.3f W\n', distance * 1e3, power);
end
% A disc's radiation resistance is that of its area times 1 - J1(2ka)/(ka).
ka = 2 * pi * 2.5;
known = 998 * 1482 * pi * (2.5 * wavelength) ^ 2 * (1 - besselj(1, 2 * ka) / ka) * 0.1 ^ 2 / 2;
fprintf('the disc radiates %.3f W\n', known);

figure_ = example_figure(1000, 640);
shown = axes('parent', figure_, 'outerposition', [0 0 1 1]);
pistonfield_plot(p, grid, 'axes', shown, 'piston', disc, 'colormap', 'gray', 'unit', 'kPa', ...
                 'title', 'Active intensity of a disc of 5 wavelengths');
some_x = linspace(-3.8, 3.8, 39) * wavelength;
some_z = linspace(0.1, 9.8, 49) * wavelength;
[ix, ~, iz] = pistonfield_intensity(disc, pistonfield_grid(some_x, 0, some_z), drive{:});
flow_x = squeeze(real(ix));
flow_z = squeeze(real(iz));
size_of = hypot(flow_x, flow_z);
step = 0.85 * (some_z(2) - some_z(1)) * 1e3;
hold(shown, 'on');
quiver(shown, some_z * 1e3, some_x * 1e3, step * flow_z ./ size_of, step * flow_x ./ size_of, 0, ...
       'color', [0.95 0.55 0.1], 'linewidth', 1);
example_picture(figure_, folder, 'intensity');
