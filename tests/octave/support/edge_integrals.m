% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% edge_integrals(point, l, s, k, nodes, weights): the pressure at one point as the sum over the four
% edges, each integral taken by the given rule on [-1, 1] and split at the foot of the point.
function p = edge_integrals(point, l, s, k, nodes, weights)
  z = point(3);
  x = point(1) + s / 2 * [-1, 1];
  y = point(2) + l / 2 * [-1, 1];
  edge = @(offset, ends) offset * along_edge(offset, ends, z, k, nodes, weights);
  total = edge(x(1), y) - edge(x(2), y) + edge(y(1), x) - edge(y(2), x);
  p = -1i / (2 * pi) * total;
end

function total = along_edge(offset, ends, z, k, nodes, weights)
  if (ends(1) > 0) ~= (ends(2) > 0)
    ends = [ends(1), 0, ends(2)];
  end
  total = 0;
  for piece = 1:numel(ends) - 1
    half = (ends(piece + 1) - ends(piece)) / 2;
    t = ends(piece) + half * (nodes + 1);
    squared = t .^ 2 + offset ^ 2;
    values = (exp(-1i * k * sqrt(squared + z ^ 2)) - exp(-1i * k * z)) ./ squared;
    total += half * sum(weights .* values);
  end
end
