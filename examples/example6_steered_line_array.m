% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% A line array of 16 elements, steered by 20 degrees: the fields of its elements, each with a phase
% of its own, added up.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example6_steered_line_array.m

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

frequency = 2e6;  % Hz
speed = 1500;     % m/s
wave_length = speed / frequency;
k = 2 * pi / wave_length;
count = 16;
pitch = 0.75 * wave_length;
steering = 20;    % degrees
element = struct('width', 0.8 * pitch, 'height', 8e-3);
positions = ((1:count) - (count + 1) / 2) * pitch;  % m, along x

% The plane y = 0.
x = (-30:0.25:50) * 1e-3;
z = (0.5:0.25:100) * 1e-3;
grid = pistonfield_grid(x, 0, z);

% A wave that leaves at the steering angle is later by x * sin(angle) / speed at x.
p = zeros(grid.sizes);
for i = 1:count
  element.center = [positions(i), 0, 0];
  delay = positions(i) * sind(steering) / speed;
  p = p + exp(-2i * pi * frequency * delay) * ...
          pistonfield_pressure(element, grid, 'frequency', frequency, 'speed', speed, ...
                               'velocity', 0.1);
end

% In the far field the element's sinc times the sum over the elements' phases. Grating lobes stand
% where the sine of the angle differs from the steering angle's by wave_length / pitch.
sine = linspace(-1, 1, 20001);
pattern = abs(exp(1i * k * (sine' - sind(steering)) * positions) * ones(count, 1))' .* ...
          abs(sin(pi * element.width / wave_length * sine + realmin) ./ ...
              (pi * element.width / wave_length * sine + realmin));
[~, at] = max(pattern);
grating = asind(sind(steering) - wave_length / pitch);

% The direction of the strongest field at 80 mm from the array's centre.
angles = -40:0.05:40;
r = 80e-3;
on_arc = interp2(z, x, abs(squeeze(p)), r * cosd(angles), r * sind(angles), 'linear');
[~, strongest] = max(on_arc);
fprintf('%d elements of %.3f mm by %g mm, pitch %.3f wavelengths, steered by %g degrees\n', ...
        count, element.width * 1e3, element.height * 1e3, pitch / wave_length, steering);
fprintf(['the field is strongest at %.2f degrees, ', ...
         'that of the far field formula at %.2f degrees\n'], ...
        angles(strongest), asind(sine(at)));
fprintf('grating lobe expected at %.1f degrees\n', grating);

h = pistonfield_plot(p, grid, 'show', 'level', 'range', 40, 'title', ...
                     sprintf(['16 elements at 2 MHz, pitch %.2f wavelengths, ', ...
                              'steered by %g degrees'], pitch / wave_length, steering));
marks = {steering, [1 1 1]; grating, [0.4 0.8 1]};
for i = 1:2
  line('parent', h.axes, 'xdata', [0 200] * cosd(marks{i, 1}), ...
       'ydata', [0 200] * sind(marks{i, 1}), 'linestyle', '--', 'color', marks{i, 2}, ...
       'linewidth', 2);
end
line('parent', h.axes, 'xdata', 0.6 * ones(1, count), 'ydata', positions * 1e3, ...
     'linestyle', 'none', 'marker', 's', 'markersize', 3, 'color', [0 0.6 0.8], ...
     'markerfacecolor', [0 0.6 0.8]);
example_picture(h.figure, folder, 'steered_line_array');
