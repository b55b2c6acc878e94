% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [first, count] = next_slab(sizes, done, most)
  % [first, count] = next_slab(sizes, done, most): the box of at most so many points of a grid that
  % goes on where so many are done, the first direction fastest: whole layers of the grid, or rows of
  % one layer, or a piece of a row. first are the indices of its first point, counted from 0.
  row = sizes(1);
  layer = row * sizes(2);
  first = [mod(done, row), mod(floor(done / row), sizes(2)), floor(done / layer)];
  room = sizes - first;
  if most >= layer && ~any(first(1:2))
    count = [row, sizes(2), min(room(3), floor(most / layer))];
  elseif most >= row && first(1) == 0
    count = [row, min(room(2), floor(most / row)), 1];
  else
    count = [min(room(1), floor(most)), 1, 1];
  end
end
