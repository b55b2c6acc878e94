% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [lost, values] = corner_values(p, first, field, place, mode)
  % [lost, values] = corner_values(p, first, field, place, mode): which elements of p, the
  % field of a grid from its point first on, lie exactly over a corner of the piston, where the edge
  % integrals have no value; and values for them. Such a point takes the value of one beside it,
  % nearer to the axis: the pressure is continuous there. field(place, sizes) computes.
  lost = find(isnan(p(:)))';
  values = zeros(1, numel(lost));
  nearer = 1 - 2 ^ -40;
  if is_single_mode(mode)
    nearer = 1 - 2 ^ -20;
  end
  for i = 1:numel(lost)
    [ix, iy, iz] = ind2sub(size(p), lost(i));
    position = [first + [ix, iy, iz] - 1, 1] * place(:, 1:3);
    point = eye(4);
    point(4, 1:3) = position .* [nearer, nearer, 1];
    values(i) = field(point, [1 1 1]);
  end
end
