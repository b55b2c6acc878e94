% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The orders that pistonfield_order finds, in random cases: the true error over the whole grid
% against the tolerance. FIELD_ORDER_CASES says how many cases; random_field tells which.

1;

% How far the order's field is from the converged one, in parts of the tolerance; and the estimate
% likewise. NaN when no order was found.
function [off, estimated] = try_case(number)
  c = random_field(number);
  off = NaN;
  estimated = NaN;
  try
    [order, estimate] = pistonfield_order(c.piston, c.grid, 'frequency', c.frequency, ...
                                          'speed', c.speed, 'tolerance', c.tolerance);
  catch problem
    expect(strcmp(problem.identifier, 'pistonfield:pistonfield_order:tolerance'), problem.message);
    report('case %d: %s', number, problem.message);
    return
  end
  p = converged_field(c);
  difference = field_of(c, order) - p;
  estimated = estimate / c.tolerance;
  off = max(abs(difference(:))) / max(abs(p(:))) / c.tolerance;
  if off > 1
    report(['case %d: order %d, tolerance %.1e: error %.2f, estimate %.2f of it, ', ...
            '%d x %d x %d points'], number, order, c.tolerance, off, estimated, c.grid.sizes);
  end
end

cases = str2double(getenv('FIELD_ORDER_CASES'));
off = NaN(1, cases);
estimated = NaN(1, cases);
for i = 1:cases
  [off(i), estimated(i)] = try_case(i);
end

found = ~isnan(off);
kept = mean(off(found) <= 1);
report('%d cases; an order was found in %.1f %%', cases, 100 * mean(found));
report('of these, tolerance kept in %.1f %%; error below its estimate, to 0.1 %%, in %.1f %%', ...
       100 * kept, 100 * mean(off(found) <= 1.001 * estimated(found)));
report('error in parts of the tolerance: median %.2f, largest %.2f', median(off(found)), ...
       max(off(found)));
expect(mean(found) >= 0.99, 'no order was found too often');
expect(kept >= 0.99, 'the tolerance was not kept often enough');
