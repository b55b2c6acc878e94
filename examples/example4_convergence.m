% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% How the error falls as the order grows: square pistons of 2, 8 and 32 wavelengths, on the axis,
% at distances from half a wavelength on.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example4_convergence.m
% The reference is the surface integral in polar coordinates about the axis, whose inner part has a
% closed form (see example3_near_and_far_field.m), taken by an adaptive rule.

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

frequency = 1e6;  % Hz
speed = 1500;     % m/s
density = 1000;   % kg/m^3; the velocity is 1 m/s
wave_length = speed / frequency;
k = 2 * pi / wave_length;
widths = [2 8 32];       % wavelengths
distances = [0.5 2 8];   % wavelengths
orders = 2:2:40;

exact = @(side, z) density * speed * ...
        (exp(-1i * k * z) - ...
         4 / pi * quadgk(@(t) exp(-1i * k * sqrt(z ^ 2 + (side / 2 ./ cos(t)) .^ 2)), ...
                         0, pi / 4, 'abstol', 1e-13, 'reltol', 1e-13));

errors = zeros(numel(widths), numel(distances), numel(orders));
for i = 1:numel(widths)
  side = widths(i) * wave_length;
  piston = struct('width', side, 'height', side);
  for j = 1:numel(distances)
    z = distances(j) * wave_length;
    wanted = exact(side, z);
    for n = 1:numel(orders)
      p = pistonfield_pressure(piston, pistonfield_grid(0, 0, z), 'frequency', frequency, ...
                               'speed', speed, 'density', density, 'order', orders(n));
      errors(i, j, n) = abs(p - wanted) / (density * speed);
    end
  end
end

fprintf('The smallest order with an error below ..., in parts of rho c u0\n\n');
fprintf('side (wavelengths)   z (wavelengths)    1e-2    1e-4    1e-8   1e-12\n');
for i = 1:numel(widths)
  for j = 1:numel(distances)
    fprintf('%18d %17.1f', widths(i), distances(j));
    for allowed = [1e-2 1e-4 1e-8 1e-12]
      enough = find(errors(i, j, :) > allowed, 1, 'last') + 1;
      if isempty(enough)
        enough = 1;
      end
      if enough > numel(orders)
        fprintf('   > %3d', orders(end));
      else
        fprintf('%8d', orders(enough));
      end
    end
    fprintf('\n');
  end
end

colours = [0.93 0.50 0.04; 0.80 0.25 0.33; 0.42 0.09 0.43];
figure_ = example_figure(1200, 420);
for i = 1:numel(widths)
  ax = axes('parent', figure_, 'position', [0.065 + 0.32 * (i - 1), 0.14, 0.27, 0.74]);
  for j = 1:numel(distances)
    curves(j) = semilogy(ax, orders, max(squeeze(errors(i, j, :)), 1e-17), 'color', ...
                         colours(j, :), 'linewidth', 3);
    hold(ax, 'on');
  end
  axis(ax, [0 40 1e-16 10]);
  set(ax, 'xgrid', 'on', 'ygrid', 'on', 'yminorgrid', 'off', 'yminortick', 'off', ...
      'gridcolor', [0.8 0.8 0.8], 'ytick', 10 .^ (-16:4:0), 'yticklabel', ...
      {'10^{-16}', '10^{-12}', '10^{-8}', '10^{-4}', '1'});
  xlabel(ax, 'order');
  title(ax, sprintf('side of %d wavelengths', widths(i)));
  if i == 1
    ylabel(ax, 'error of p / (\rho c u_0)');
    names = arrayfun(@(z) sprintf('z = %g wavelengths', z), distances, 'uniformoutput', false);
    legend(curves, names, 'location', 'northeast');
  end
end
example_picture(figure_, folder, 'convergence');
