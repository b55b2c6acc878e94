% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The field on a plane that is tilted against the piston by 35 degrees, as a hydrophone scan or an
% image plane may be.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example5_tilted_plane.m

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

piston = struct('width', 12e-3, 'height', 8e-3);
frequency = 1e6;  % Hz
tilt = 35;        % degrees, about x
step = 0.25e-3;   % m
centre = [0 0 25e-3];
across = [1 0 0];
upwards = [0 cosd(tilt) sind(tilt)];

% 121 by 121 points about the centre; the third direction has one point, so its step is free.
sizes = [121 121 1];
steps = step * [across; upwards; cross(across, upwards)]';
origin = centre - (steps * (sizes' - 1))' / 2;
grid = pistonfield_grid(origin, steps, sizes);
p = pistonfield_pressure(piston, grid, 'frequency', frequency, 'velocity', 0.1, ...
                         'tolerance', 1e-6);

% The plane's middle lies on the axis.
middle = p(61, 61);
on_axis = pistonfield_pressure(piston, pistonfield_grid(0, 0, centre(3)), ...
                               'frequency', frequency, 'velocity', 0.1, 'tolerance', 1e-10);
fprintf('%d points on a plane tilted by %g degrees\n', numel(p), tilt);
fprintf('where it crosses the axis |p| = %.3f kPa, on the axis itself %.3f kPa\n', ...
        abs(middle) / 1e3, abs(on_axis) / 1e3);

upright = pistonfield_grid(0, -15e-3:step:15e-3, 0.5e-3:step:45e-3);
beside = pistonfield_pressure(piston, upright, 'frequency', frequency, 'velocity', 0.1);

figure_ = example_figure(1300, 450);
limits = [0, max(abs(beside(:)))];
side = pistonfield_plot(beside, upright, 'limits', limits, 'piston', piston, 'title', ...
                        'A 12 mm by 8 mm piston at 1 MHz in water, and the plane', 'axes', ...
                        axes('parent', figure_, 'outerposition', [0 0 0.58 1]));
ends = [origin; origin + 120 * steps(:, 2)'] * 1e3;
line('parent', side.axes, 'xdata', ends(:, 3), 'ydata', ends(:, 2), ...
     'color', [1 1 1], 'linewidth', 3);
pistonfield_plot(p, grid, 'limits', limits, 'title', ...
                 sprintf('On the plane tilted by %g degrees', tilt), 'axes', ...
                 axes('parent', figure_, 'outerposition', [0.58 0 0.42 1]));
example_picture(figure_, folder, 'tilted_plane');
