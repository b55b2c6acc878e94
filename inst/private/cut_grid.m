% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function slabs = cut_grid(place, sizes, most, brief, order, mode)
  % slabs = cut_grid(place, sizes, most, brief, order, mode): the grid in slabs of at most so many
  % points, and of so many that a call is brief; one in each call of the module. A struct with
  %   count  1 by 3, the sizes of every slab; less at the grid's end
  %   first  N by 3, the indices of each slab's first point, counted from 0, in rising order
  %   place  function handle: the transform of the slab with a given first point
  %
  % A point has the same value, bit for bit, in its slab and in the whole grid, because it has the
  % same position. That takes some care, as positions are rounded sums. On the CPU one is
  %   ((origin + ix * first step) + iy * second step) + iz * third step,
  % on a GPU
  %   ((iy * second step + ix * first step) + iz * third step) + origin,
  % in the precision of the mode. A slab is one layer thick, so that what the direction of the cut
  % adds is one constant. With it in the origin the sum is the same if in each coordinate that the
  % constant changes no other direction adds anything; on the CPU, before it. So a grid that is
  % aligned with the piston can be cut in any direction, and on the CPU any grid can be cut in the
  % first one. Only a grid that is turned against the piston has no such cut on a GPU; and a line, or
  % what has few points across, has none whose layers are worth a call. They are cut all the same,
  % and positions may then differ by their rounding.
  onGpu = is_gpu_mode(mode);
  cut = @(count, fits, least, pieces) cut_until(fits, place, sizes, count, least, pieces, onGpu);
  % The making of a rule takes a time that grows with the order's square.
  worthACall = 512 + order / 4;
  room = struct('points', most, 'across', Inf);
  if onGpu
    room.across = 524280;  % along the second and third direction, in one launch
  end
  count = cut(sizes, @(count) fits_into(room, count), min(worthACall, most), room);
  % How long it takes to compute pieces has no part in their size: rounding would depend on the
  % machine's load.
  pieces = struct('points', max(worthACall, 2e7 / order), 'across', Inf);
  count = cut(count, @(count) prod(count) <= max(brief, worthACall), worthACall, pieces);
  slabs.count = count;
  slabs.first = first_points(sizes, count);
  slabs.place = @(first) place_from(place, first, mode);
end

% Cuts without rounding as long as layers have at least so many points, and then into pieces.
function count = cut_until(fits, place, sizes, count, least, pieces, onGpu)
  while ~fits(count)
    direction = clean_cut(fits, place, sizes, count, least, onGpu);
    if isempty(direction)
      count = thick_cut(pieces, count);
      if fits_into(pieces, count)
        return
      end
    else
      count(direction) = 1;
    end
  end
end

function yes = fits_into(room, count)
  yes = all(count == 1) || (prod(count) <= room.points && prod(count(2:3)) <= room.across);
end

% The direction whose cut rounds nothing and leaves layers of at least so many points.
function direction = clean_cut(fits, place, sizes, count, least, onGpu)
  candidates = find(count > 1);
  clean = @(direction) is_clean(place, sizes, candidates, direction, onGpu);
  direction = best_cut(fits, count, candidates(arrayfun(clean, candidates) & ...
                                               prod(count) ./ count(candidates) >= least));
end

% The best direction in pieces of as many layers as there is room for.
function count = thick_cut(room, count)
  direction = best_cut(@(count) fits_into(room, count), count, find(count > 1));
  layer = count;
  layer(direction) = 1;
  layers = room.points / prod(layer);
  if direction > 1
    layers = min(layers, room.across / prod(layer(2:3)));
  end
  count(direction) = max(1, min(count(direction), floor(layers)));
end

% Of some directions the one whose cut into layers makes the fewest of those that fit, the last of
% several; if none fit, the smallest.
function direction = best_cut(fits, count, candidates)
  fitting = candidates(arrayfun(@(i) fits(count .* ((1:3) ~= i) + ((1:3) == i)), candidates));
  if isempty(fitting)
    [~, at] = max(count(candidates));
    direction = candidates(at);
  else
    direction = fitting(find(count(fitting) == min(count(fitting)), 1, 'last'));
  end
end

function yes = is_clean(place, sizes, candidates, direction, onGpu)
  if onGpu
    beside = setdiff(find(sizes > 1), direction);
  else
    beside = candidates(candidates < direction);
  end
  changed = place(direction, 1:3) ~= 0;
  yes = ~any(any(place(beside, changed)));
end

function first = first_points(sizes, count)
  starts = arrayfun(@(n, step) 0:step:n - 1, sizes, count, 'UniformOutput', false);
  [ix, iy, iz] = ndgrid(starts{:});
  first = [ix(:), iy(:), iz(:)];
end

function place = place_from(place, first, mode)
  t = place;
  if is_single_mode(mode)
    t = single(t);
  end
  if is_gpu_mode(mode)
    origin = ((first(2) * t(2, :) + first(1) * t(1, :)) + first(3) * t(3, :)) + t(4, :);
  else
    origin = ((t(4, :) + first(1) * t(1, :)) + first(2) * t(2, :)) + first(3) * t(3, :);
  end
  place(4, 1:3) = double(origin(1:3));
end
