% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function source = source_as_array(caller, given, weights)
  % source = source_as_array(caller, given, weights): a piston of any shape, as an array of one, or an
  % array with its weights, of which there is one column, as the module takes them.
  source = read_source(caller, given);
  if is_array(given)
    source.weights = read_weights(caller, weights, source.count);
    require(size(source.weights, 2) == 1, caller, 'weights', ...
            'weights must be one column: a beam is that of one field');
    return
  end
  require(isempty(weights), caller, 'weights', 'weights go with an array, not a piston');
  source.count = 1;
  source.weights = 1;
end
