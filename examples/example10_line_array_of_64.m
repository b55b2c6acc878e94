% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% A line array of 64 elements, focused and steered, in ten lines.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example10_line_array_of_64.m
% Its two beams are computed at once, as two columns of weights: one to a focus 20 mm before the array
% and 6 mm beside its axis, the other a plane wave to the other side, by 30 degrees, with less drive
% towards the ends. The picture shows the stronger of both at each point.

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

array = pistonfield_array('line', 'elements', 64, 'pitch', 0.3e-3, 'width', 0.27e-3, 'height', 10e-3);
w = pistonfield_focus(array, [-6e-3 0 20e-3], 'frequency', 2.5e6);
w(:, 2) = pistonfield_focus(array, [], 'frequency', 2.5e6, 'steer', 30, 'apodization', 'hann');
grid = pistonfield_grid((-20:0.1:30) * 1e-3, 0, (0.5:0.1:50) * 1e-3);  % m
p = pistonfield_pressure(array, grid, 'frequency', 2.5e6, 'weights', w);
fprintf('largest |p| of the two beams: %.2f MPa and %.2f MPa\n', max(max(abs(squeeze(p)))) / 1e6);
h = pistonfield_plot(max(abs(p), [], 4), grid, 'show', 'level', 'piston', array);
example_picture(h.figure, folder, 'line_array_of_64');
