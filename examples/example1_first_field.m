% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The field of a small ultrasound piston in water, in the plane through its long middle line.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example1_first_field.m
% It prints what it computed and writes build/demo/first_field.png.

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

% The piston lies in the plane z = 0, centred on the origin. Lengths are in m.
piston = struct('width', 7.5e-3, 'height', 5e-3);
frequency = 1e6;    % Hz
soundSpeed = 1500;  % m/s, water
density = 1000;     % kg/m^3
velocity = 0.1;     % m/s, its amplitude

% The grid: the plane y = 0, in steps of 0.1 mm.
x = (-15:0.1:15) * 1e-3;
z = (0.5:0.1:120) * 1e-3;
grid = pistonfield_grid(x, 0, z);

tic;
p = pistonfield_pressure(piston, grid, 'frequency', frequency, 'speed', soundSpeed, ...
                         'density', density, 'velocity', velocity, 'tolerance', 1e-6);
seconds = toc;

[largest, at] = max(abs(p(:)));
[ix, ~, iz] = ind2sub(size(p), at);
fprintf('grid: %d x %d x %d = %d points\n', grid.sizes, numel(p));
fprintf('time: %.2f s, %.2f us per point\n', seconds, seconds / numel(p) * 1e6);
fprintf('largest |p|: %.3f kPa at x = %.1f mm, y = 0, z = %.1f mm\n', ...
        largest / 1e3, x(ix) * 1e3, z(iz) * 1e3);

h = pistonfield_plot(p, grid, 'axes', axes('parent', example_figure(1400, 420), ...
                                           'outerposition', [0 0 1 1]), ...
                     'piston', piston, ...
                     'title', ['Pressure of a 7.5 mm by 5 mm piston at 1 MHz in water, ', ...
                               'moving at 0.1 m/s, in the plane y = 0']);
example_picture(h.figure, folder, 'first_field');
