% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The pulse of a disc: the plane wave of its face, and the wave of its rim behind it.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example18_pulse_of_a_disc.m
% On the left the pressure in a plane through the axis at three times, on the right that on the axis
% over time, with the difference of the velocity now and of that which comes from the rim: before a
% disc the pressure is rho*c*(u(t - z/c) - u(t - sqrt(z^2 + a^2)/c)).

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

disc = struct('radius', 8e-3);  % m
rate = 12e6;     % Hz
speed = 1482;    % m/s
density = 998;   % kg/m^3
u = @(t) (t > 0 & t < 3e-6) .* sin(2e6 * pi * t) .* sin(pi * t / 3e-6) .^ 2;
signal = {'signal', u((0:36) / rate), 'rate', rate, 'speed', speed, 'density', density};

x = (-14:0.25:14) * 1e-3;
z = (0.5:0.25:30) * 1e-3;
[p, t, info] = pistonfield_pulse(disc, pistonfield_grid(x, 0, z), signal{:}, 'tolerance', 1e-2);
fprintf('%d points at %d times from %d frequencies: the estimated error is %.1e\n', ...
        numel(x) * numel(z), numel(t), info.frequencies, info.error);

place = 12e-3;
[trace, s, axial] = pistonfield_pulse(disc, [0 0 place], signal{:}, 'tolerance', 1e-4);
waves = density * speed * (u(s - place / speed) - u(s - hypot(place, disc.radius) / speed));
fprintf('on the axis it is off by %.1e of its largest value, the estimate is %.1e\n', ...
        max(abs(trace - waves)) / max(abs(waves)), axial.error);

figure_ = example_figure(1200, 460);
for i = 1:3
  plane = axes('parent', figure_, 'position', [0.06 + (i - 1) * 0.17, 0.13, 0.14, 0.76]);
  [~, now] = min(abs(t - [6e-6, 11e-6, 16e-6](i)));
  imagesc(plane, x * 1e3, z * 1e3, squeeze(p(:, 1, :, now)).' / 1e6);
  axis(plane, 'xy');
  caxis(plane, [-1 1]);
  colormap(plane, interp1([0; 0.5; 1], [0.02 0.19 0.38; 1 1 1; 0.40 0 0.12], linspace(0, 1, 256)));
  title(plane, sprintf('%.0f us', t(now) * 1e6));
  xlabel(plane, 'x (mm)');
  if i == 1
    ylabel(plane, 'z (mm)');
  end
end

curve = axes('parent', figure_, 'position', [0.63 0.13 0.35 0.76]);
hold(curve, 'on');
curves(1) = plot(curve, s * 1e6, trace / 1e6, 'color', [0.42 0.09 0.43], 'linewidth', 3);
curves(2) = plot(curve, s(1:2:end) * 1e6, waves(1:2:end) / 1e6, 'o', 'color', [0.45 0.45 0.45], ...
                 'linewidth', 2);
xlabel(curve, 'time (us)');
ylabel(curve, 'pressure (MPa)');
title(curve, sprintf('On the axis, at %.0f mm', place * 1e3));
legend(curves, {'by its spectrum', 'plane wave and rim'}, 'location', 'northeast');
example_picture(figure_, folder, 'pulse_of_a_disc');
