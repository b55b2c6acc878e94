% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function yes = is_array(given)
  % is_array(given): whether it is meant as an array of pistons and not as a piston: what
  % pistonfield_array makes, or a struct with several centres.
  yes = isstruct(given) && isscalar(given);
  if yes && ~isfield(given, 'kind')
    yes = isfield(given, 'center') && size(given.center, 1) == 3 && size(given.center, 2) > 1;
  end
end
