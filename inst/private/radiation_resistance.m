% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function resistance = radiation_resistance(width, height, k)
  % resistance = radiation_resistance(width, height, k): the radiation resistance of a rectangular
  % piston in a rigid baffle, in units of density * speed [m^2]. The radiated power is half of it
  % times density * speed * velocity amplitude squared.
  %
  % The force of the piston's field on the piston is the integral of the pressure of each surface
  % element over all the others. It depends on their distance along x, u, and along y, v, alone, and
  % there are (width - u) * (height - v) pairs of each; so
  %   R = 2 k / pi * integral over 0 < u < width, 0 < v < height of
  %       (width - u) (height - v) sin(k r) / r,   r = sqrt(u^2 + v^2)
  % (Burnett and Soroka, J. Acoust. Soc. Am. 51, 1618-1623, 1972, who tabulate it).
  %
  % For a piston of many wavelengths the integral over r is done by parts, in the angle t:
  %   R = width * height - 2 / (pi k^2) + 2 / pi * integral over 0 < t < pi / 2 of
  %       g(t) sin(k r) / k + sin(2 t) cos(k r) / k^2
  % where r is the distance to the rim, g = width sin t - height cos t on the side at u = width and
  % the opposite on the other. In a small or a thin piston the terms would cancel.
  sides = sort([width, height]);
  if k * sides(2) < 60 || k * sides(1) < 0.1
    resistance = over_distances(sides(1), sides(2), k);
  else
    resistance = width * height - 2 / (pi * k ^ 2) + ...
                 2 / pi * (along_side(width, height, k) + along_side(height, width, k));
  end
end

% The integral over the angles of the side at the distance near, which takes as long for any number
% of wavelengths: in place of the way from near to far, r goes from both ends into the complex
% plane, r = end + i s^2 / k, where the waves are exp(-s^2).
function value = along_side(near, side, k)
  beyond = side ^ 2 / (hypot(near, side) + near);  % far - near
  last = 6.5;  % exp(-s^2) is below rounding there
  bends = sort(sqrt(k * [near, beyond]));
  value = quadgk(@(s) from_end(near, side, 0, k, s) - from_end(near, side, beyond, k, s), ...
                 0, last, 'Waypoints', bends(bends < last), ...
                 'AbsTol', 1e-13 * near * side, 'RelTol', 1e-12);
end

% The integrand on the way from the end at near + beyond.
function value = from_end(near, side, beyond, k, s)
  away = beyond + 1i * s .^ 2 / k;
  r = near + away;
  across = sqrt(away .* (r + near));  % sqrt(r^2 - near^2)
  by_sine = near ^ 2 ./ (k * r .^ 2) .* (1 - side ./ across);  % with dt / dr
  by_cosine = 2 * near ^ 2 ./ (k ^ 2 * r .^ 3);
  wave = exp(1i * k * (near + beyond) - s .^ 2) * 2i / k .* s;
  value = imag(by_sine .* wave) + real(by_cosine .* wave);
end

function resistance = over_distances(width, height, k)
  [u, alongWidth] = panels(width, k);
  [v, alongHeight] = panels(height, k);
  alongWidth = alongWidth .* (width - u);
  alongHeight = alongHeight .* (height - v);
  resistance = 0;
  for i = 1:numel(u)
    r = sqrt(u(i) ^ 2 + v .^ 2);
    resistance = resistance + alongWidth(i) * sum(alongHeight .* sin(k * r) ./ r);
  end
  resistance = 2 * k / pi * resistance;
end

% Nodes and weights over a side: panels of at most half a wavelength with 12 Gauss-Legendre nodes,
% which leave nothing but rounding of an integrand that is analytic everywhere.
function [nodes, weights] = panels(side, k)
  n = 1:11;
  beside = n ./ sqrt(4 * n .^ 2 - 1);
  [vectors, values] = eig(diag(beside, 1) + diag(beside, -1));  % Golub and Welsch, 1969
  count = ceil(side * k / pi);
  step = side / count;
  within = step / 2 * (1 + diag(values));
  nodes = reshape(bsxfun(@plus, within, step * (0:count - 1)), [], 1);
  weights = repmat(step * vectors(1, :)' .^ 2, count, 1);
end
