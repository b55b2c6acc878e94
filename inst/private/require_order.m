% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function require_order(caller, order, mode)
  % require_order(caller, order, mode): refuses an order that the mode does not have. Beyond the
  % largest order on the CPU rules lose accuracy (largestAccurateOrder of the library).
  require(order == fix(order), caller, 'order', 'order must be a whole number');
  largest = 18000;
  require(order <= largest, caller, 'order', 'order must be at most %d', largest);
  require(~is_gpu_mode(mode) || order <= largest_gpu_order(), caller, 'order', ...
          'an order of %d is more than the %d of the mode %s; the mode cpu has it', ...
          order, largest_gpu_order(), mode);
end
