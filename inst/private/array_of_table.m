% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [array, weights] = array_of_table(columns, outlines)
  % [array, weights] = array_of_table(columns, outlines): an array without its kind, of a column for
  % each element: width, height, centre, directions of the width, the height and the normal; and where
  % there are two rows more the weights, else []. Where there is a table of outlines, columns have 0
  % and the number of an outline in the place of the sides.
  if nargin < 2 || isempty(outlines)
    array = struct('width', shared(columns(1, :)), 'height', shared(columns(2, :)));
  else
    array = struct('outlines', outlines, 'outline', shared(columns(2, :)));
  end
  array.center = columns(3:5, :);
  array.orientation = reshape(columns(6:14, :), 3, 3, []);
  weights = [];
  if size(columns, 1) > 14
    weights = complex(columns(15, :), columns(16, :)).';
  end
end

% One number where all are the same.
function values = shared(values)
  if all(values == values(1))
    values = values(1);
  end
end
