% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [samples, safety] = sample_grid(place, sizes, piston)
  % [samples, safety] = sample_grid(place, sizes, piston): sub-grids, a cell array of structs with
  % place and sizes, that stand for a grid where the rule's errors are looked for; and the factor
  % that covers what lies between them, 1 for a grid that is taken whole.
  whole = {struct('place', place, 'sizes', sizes)};
  if prod(sizes) <= 20000
    samples = whole;
    safety = 1;
    return
  end
  safety = 4;
  samples = {part(place, [0 0 0], sizes - 1, [16 16 16])};
  samples{end + 1} = facing_side(place, sizes);
  for target = hard_spots(piston)
    samples{end + 1} = block_around(target, place, sizes); %#ok<AGROW>
  end
end

% The corners of the piston and the middles of its edges, but one of each that mirror each other
% would not do: grids need not be symmetric.
function spots = hard_spots(piston)
  [x, y] = ndgrid([-1 0 1] * piston.width / 2, [-1 0 1] * piston.height / 2);
  spots = [x(:), y(:), zeros(9, 1)]';
end

% The side of the grid whose points are nearest to the piston's plane, on the average.
function sample = facing_side(place, sizes)
  ways = (sizes - 1)' .* place(1:3, 3);
  [~, direction] = max(abs(ways));
  first = [0 0 0];
  last = sizes - 1;
  most = [64 64 64];
  if ways(direction) >= 0
    last(direction) = 0;
  else
    first(direction) = last(direction);
  end
  sample = part(place, first, last, most);
end

function sample = block_around(target, place, sizes)
  steps = place(1:3, 1:3)';
  indices = round(pinv(steps) * (target - place(4, 1:3)'))';
  indices = max(0, min(indices, sizes - 1));
  reach = 4;
  sample = part(place, max(0, indices - reach), min(sizes - 1, indices + reach), [9 9 9]);
end

% The points from one to another, thinned to at most so many in each direction.
function sample = part(place, first, last, most)
  stride = max(1, ceil((last - first) ./ (most - 1)));
  sample.sizes = floor((last - first) ./ stride) + 1;
  sample.place = place;
  sample.place(4, 1:3) = [first, 1] * place(:, 1:3);
  sample.place(1:3, 1:3) = bsxfun(@times, stride', place(1:3, 1:3));
end
