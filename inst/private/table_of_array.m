% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function text = table_of_array(caller, array, weights)
  % text = table_of_array(caller, array, weights): an array as comma-separated values, which are read
  % back with all their digits; with its weights, one for each element, or none where they are empty.
  % array is that of read_array; an element that is no rectangle has its outline in a cell, edge by
  % edge.
  isShaped = isfield(array, 'outlines');
  require(isShaped || (all(array.width(:) > 0) && all(array.height(:) > 0)), caller, 'array', ...
          'array.width and array.height must be above 0');
  require(isempty(weights) || (size(weights, 2) == 1 && all(isfinite(weights))), caller, ...
          'weights', 'a table has one column of weights, which are finite');
  each = @(values) repmat(values(:).', 1, array.count / numel(values));
  directions = reshape(array.orientation, 9, array.count);
  places = {'x [m]', 'y [m]', 'z [m]'};
  sides = {'width [m]', 'height [m]'};
  ways = {'normal x', 'normal y', 'normal z', 'along x', 'along y', 'along z', 'up x', 'up y', 'up z'};
  if isShaped
    names = [places, ways];
    numbers = [array.center; directions([7:9, 1:6], :)];
  else
    names = [places, sides, ways];
    numbers = [array.center; each(array.width); each(array.height); directions([7:9, 1:6], :)];
  end
  if ~isempty(weights)
    names = [names, {'re', 'im'}];
    numbers = [numbers; real(weights).'; imag(weights).'];
  end
  row = strjoin(repmat({'%.17g'}, 1, numel(names)), ',');
  if isShaped
    names{end + 1} = 'outline [m]';
    shapes = arrayfun(@(number) text_of_outline(array.outlines, number), ...
                      1:array.outlines(1, end), 'UniformOutput', false);
    lines = arrayfun(@(i) sprintf(row, numbers(:, i)), 1:array.count, 'UniformOutput', false);
    rows = [lines; shapes(each(array.outline))];
    body = sprintf('%s,%s\n', rows{:});
  else
    body = sprintf([row, '\n'], numbers);
  end
  text = [strjoin(names, ','), sprintf('\n'), body];
end

% The edges of an outline of a table, semicolons between them, and slashes between the loops.
function text = text_of_outline(table, number)
  edges = table(2:8, table(1, :) == number);
  loops = cell(1, max(edges(1, :)));
  for i = 1:numel(loops)
    of = edges(2:7, edges(1, :) == i);
    words = cell(1, size(of, 2));
    for j = 1:numel(words)
      used = 4 + of(1, j);  % an arc has one number more
      words{j} = strjoin(arrayfun(@(value) sprintf('%.17g', value), of(1 + (1:used), j).', ...
                                  'UniformOutput', false), ' ');
    end
    loops{i} = strjoin(words, '; ');
  end
  text = strjoin(loops, ' / ');
end
