% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% From the near field to the far field of a square piston, with the analytic limits.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example3_near_and_far_field.m
% On the left, |p| on the axis, with
%   - the exact value: with b(t) the distance from the axis to the rim, the surface integral is
%       p = rho*c*u0 * (exp(-j*k*z) - 1/(2*pi) * integral of exp(-j*k*sqrt(z^2 + b(t)^2)) dt)
%   - its last maximum, beyond which it only falls,
%   - the Rayleigh distance, the piston's area over the wavelength,
%   - the spherical wave of the far field, rho*c*u0 * area / (wavelength * z).
% On the right, |p| across the beam at 20 Rayleigh distances R and at half of one, over the sine of
% the angle to the axis, with the far field's sinc(side * sin / wavelength).

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

side = 10e-3;       % m
frequency = 1.5e6;  % Hz
speed = 1500;       % m/s
density = 1000;     % kg/m^3
velocity = 0.1;     % m/s
wave_length = speed / frequency;
k = 2 * pi / wave_length;
plane_wave = density * speed * velocity;  % Pa
rayleigh = side ^ 2 / wave_length;

piston = struct('width', side, 'height', side);
field = @(grid) pistonfield_pressure(piston, grid, 'frequency', frequency, 'speed', speed, ...
                                     'density', density, 'velocity', velocity, ...
                                     'tolerance', 1e-8);

% The exact value on the axis, from an eighth of the rim.
rim_wave = @(z, t) exp(-1i * k * sqrt(z ^ 2 + (side / 2 ./ cos(t)) .^ 2));
exact = @(z) abs(plane_wave * (exp(-1i * k * z) - ...
                               4 / pi * quadgk(@(t) rim_wave(z, t), 0, pi / 4, 'abstol', 1e-12)));

% The last maximum: refined from the last one among samples.
z = (4e-3:0.25e-3:3 * rayleigh);
axial = reshape(abs(field(pistonfield_grid(0, 0, z))), 1, []);
rising = find(diff(axial) > 0, 1, 'last') + 1;
last = fminbnd(@(z) -exact(z), z(rising - 1), z(rising + 1), optimset('TolX', 1e-9));
fprintf(['last maximum on the axis: z = %.2f mm = %.3f Rayleigh distances, ', ...
         '|p| = %.3f rho c u0\n'], last * 1e3, last / rayleigh, exact(last) / plane_wave);
fprintf('Rayleigh distance: %.2f mm\n\n', rayleigh * 1e3);
fprintf('    z         |p| (kPa)   exact (kPa)   difference   far field (kPa)   difference\n');
for ratio = [0.1 0.2 0.5 1 2 5 20]
  here = ratio * rayleigh;
  p = abs(field(pistonfield_grid(0, 0, here)));
  far = plane_wave * side ^ 2 / (wave_length * here);
  fprintf('%4.1f R   %13.6f %13.6f %12.1e %17.3f %11.2f %%\n', ratio, p / 1e3, ...
          exact(here) / 1e3, abs(p / exact(here) - 1), far / 1e3, abs(far / p - 1) * 100);
end

violet = [0.42 0.09 0.43];
orange = [0.93 0.50 0.04];
grey = [0.45 0.45 0.45];
figure_ = example_figure(1200, 460);

on_axis = axes('parent', figure_, 'position', [0.06 0.13 0.42 0.76]);
hold(on_axis, 'on');
dots = (0.05:0.1:3) * rayleigh;
computed = plot(on_axis, z / rayleigh, axial / plane_wave, 'color', violet, 'linewidth', 3);
known = plot(on_axis, dots / rayleigh, arrayfun(exact, dots) / plane_wave, 'o', 'color', orange, ...
             'linewidth', 2);
far = plot(on_axis, z / rayleigh, rayleigh ./ z, '--', 'color', grey, 'linewidth', 2);
plot(on_axis, last / rayleigh * [1 1], [0 2], ':', 'color', grey, 'linewidth', 2);
plot(on_axis, [1 1], [0 2], ':', 'color', grey, 'linewidth', 2);
text(last / rayleigh + 0.03, 0.1, sprintf('last maximum, %.3f R', last / rayleigh), ...
     'parent', on_axis, 'fontsize', 9);
text(1.03, 0.2, 'Rayleigh distance R', 'parent', on_axis, 'fontsize', 9);
axis(on_axis, [0 3 0 2]);
xlabel(on_axis, 'z / R');
ylabel(on_axis, '|p| / (\rho c u_0)');
title(on_axis, sprintf('On the axis, R = area / wavelength = %g mm', rayleigh * 1e3));
legend([computed, known, far], {'computed', 'exact', 'far field, R / z'}, 'location', 'northeast');

across = axes('parent', figure_, 'position', [0.56 0.13 0.42 0.76]);
hold(across, 'on');
distances = [0.5 20] * rayleigh;
styles = {orange, violet};
for i = 1:2
  x = linspace(-1, 1, 801) * distances(i);
  r = sqrt(x .^ 2 + distances(i) ^ 2);
  p = reshape(field(pistonfield_grid(x, 0, distances(i))), 1, []);
  curves(i) = plot(across, x ./ r, 20 * log10(abs(p) .* r / (plane_wave * rayleigh)), ...
                   'color', styles{i}, 'linewidth', 3);
end
argument = pi * side / wave_length * x ./ r + realmin;
directivity = sin(argument) ./ argument;
some = 1:10:801;
curves(3) = plot(across, x(some) ./ r(some), 20 * log10(abs(directivity(some))), 'o', ...
                 'color', grey, 'linewidth', 2);
axis(across, [-0.6 0.6 -50 5]);
xlabel(across, 'x / r, the sine of the angle to the axis');
ylabel(across, 'level of |p| r (dB re \rho c u_0 R)');
title(across, 'Across the beam, y = 0');
legend(curves, {'at z = R / 2', 'at z = 20 R', 'far field, sinc'}, 'location', 'northeast');
largest = max(abs(abs(p) .* r / (plane_wave * rayleigh) - abs(directivity)));
fprintf('\nlargest difference from the far field''s sinc at 20 R: %.1e of the peak\n', largest);
example_picture(figure_, folder, 'near_and_far_field');
