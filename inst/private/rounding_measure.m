% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function measure = rounding_measure(points, piston, k)
  % measure = rounding_measure(points, piston, k): what the rounding errors of the values at points,
  % N by 3 in the piston's frame, grow with: (1 + k*R) * S. R is the largest distance to the piston.
  % S is the sum over the edges of the integral of the largest magnitude that the integrand can
  % have, 2 / D, times the offset, over 2*pi; which is the angle at which the edge is seen from the
  % point's foot in the piston's plane, over pi.
  x = bsxfun(@plus, points(:, 1), [-1, 1] * piston.width / 2);
  y = bsxfun(@plus, points(:, 2), [-1, 1] * piston.height / 2);
  reach = sqrt(max(abs(x), [], 2) .^ 2 + max(abs(y), [], 2) .^ 2 + points(:, 3) .^ 2);
  scale = 0;
  for i = 1:2
    scale = scale + angle_between(x(:, i), y) + angle_between(y(:, i), x);
  end
  measure = (1 + k * reach) .* scale / pi;
end

function angle = angle_between(offset, ends)
  angle = abs(atan2(ends(:, 2), abs(offset)) - atan2(ends(:, 1), abs(offset)));
end
