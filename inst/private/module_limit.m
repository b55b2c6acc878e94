% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function limit = module_limit(name, mode)
  % limit = module_limit('largest_order', mode): the largest order that a mode has.
  % limit = module_limit('most_points_in_a_row', mode): the most points along a direction.
  % limit = module_limit('most_threads'): the most threads that may be asked for.
  persistent known
  if nargin < 2
    mode = '';
  end
  key = [name, mode];
  if ~isfield(known, key)
    question = {name, mode};
    known.(key) = pistonfield_internal(question{1:nargin});
  end
  limit = known.(key);
end
