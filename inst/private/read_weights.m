% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function weights = read_weights(caller, given, count)
  % weights = read_weights(caller, given, count): the weights of so many elements, a column for each
  % weighting; 1 for all where none are given. What the numbers may be, the module says.
  if isempty(given)
    weights = ones(count, 1);
    return
  end
  require(isnumeric(given) && ismatrix(given), caller, 'weights', ...
          'weights must be complex or real numbers, %d by M: a row for each element', count);
  hint = '';
  if size(given, 2) == count
    hint = '; give them transposed, w.''';
  end
  require(size(given, 1) == count, caller, 'weights', ...
          'weights are %d by %d, where the array has %d elements: a row for each%s', ...
          size(given, 1), size(given, 2), count, hint);
  weights = double(full(given));
end
