% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function text = lost_to_rounding(mode, estimate, tolerance)
  % lost_to_rounding(mode, estimate, tolerance): that a mode's rounding alone exceeds the tolerance,
  % and which mode keeps it. find_order has seen that 'cpu' does.
  text = sprintf(['rounding in the mode %s leaves an error of about %.2g on this grid, more than ', ...
                  'the tolerance %g; the mode cpu keeps it'], mode, estimate, tolerance);
end
