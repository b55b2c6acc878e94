% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% Rings of equal areas that focus at two depths.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example17_annular_array.m
% Eight rings of 20 mm in diameter. The phases of an annular array move its focus along the axis; both
% foci are columns of weights, and computed at once.

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

frequency = 2e6;              % Hz
depths = [30e-3, 60e-3];      % m
array = pistonfield_array('annular', 'elements', 8, 'radius', 10e-3, 'kerf', 0.1e-3);
for i = 1:2
  [w(:, i), info] = pistonfield_focus(array, [0 0 depths(i)], 'frequency', frequency, ...
                                      'velocity', 0.1); %#ok<SAGROW>
  fprintf('at the focus %.0f mm deep: %.3f MPa\n', depths(i) * 1e3, abs(info.pressures) / 1e6);
end
x = (-12:0.2:12) * 1e-3;
z = (5:0.4:90) * 1e-3;
grid = pistonfield_grid(x, 0, z);
p = pistonfield_pressure(array, grid, 'frequency', frequency, 'velocity', 0.1, 'weights', w);

figure_ = example_figure(1400, 430);
pistonfield_plot(array, 'weights', w(:, 1), 'title', '8 rings of equal areas', ...
                 'axes', axes('parent', figure_, 'outerposition', [0 0 0.3 1]));
for i = 1:2
  pistonfield_plot(p(:, :, :, i), grid, 'show', 'level', 'piston', array, ...
                   'title', sprintf('Focused %.0f mm deep', depths(i) * 1e3), ...
                   'axes', axes('parent', figure_, 'outerposition', [0.3 + 0.35 * (i - 1), 0, 0.35, 1]));
end
example_picture(figure_, folder, 'annular_array');
