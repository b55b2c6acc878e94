% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function yes = is_point_list(given)
  % is_point_list(given): whether it is meant as a list of points and not as a grid: a matrix with
  % three columns, or a struct with fields of positions.
  if isstruct(given)
    yes = isscalar(given) && any(isfield(given, {'x', 'y', 'z'})) && ~isfield(given, 'transform');
  else
    yes = isnumeric(given) && ismatrix(given) && size(given, 2) == 3;
  end
end
