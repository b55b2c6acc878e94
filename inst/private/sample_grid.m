% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [samples, safety] = sample_grid(place, sizes, piston)
  % [samples, safety] = sample_grid(place, sizes, piston): sub-grids, a cell array of structs with
  % place and sizes, that stand for a grid where the rule's errors are looked for; and the factor
  % that covers what lies between their points, 1 for a grid that is taken whole.
  if prod(sizes) <= 20000
    samples = {struct('place', place, 'sizes', sizes)};
    safety = 1;
    return
  end
  samples = [{part(place, [0 0 0], sizes - 1), facing_side(place, sizes)}, ...
             along_edges(place, sizes, piston)];
  safety = 4;
end

% The side of the grid whose points are nearest to the piston's plane, on the average.
function sample = facing_side(place, sizes)
  ways = (sizes - 1) .* place(1:3, 3)';
  [~, direction] = max(abs(ways));
  first = [0 0 0];
  last = sizes - 1;
  if ways(direction) < 0
    first = last .* ((1:3) == direction);
  end
  last(direction) = first(direction);
  sample = part(place, first, last);
end

% For each edge of the piston the box of points in which it lies, or what of the grid is next to it.
% The box of an edge along the grid is narrow, and keeps all points nearest to the edge but for the
% thinning along it.
function samples = along_edges(place, sizes, piston)
  corners = [[-1 1 1 -1] * piston.width; [-1 -1 1 1] * piston.height; 0 0 0 0] / 2;
  indices = pinv(place(1:3, 1:3)') * bsxfun(@minus, corners, place(4, 1:3)');
  inside = @(index) max(0, min(index, sizes - 1));
  samples = cell(1, 4);
  for i = 1:4
    ends = indices(:, [i, mod(i, 4) + 1]);
    first = floor(min(ends, [], 2))' - 1;
    last = ceil(max(ends, [], 2))' + 1;
    samples{i} = part(place, inside(first), inside(last));
  end
end

% The points from one to another, thinned to at most 4096 where they are closest.
function sample = part(place, first, last)
  stride = [1 1 1];
  count = last - first + 1;
  while prod(count) > 4096
    [~, direction] = max(count);
    stride(direction) = stride(direction) + 1;
    count = floor((last - first) ./ stride) + 1;
  end
  sample.sizes = count;
  sample.place = place;
  sample.place(4, 1:3) = [first, 1] * place(:, 1:3);
  sample.place(1:3, 1:3) = bsxfun(@times, stride', place(1:3, 1:3));
end
