% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% A spherical cap that moves as one, as flat tiles, and its closed form on the axis.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example20_focusing_cap.m
% O'Neil's field on the axis (J. Acoust. Soc. Am. 21, 516-526, 1949) stands beside the tiles' one.

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

frequency = 1e6;  % Hz
speed = 1482;     % m/s
density = 998;    % kg/m^3
radius = 40e-3;   % m, of curvature
aperture = 40e-3;
cap = pistonfield_array('cap', 'radius', radius, 'aperture', aperture, ...
                        'wavelength', speed / frequency, 'fraction', 1 / 50);
fprintf('%d tiles: the estimated error is at most %.2f\n', size(cap.center, 2), ...
        cap.description.error);

x = (-12:0.25:12) * 1e-3;
z = (10:0.25:80) * 1e-3;
p = pistonfield_pressure(cap, pistonfield_grid(x, 0, z), 'frequency', frequency, ...
                         'speed', speed, 'density', density);
onAxis = p(x == 0, 1, :)(:).';
k = 2 * pi * frequency / speed;
depth = radius - sqrt(radius ^ 2 - aperture ^ 2 / 4);
rim = hypot(z - depth, aperture / 2);
beside = abs(z - radius) > 1e-9;
expected = repmat(1i * k * depth * exp(-1i * k * radius), size(z));
expected(beside) = (exp(-1i * k * z(beside)) - exp(-1i * k * rim(beside))) ./ ...
                   (1 - z(beside) / radius);
expected = density * speed * expected;
fprintf('on the axis it is off by %.1e of the focus\n', ...
        max(abs(onAxis - expected)) / max(abs(expected)));

figure_ = example_figure(1200, 460);
plane = axes('parent', figure_, 'position', [0.06 0.13 0.40 0.76]);
imagesc(plane, z * 1e3, x * 1e3, abs(squeeze(p)) / 1e6);
axis(plane, 'xy');
colormap(plane, 'hot');
colorbar('peer', plane);
xlabel(plane, 'z (mm)');
ylabel(plane, 'x (mm)');
title(plane, 'The pressure of a cap (MPa)');
curve = axes('parent', figure_, 'position', [0.58 0.13 0.39 0.76]);
hold(curve, 'on');
curves(1) = plot(curve, z * 1e3, abs(onAxis) / 1e6, 'color', [0.42 0.09 0.43], 'linewidth', 3);
some = 1:4:numel(z);
curves(2) = plot(curve, z(some) * 1e3, abs(expected(some)) / 1e6, 'o', ...
                 'color', [0.45 0.45 0.45], 'linewidth', 2);
xlabel(curve, 'z (mm)');
ylabel(curve, 'pressure (MPa)');
title(curve, 'On the axis');
legend(curves, {'tiles', 'closed form'}, 'location', 'northeast');
example_picture(figure_, folder, 'focusing_cap');
