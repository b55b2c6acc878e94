% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function require_order(caller, order, mode)
  % require_order(caller, order, mode): refuses an order that the mode does not have.
  require(order == fix(order), caller, 'order', 'order must be a whole number');
  largest = module_limit('largest_order', 'cpu');
  require(order <= largest, caller, 'order', 'order must be at most %d', largest);
  largest = module_limit('largest_order', mode);
  require(order <= largest, caller, 'order', ...
          'an order of %d is more than the %d of the mode %s; the mode cpu has it', ...
          order, largest, mode);
end
