% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of the convergence in the order, as a user runs it: squares at 1 MHz in water.

1;

function rows = table_of(output)
  rows = printed_numbers(output, '^ +(\d+) +(\d+\.\d) +(\d+) +(\d+) +(\d+) +(\d+)$');
end

% The sums of the table's orders, by a rule of the test's own, against the surface integral.
function expect_smallest_order(row, column, allowed)
  wave_length = 1.5e-3;
  side = row(1) * wave_length;
  z = row(2) * wave_length;
  k = 2 * pi / wave_length;
  wanted = surface_integral(0, 0, z, side, side, k);
  off = zeros(1, 2);
  for i = 1:2
    order = row(column) - 2 * (i - 1);
    [nodes, weights] = gauss_rule(order);
    off(i) = abs(edge_integrals([0, 0, z], side, side, k, nodes, weights) - wanted);
  end
  expect(off(1) <= allowed && off(2) > allowed, ...
         'off by %g at order %d and %g at the one before', off(1), row(column), off(2));
end

function expect_orders(rows)
  for i = [1, 4, 5, 6]
    expect_smallest_order(rows(i, :), 4, 1e-4);
    expect_smallest_order(rows(i, :), 5, 1e-8);
  end
end

[output, folder] = run_example('example4_convergence');
rows = table_of(output);
it('the table has three pistons at three distances', @() ...
   expect_same(rows(:, 1:2), [2 2 2 8 8 8 32 32 32; 0.5 2 8 0.5 2 8 0.5 2 8]'));
it('an order in the table suffices and the one before does not', @() expect_orders(rows));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'convergence.png'), 1200, 420, 10e3));

finish();
