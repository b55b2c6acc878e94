% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The seventh argument: an order, or a table of abscissas and weights.

1;

function p = at_point(point, rule)
  [l, s, k] = piston();
  p = field(grid_from(point, 1), [1, 1, 1], l, s, k, 'cpu', rule);
end

function p = reference(point, nodes, weights)
  [l, s, k] = piston();
  p = edge_integrals(point, l, s, k, nodes, weights);
end

% Inside the piston's shadow in both directions, in one of them, and in none.
function points = probes()
  points = [1e-3, 1e-3, 2e-3; 1e-3, 6e-3, 2e-3; -9e-3, 1e-3, 2e-3; 9e-3, -6e-3, 2e-3];
end

function expect_rule(rule, nodes, weights)
  for point = probes()'
    expect_close(at_point(point', rule), reference(point', nodes, weights), 1e-13);
  end
end

function expect_order(order)
  [nodes, weights] = gauss_rule(order);
  expect_rule(order, nodes, weights);
end

function expect_rowwise_table_differs()
  [nodes, weights] = gauss_rule(8);
  p = at_point([1e-3, 1e-3, 2e-3], [nodes, weights]);
  expect(abs(p - reference([1e-3, 1e-3, 2e-3], nodes, weights)) > 1e-3, 'read row by row');
end

function expect_single_table()
  request = good_request();
  [nodes, weights] = gauss_rule(16);
  table = reshape([nodes, weights]', [], 2);
  request([6, 7]) = {'cpusp', table};
  byTable = field(request{:});
  request{7} = 16;
  expect_close(byTable, field(request{:}), 4 * eps('single'));
  expect_same(double(single(byTable)), byTable);
end

function expect_truncated_order()
  expect_same(field(with(7, 12.9){:}), field(with(7, 12){:}));
end

function expect_table_of_100()
  [nodes, weights] = gauss_rule(100);
  expect_rule(reshape([nodes, 2 * weights]', [], 2), nodes, 2 * weights);
end

function expect_zero_for_empty_table()
  p = field(with(7, zeros(0, 2)){:});
  expect_same(p, zeros(2, 3, 2));
end

for order = [1, 2, 3, 7, 16, 100, 101]
  it(sprintf('%d abscissas are the Gauss-Legendre rule of this order', order), ...
     @() expect_order(order));
end
it('an order is truncated', @expect_truncated_order);
it('a table of one row is one abscissa and its weight', @() expect_rule([0.25, 1.5], 0.25, 1.5));
it('a table is read down its columns in pairs', @() ...
   expect_rule([-0.8, 0.5; 0.3, 0.9; 0.1, 0.7], [-0.8; 0.1; 0.9], [0.3; 0.5; 0.7]));
it('a table is not read row by row', @expect_rowwise_table_differs);
it('a table of the order that the piston starts with replaces its rule', @expect_table_of_100);
it('cpusp rounds a table to single precision', @expect_single_table);
it('a table without rows gives zeros', @expect_zero_for_empty_table);

finish();
