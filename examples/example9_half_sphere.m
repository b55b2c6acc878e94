% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The pressure on a half sphere around a piston: points that are no grid.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example9_half_sphere.m
% On the left, the level on the half sphere before the piston, re its largest. On the right, along the
% arcs above the piston's x and y, with the far field's product of two sincs. What is carried through
% the half sphere, the integral of |p|^2 / (2*rho*c), is the power that the piston radiates; the sum of
% trapezoids in steps of a degree is 0.2 % less.

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

piston = struct('width', 6e-3, 'height', 4e-3);  % m
frequency = 1e6;  % Hz
speed = 1482;     % m/s
density = 998;    % kg/m^3
radius = 0.2;     % m

% Arrays of one size, as meshgrid makes them; the pressure has that size, too.
[azimuth, angle] = meshgrid(linspace(0, 2 * pi, 121), linspace(0, pi / 2, 91));
points = struct('x', radius * sin(angle) .* cos(azimuth), ...
                'y', radius * sin(angle) .* sin(azimuth), ...
                'z', radius * cos(angle));
[p, info] = pistonfield_pressure(piston, points, 'frequency', frequency, 'speed', speed, ...
                                 'density', density, 'power', 1, 'tolerance', 1e-6);

intensity = abs(p) .^ 2 / (2 * density * speed);
carried = trapz(azimuth(1, :), trapz(angle(:, 1), intensity .* sin(angle) * radius ^ 2, 1));
fprintf('%d points: through the half sphere go %.4f W of the %.4f W that are radiated\n', ...
        numel(p), carried, info.power);
k = info.wavenumber;
sinc_of = @(a) sin(a + realmin) ./ (a + realmin);
far = density * speed * info.velocity * k * piston.width * piston.height / (2 * pi * radius) * ...
      abs(sinc_of(k * piston.width / 2 * points.x / radius) .* ...
          sinc_of(k * piston.height / 2 * points.y / radius));
fprintf('on the axis: %.3f kPa, in the far field %.3f kPa\n', abs(p(1)) / 1e3, far(1) / 1e3);

level = @(values) 20 * log10(max(abs(values) / abs(p(1)), 1e-3));
figure_ = example_figure(1200, 460);
sphere_ = axes('parent', figure_, 'position', [0.08 0.1 0.38 0.8]);
surf(sphere_, points.x * 1e3, points.y * 1e3, points.z * 1e3, level(p), 'edgecolor', 'none');
view(sphere_, 30, 40);
axis(sphere_, [-200 200 -200 200 0 200]);
caxis(sphere_, [-40 0]);
colormap(sphere_, 'hot');
colorbar('peer', sphere_);
xlabel(sphere_, 'x (mm)');
ylabel(sphere_, 'y (mm)');
zlabel(sphere_, 'z (mm)');
title(sphere_, 'Level (dB re the axis) at 200 mm');

arcs = axes('parent', figure_, 'position', [0.58 0.13 0.39 0.76]);
hold(arcs, 'on');
violet = [0.42 0.09 0.43];
orange = [0.93 0.50 0.04];
grey = [0.45 0.45 0.45];
degrees = angle(:, 1) * 180 / pi;
curves(1) = plot(arcs, degrees, level(p(:, 1)), 'color', violet, 'linewidth', 3);
curves(2) = plot(arcs, degrees, level(p(:, 31)), 'color', orange, 'linewidth', 3);
some = 1:2:91;
curves(3) = plot(arcs, degrees(some), level(far(some, 1)), 'o', 'color', grey, 'linewidth', 2);
plot(arcs, degrees(some), level(far(some, 31)), 'o', 'color', grey, 'linewidth', 2);
axis(arcs, [0 90 -50 0]);
xlabel(arcs, 'angle to the axis (degrees)');
ylabel(arcs, 'level (dB re the axis)');
title(arcs, 'Along two arcs');
legend(curves, {'above x', 'above y', 'far field'}, 'location', 'northeast');
example_picture(figure_, folder, 'half_sphere');
