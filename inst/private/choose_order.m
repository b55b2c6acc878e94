% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [order, estimate] = choose_order(caller, place, sizes, piston, k, options)
  % [order, estimate] = choose_order(caller, place, sizes, piston, k, options): the order that the
  % options of pistonfield_pressure name, or that their tolerance takes on a grid in the piston's
  % frame; and the estimate of its error, NaN where the order was named. Warns of what may be wrong
  % with units and of rounding that nobody has allowed.
  warn_of_units(piston, k, options.order);
  samples = sampled_field(place, sizes, piston, k, options.threads);
  if isempty(options.order)
    [order, estimate] = order_for(caller, samples, options);
  else
    order = options.order;
    estimate = NaN;
    warn_of_rounding(samples, order, options.mode);
  end
end

% No order that is tried would do for thousands of wavelengths.
function warn_of_units(piston, k, order)
  warn_of_wavelengths(piston, k);
  if ~isempty(order) && isempty(orders_to_compare(piston, k))
    warning('pistonfield:units', '%s', too_many_wavelengths(piston, k));
  end
end

% What a mode cannot keep is an error where it was asked for; the usual tolerance was not.
function [order, estimate] = order_for(caller, samples, options)
  [order, estimate] = find_order(caller, samples, options.tolerance, options.mode);
  if estimate > options.tolerance
    text = lost_to_rounding(options.mode, estimate, options.tolerance);
    require(~options.demanded, caller, 'tolerance', '%s', text);
    warning('pistonfield:rounding', '%s', text);
  end
end

% The sums of higher orders round no worse.
function warn_of_rounding(samples, order, mode)
  if is_double_mode(mode)
    return
  end
  order = min(order, module_limit('largest_order', mode));
  exact = samples.values('cpu', order);
  off = samples.safety * max(abs(samples.values(mode, order) - exact)) / max(abs(exact));
  if off > usual_tolerance()
    warning('pistonfield:rounding', ...
            ['rounding in the mode %s leaves an error of about %.2g on this grid; the mode cpu ', ...
             'is the most accurate'], mode, off);
  end
end
