% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The values of the modes that compute on the GPU.

1;

% A grid through all regions before the piston, and on none of the edges' lines.
function request = request_for(mode, rule)
  [l, s, k] = piston();
  transform = grid_from([-7.1e-3, -4.7e-3, 0.75e-3], [2.9e-3, 2.3e-3, 9.1e-3]);
  request = {transform, [5, 5, 5], l, s, k, mode, rule};
end

function wanted = surface_integral_of(request)
  [ix, iy, iz] = ndgrid(0:4, 0:4, 0:4);
  t = request{1};
  wanted = surface_integral(t(4, 1) + t(1, 1) * ix, t(4, 2) + t(2, 2) * iy, ...
                            t(4, 3) + t(3, 3) * iz, request{3:5});
end

% Single precision holds the phase k R, up to 170 rad here, to about 6e-8 of itself.
function tolerance = of_single_precision()
  tolerance = 170 * eps('single');
end

function expect_surface_integral(mode)
  request = request_for(mode, 64);
  p = field(request{:});
  expect_same({class(p), iscomplex(p)}, {'double', true});
  expect_close(p, surface_integral_of(request), of_single_precision());
end

% Ten abscissas are the default of both.
function expect_default_mode_is_cuda()
  request = request_for('cuda', 10);
  expect_same(field(request{1:5}), field(request{:}));
  expect_close(field(request{1:5}), field(request{1:5}, 'cpu'), of_single_precision());
end

function expect_widened()
  p = field(request_for('cuda', 16){:});
  expect_same(double(single(p)), p);
  p = field(request_for('cudadp', 16){:});
  expect(any(double(single(p(:))) ~= p(:)), 'cudadp gave single precision only');
end

% Of five pairs the first three are uploaded, and mirrored: the third one's abscissa counts as 0.
function expect_half_of_a_table(mode)
  x = [-0.9, -0.5, 0.1, 0.3, 0.6];
  w = [0.25, 0.5, 0.55, 0.3, 0.4];
  table = reshape([x; w], [], 2);
  mirrored = reshape([-0.9, -0.5, 0, 0.5, 0.9; 0.25, 0.5, 0.55, 0.5, 0.25], [], 2);
  p = field(request_for(mode, table){:});
  expect_close(p, field(request_for('cpu', mirrored){:}), of_single_precision());
  onCpu = field(request_for('cpu', table){:});
  expect(max(abs(p(:) - onCpu(:))) > 1e-2, 'the second half of the table took part');
end

function expect_table_of_one(mode)
  p = field(request_for(mode, [0.3, 1.7]){:});
  expect_close(p, field(request_for('cpu', [0, 1.7]){:}), of_single_precision());
end

function expect_highest_order(mode)
  request = request_for(mode, 512);
  expect_close(field(request{:}), surface_integral_of(request), of_single_precision());
end

function expect_failure(mode, rule, condition)
  good = request_for(mode, 8);
  before = field(good{:});
  raised = '';
  try
    field(request_for(mode, rule){:});
  catch failure
    raised = failure.message;
  end
  pattern = '^pistonfield: ERROR: assertion failure in FastNearfield/IntegratorCuda at line \d+';
  expect(~isempty(regexp(raised, pattern, 'once')), 'raised "%s"', raised);
  expect(any(strfind(raised, sprintf('condition failed: (%s)', condition))), 'raised "%s"', raised);
  expect_same(field(good{:}), before);
  cpu = request_for('cpu', 8);
  expect_close(field(cpu{:}), before, of_single_precision());
end

function expect_after_refusal(mode)
  good = request_for(mode, 8);
  before = field(good{:});
  faulty = good;
  faulty{2} = [0, 1, 1];
  try
    field(faulty{:});
    error('a grid without points was computed');
  catch failure
    expect(any(strfind(failure.message, 'at least one data point')), failure.message);
  end
  expect_same(field(good{:}), before);
end

% The CPU modes divide by the last element, the GPU takes the first three rows as they are.
function expect_no_division(mode)
  request = request_for(mode, 16);
  undivided = field(request{:});
  request{1}(4, 4) = 2;
  expect_same(field(request{:}), undivided);
  cpu = [request(1:5), {'cpu', 16}];
  divided = field(cpu{:});
  expect(max(abs(divided(:) - undivided(:))) > 1e-2, 'the CPU did not divide');
end

% With a transform of all terms.
function expect_transposed(mode)
  request = request_for(mode, 16);
  request{1}(1:3, 1:3) = 1e-3 * [1.9, 0.3, 0.2; -0.4, 2.1, 0.5; 0.1, 0.6, 8.7];
  request{1}(1:3, 4) = [3; -5; 7];
  cpu = [request(1:5), {'cpu', 16}];
  expect_close(field(request{:}), field(cpu{:}), of_single_precision());
end

function expect_shape(mode, sizes, wanted)
  request = request_for(mode, 4);
  request{2} = sizes;
  p = field(request{:});
  expect_same({class(p), iscomplex(p), size(p)}, {'double', true, wanted});
end

it('without a mode the GPU computes in single precision', @expect_default_mode_is_cuda);
it('cuda gives singles widened and cudadp doubles', @expect_widened);
for modes = {'cuda', 'cudadp'}
  mode = modes{1};
  it([mode, ' gives the surface integral within single precision'], @() ...
     expect_surface_integral(mode));
  it([mode, ' takes the first half of a table for a symmetric rule'], @() ...
     expect_half_of_a_table(mode));
  it([mode, ' takes a table of one row for a weight in the middle'], @() expect_table_of_one(mode));
  it([mode, ' has rules of 512 abscissas'], @() expect_highest_order(mode));
  it([mode, ' has no rules of 513 abscissas'], @() expect_failure(mode, 513, 'N <= 512 && N>0'));
  it([mode, ' has no tables of 513 rows'], @() ...
     expect_failure(mode, ones(513, 2), 'N <= 512 && N>0'));
  it([mode, ' has no tables without rows'], @() ...
     expect_failure(mode, zeros(0, 2), 'N <= 512 && N>0'));
  it([mode, ' has no rules of 0 abscissas'], @() expect_failure(mode, 0, 'order>0'));
  it([mode, ' has no rules of -3 abscissas'], @() expect_failure(mode, -3, 'order>0'));
  it([mode, ' computes the same after a refusal'], @() expect_after_refusal(mode));
  it([mode, ' does not divide by the last element of the transform'], @() expect_no_division(mode));
  it([mode, ' places a sheared grid where cpu does'], @() expect_transposed(mode));
  it([mode, ' gives a matrix for a plane'], @() expect_shape(mode, [4, 5, 1], [4, 5]));
  it([mode, ' gives three dimensions for a line along z'], @() ...
     expect_shape(mode, [1, 1, 7], [1, 1, 7]));
  it([mode, ' gives a number for one point'], @() expect_shape(mode, [1, 1, 1], [1, 1]));
end

finish();
