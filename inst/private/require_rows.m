% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function require_rows(caller, sizes, mode)
  % require_rows(caller, sizes, mode): refuses a grid with more points along a direction than a mode
  % has numbers for.
  most = module_limit('most_points_in_a_row', mode);
  require(max(sizes) <= most, caller, 'grid', ...
          'the grid has %d points in a row, more than the %d of the mode %s', ...
          max(sizes), most, mode);
end
