% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% A two-dimensional array of 16 by 16 elements, focused off its axis: the plane through the focus
% and the axis, and the focal plane.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example7_focused_array.m

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

frequency = 1.5e6;  % Hz
speed = 1500;       % m/s
wave_length = speed / frequency;
k = 2 * pi / wave_length;
count = 16;
pitch = 1.2e-3;     % m
element = struct('width', 1e-3, 'height', 1e-3);
focus = [5e-3 0 30e-3];  % m

centres = ((1:count) - (count + 1) / 2) * pitch;
[cx, cy] = ndgrid(centres, centres);

step = 0.25e-3;
lengthwise = pistonfield_grid(-15e-3:step:15e-3, 0, 2e-3:step:60e-3);
focal = pistonfield_grid(-15e-3:step:15e-3, -15e-3:step:15e-3, focus(3));
grids = {lengthwise, focal};
fields = {zeros(lengthwise.sizes), zeros(focal.sizes)};

% Each element starts earlier by the time that its wave needs to the focus.
for i = 1:numel(cx)
  element.center = [cx(i), cy(i), 0];
  phase = exp(1i * k * norm(focus - element.center));
  for j = 1:2
    fields{j} = fields{j} + phase * ...
                pistonfield_pressure(element, grids{j}, 'frequency', frequency, 'speed', speed, ...
                                     'velocity', 0.1);
  end
end

% The width of the focus against that of a square aperture's sinc, whose half-pressure points are
% 1.207 apart in aperture * sine / wave_length.
x = pistonfield_grid(focal, 'axes');
profile = abs(fields{2}(:, (end + 1) / 2)) / max(abs(fields{2}(:)));
above = x(profile >= 0.5);
aperture = count * pitch;
[largest, at] = max(abs(fields{2}(:)));
[ix, iy] = ind2sub(size(fields{2}), at);
fprintf('focus asked for at x = %.2f mm, y = %.2f mm\n', focus(1:2) * 1e3);
fprintf('in the focal plane |p| is largest, %.3f MPa, at x = %.2f mm, y = %.2f mm\n', ...
        largest / 1e6, x(ix) * 1e3, x(iy) * 1e3);
% Seen from the focus the aperture is foreshortened, and the focal plane is crossed aslant.
ideal = 1.207 * wave_length * norm(focus) / aperture * (norm(focus) / focus(3)) ^ 2;
fprintf('its width where |p| is half of that: %.2f mm; of an ideal aperture: %.2f mm\n', ...
        (above(end) - above(1)) * 1e3, ideal * 1e3);

figure_ = example_figure(1300, 430);
titles = {'16 x 16 elements of 1 mm, 1.5 MHz, focused to x = 5 mm, z = 30 mm', ...
          'The focal plane, z = 30 mm'};
bounds = {[0 0 0.62 1], [0.62 0 0.38 1]};
for j = 1:2
  pistonfield_plot(fields{j}, grids{j}, 'show', 'level', 'range', 30, 'reference', largest, ...
                   'title', titles{j}, ...
                   'axes', axes('parent', figure_, 'outerposition', bounds{j}));
end
example_picture(figure_, folder, 'focused_array');
