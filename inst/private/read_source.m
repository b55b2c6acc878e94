% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function source = read_source(caller, given)
  % source = read_source(caller, given): what radiates, checked: a piston, a rectangle or another
  % shape, or an array.
  if is_array(given)
    source = read_array(caller, given);
  elseif isstruct(given) && isscalar(given) && isfield(given, 'shape')
    source = read_shaped_piston(caller, given);
  else
    source = read_piston(caller, given);
  end
end
