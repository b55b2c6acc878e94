% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function array = read_array(caller, given)
  % array = read_array(caller, given): an array as the module takes it, in double precision, with the
  % number of its elements in array.count. What the numbers may be, the module says. An array whose
  % elements are other shapes has its table of outlines in the place of the widths, and in that of the
  % heights the number of each element's; the table is in array.outlines, too.
  isShaped = isfield(given, 'outlines');
  names = {'width', 'height', 'center', 'orientation', 'kind', 'description'};
  if isShaped
    names(1:2) = {'outlines', 'outline'};
  end
  unknown = setdiff(fieldnames(given), names);
  require(isempty(unknown), caller, 'array', 'array.%s is no field of an array; there are: %s', ...
          [unknown{1:min(1, end)}], strjoin(names, ', '));
  array = struct();
  for name = names(1:4)
    require(isfield(given, name{1}), caller, 'array', 'array.%s is missing', name{1});
    value = given.(name{1});
    require(is_finite_real(value) && ~isempty(value), caller, 'array', ...
            'array.%s must be real, finite numbers', name{1});
    array.(name{1}) = double(full(value));
  end
  array.count = size(array.center, 2);
  require(ismatrix(array.center) && size(array.center, 1) == 3, caller, 'array', ...
          'array.center must be 3 by N: a column for each element');
  sides = {'width', 'height'};
  unit = 'length';
  if isShaped
    sides = {'outline'};
    unit = 'number';
  end
  for side = sides
    require(any(numel(array.(side{1})) == [1, array.count]), caller, 'array', ...
            'array.%s must be one %s, or %d, one for each element', ...
            side{1}, unit, array.count);
  end
  require(size(array.orientation, 1) == 3 && size(array.orientation, 2) == 3 && ...
          numel(array.orientation) == 9 * array.count, caller, 'array', ...
          'array.orientation must be 3 by 3 by %d: a rotation for each element', array.count);
  if isShaped
    require(ismatrix(array.outlines) && size(array.outlines, 1) == 8 && ...
            size(array.outlines, 2) > 1, caller, 'array', ...
            'array.outlines must be 8 by E: a column for each edge, as pistonfield_array makes them');
    require_numbered(caller, array.outlines);
    require(all(ismember(array.outline(:), unique(array.outlines(1, :)))), caller, 'array', ...
            'array.outline must be a number of the outlines, 1 to %d', array.outlines(1, end));
    array.width = array.outlines;
    array.height = array.outline;
  end
end

% Outlines count from 1, and so do the loops of each; what the edges may be, the module says.
function require_numbered(caller, table)
  starts = [true, any(diff(table(1:2, :), 1, 2) ~= 0, 1)];
  firsts = table(1:2, starts);
  steps = diff([[0; 0], firsts], 1, 2);
  isNextOutline = steps(1, :) == 1 & firsts(2, :) == 1;
  isNextLoop = steps(1, :) == 0 & steps(2, :) == 1;
  require(isNextOutline(1) && all(isNextOutline | isNextLoop), caller, 'array', ...
          ['array.outlines: its first row must number the outlines from 1 on, its second one the ', ...
           'loops of each']);
end
