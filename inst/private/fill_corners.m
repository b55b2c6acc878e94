% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [p, moved] = fill_corners(p, field, place, sizes, mode)
  % [p, moved] = fill_corners(p, field, place, sizes, mode): p, the field of a grid, with values at
  % the points exactly over a corner of the piston, where the edge integrals have none. Such a point
  % takes the value of one beside it, nearer to the axis: the pressure is continuous there. moved
  % counts them; field(place, sizes) computes.
  lost = find(isnan(p(:)))';
  moved = numel(lost);
  nearer = 1 - 2 ^ -40;
  if any(strcmp(mode, {'cuda', 'cpusp'}))
    nearer = 1 - 2 ^ -20;
  end
  for i = lost
    [ix, iy, iz] = ind2sub(sizes, i);
    position = [ix - 1, iy - 1, iz - 1, 1] * place(:, 1:3);
    point = eye(4);
    point(4, 1:3) = position .* [nearer, nearer, 1];
    p(i) = field(point, [1 1 1]);
  end
end
