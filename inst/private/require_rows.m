% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function require_rows(caller, sizes, mode, name)
  % require_rows(caller, sizes, mode, name): refuses a grid with more points along a direction than a
  % mode has numbers for. The name is what the error calls the mode, 'the mode ...' when left out.
  if nargin < 4
    name = ['the mode ', mode];
  end
  most = module_limit('most_points_in_a_row', mode);
  require(max(sizes) <= most, caller, 'grid', ...
          'the grid has %d points in a row, more than the %d of %s', ...
          max(sizes), most, name);
end
