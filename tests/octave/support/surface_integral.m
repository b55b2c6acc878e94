% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% surface_integral(x, y, z, l, s, k): the pressure at points, by two-dimensional quadrature over the
% piston: k / (2 pi) times the integral of exp(-j k R) / R.
function p = surface_integral(x, y, z, l, s, k)
  p = arrayfun(@(x, y, z) at_point(x, y, z, l, s, k), x, y, z);
end

function p = at_point(x, y, z, l, s, k)
  distance = @(u, v) sqrt((x - u) .^ 2 + (y - v) .^ 2 + z ^ 2);
  wave = @(u, v) exp(-1i * k * distance(u, v)) ./ distance(u, v);
  p = k / (2 * pi) * ...
      integral2(wave, -s / 2, s / 2, -l / 2, l / 2, 'AbsTol', 1e-11, 'RelTol', 1e-11);
end
