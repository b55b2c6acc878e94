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
