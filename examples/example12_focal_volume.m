% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% A bowl of 256 elements and the volume of its focus, on the axis and moved off it.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example12_focal_volume.m
% The picture shows three slices through the moved focus.

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

frequency = 1e6;                  % Hz
foci = [0 0 100; 8 0 95] * 1e-3;  % m
array = pistonfield_array('bowl', 'radius', 100e-3, 'aperture', 100e-3, 'elements', 256, ...
                          'width', 3.5e-3, 'height', 3.5e-3);
w = [pistonfield_focus(array, foci(1, :), 'frequency', frequency), ...
     pistonfield_focus(array, foci(2, :), 'frequency', frequency)];

% Around the foci, a sixth of a wavelength fine across the axis.
step = 0.25e-3;
grid = pistonfield_grid(-4.5e-3:step:12.5e-3, -4.5e-3:step:4.5e-3, 80e-3:3 * step:116e-3);
p = pistonfield_pressure(array, grid, 'frequency', frequency, 'weights', w, 'velocity', 0.02, ...
                         'tolerance', 1e-3);

cell_ = prod([step, step, 3 * step]);
[x, ~, z] = pistonfield_grid(grid, 'axes');
for i = 1:2
  level = abs(p(:, :, :, i));
  [largest, at] = max(level(:));
  [ix, ~, iz] = ind2sub(size(level), at);
  fprintf('focus at x = %g mm, z = %g mm: largest %.2f MPa at x = %.1f mm, z = %.1f mm, ', ...
          foci(i, [1 3]) * 1e3, largest / 1e6, x(ix) * 1e3, z(iz) * 1e3);
  fprintf('%.1f mm^3 within 6 dB\n', nnz(level >= largest / 2) * cell_ * 1e9);
end

h = pistonfield_plot(p(:, :, :, 2), grid, 'show', 'level', 'range', 30);
example_picture(h.figure, folder, 'focal_volume');
