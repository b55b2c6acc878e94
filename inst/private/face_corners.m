% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [corners, rims] = face_corners(source)
  % corners = face_corners(source): where the corners of a piston or of an array's elements lie [m]: 3
  % by K by N, of rectangles K = 4. Those of other shapes have more, and the last one several times
  % where elements have less; from a hole it goes back to the first corner, on the way it came by.
  % [corners, rims] = face_corners(source): the rims as well, 3 by L by N: closed, with NaN between the
  % loops of a shape.
  count = size(source.center, 2);
  if isfield(source, 'outlines')
    [faces, loops] = drawn_outlines(source.outlines);
    number = ones(1, count) .* source.height(:).';
    corners = placed(source, faces(:, :, number));
    rims = placed(source, loops(:, :, number));
    return
  end
  signs = [-1 1 1 -1; -1 -1 1 1] / 2;
  sides = [ones(1, count) .* source.width(:).'; ones(1, count) .* source.height(:).'];
  corners = placed(source, bsxfun(@times, signs, reshape(sides, 2, 1, count)));
  rims = corners(:, [1:4, 1], :);
end

% Points in the elements' planes, 2 by K by N, in the frame of them all.
function points = placed(source, flat)
  count = size(source.center, 2);
  points = zeros(3, size(flat, 2), count);
  for i = 1:2
    along = reshape(source.orientation(:, i, :), 3, 1, count);
    points = points + bsxfun(@times, along, flat(i, :, :));
  end
  points = bsxfun(@plus, points, reshape(source.center, 3, 1, count));
end

% The corners and the rims of all outlines, 2 by K by their number each.
function [faces, rims] = drawn_outlines(table)
  count = table(1, end);
  polygons = cell(1, count);
  lines = cell(1, count);
  for i = 1:count
    loops = loops_of_outline(table, i);
    outer = loops{1};
    polygons{i} = outer;
    lines{i} = outer(:, [1:end, 1]);
    for hole = loops(2:end)
      polygons{i} = [polygons{i}, outer(:, 1), hole{1}(:, [1:end, 1]), outer(:, 1)];
      lines{i} = [lines{i}, NaN(2, 1), hole{1}(:, [1:end, 1])];
    end
  end
  faces = together(polygons);
  rims = together(lines);
end

function points = together(parts)
  most = max(cellfun(@(part) size(part, 2), parts));
  points = zeros(2, most, numel(parts));
  for i = 1:numel(parts)
    points(:, :, i) = parts{i}(:, min(1:most, end));
  end
end
