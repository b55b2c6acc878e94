% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [order, estimate] = find_order(caller, field, tolerance, mode)
  % [order, estimate] = find_order(caller, field, tolerance, mode): the smallest order whose field in
  % a mode is accurate to the tolerance at the points of sampled_field, and the estimate of its
  % error, from finite order and from rounding, relative to the largest |p|. Where rounding in the
  % mode leaves more than the tolerance, the estimate says so, and the order is that which the
  % tolerance takes in the mode 'cpu'. A tolerance that 'cpu' cannot keep is refused.
  [upper, converged, doubt] = converge(caller, field, tolerance);
  error_of = @(mode, order) doubt + field.safety * largest(field.values(mode, order) - converged) ...
                            / largest(converged);
  in_cpu = @(order) error_of('cpu', order);
  [order, estimate] = smallest_order(in_cpu, 0, upper, in_cpu(upper), tolerance);
  require(estimate <= tolerance, caller, 'tolerance', ...
          ['rounding leaves an error of about %.2g in the mode cpu, the most accurate, on this ', ...
           'grid: more than the tolerance %g'], estimate, tolerance);
  require_order(caller, order, mode);
  if is_double_mode(mode)
    return
  end

  upper = min(upper, module_limit('largest_order', mode));
  in_mode = @(order) error_of(mode, order);
  estimate = in_mode(upper);
  if estimate <= tolerance
    [order, estimate] = smallest_order(in_mode, order - 1, upper, estimate, tolerance);
  else
    estimate = in_mode(order);
  end
end

% Orders are doubled until the field changes by no more than a twentieth of the tolerance. The doubt
% that remains is this change, and what all orders have in common of rounding.
function [order, converged, doubt] = converge(caller, field, tolerance)
  pairs = orders_to_compare(field.piston, field.k);
  require(~isempty(pairs), caller, 'frequency', '%s', ...
          too_many_wavelengths(field.piston, field.k));
  finer = NaN;
  for i = 1:size(pairs, 1)
    order = pairs(i, 1);
    if order ~= finer
      converged = field.values('cpu', order);
    end
    rougher = converged;
    finer = pairs(i, 2);
    converged = field.values('cpu', finer);
    change = abs(rougher - converged) / largest(converged);
    if max(change) <= tolerance / 20
      doubt = max(change) + max(rounding_of(field, converged));
      return
    end
  end
  refuse(caller, field, tolerance, change, rounding_of(field, converged));
end

% The most that rounding in double precision can do to each value; see docs/reliability.md.
function bound = rounding_of(field, converged)
  bound = eps * rounding_measure(field.points(), field.piston, field.k) / largest(converged);
end

% Says what keeps the field from converging: rounding, or a point beside an edge.
function refuse(caller, field, tolerance, change, rounding)
  [left, worst] = max(change);
  reason = 'tolerance';
  require(left > 4 * rounding(worst), caller, reason, ...
          ['no order reaches the tolerance %g: rounding in double precision leaves about %.2g ', ...
           'on this grid'], tolerance, left);
  digit = 10 ^ (floor(log10(20 * left)) - 1);
  enough = ceil(20 * left / digit) * digit;
  piston = field.piston;
  points = field.points();
  point = points(worst, :);
  sides = [piston.width, piston.height];
  beside = min(abs(abs(point(1:2)) - sides / 2));
  require(max(beside, point(3)) > 1e-3 * max(sides), caller, reason, ...
          ['no order up to 4096 reaches the tolerance %g: 4096 leaves %.2g at the point ', ...
           '(%g, %g, %g) m of the grid. It lies %g m beside an edge of the piston and %g m before ', ...
           'its face, where orders converge slowly: move it onto the edge or away from it, or ', ...
           'take a tolerance of %.2g'], tolerance, left, ...
          point * piston.orientation.' + piston.center.', beside, point(3), enough);
  require(false, caller, reason, ...
          ['no order up to 4096 reaches the tolerance %g: 4096 leaves %.2g; take a tolerance of ', ...
           '%.2g'], tolerance, left, enough);
end

function [order, estimate] = smallest_order(error_of, tooLow, order, estimate, tolerance)
  while order - tooLow > 1
    middle = floor((tooLow + order) / 2);
    measured = error_of(middle);
    if measured <= tolerance
      order = middle;
      estimate = measured;
    else
      tooLow = middle;
    end
  end
end

function value = largest(p)
  value = max(abs(p));
end
