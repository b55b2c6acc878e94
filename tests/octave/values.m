% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The computed pressure: against a quadrature over the piston's surface, and the shapes it comes in.

1;

% Positions of the points of a grid, in the module's order. A step is one length, or three.
function [x, y, z] = positions(first, step, sizes)
  step = step .* ones(1, 3);
  [ix, iy, iz] = ndgrid(0:sizes(1) - 1, 0:sizes(2) - 1, 0:sizes(3) - 1);
  x = first(1) + step(1) * ix;
  y = first(2) + step(2) * iy;
  z = first(3) + step(3) * iz;
end

% 100 abscissas take each edge integral to full precision here; both sides then round differently.
function expect_surface_integral(first, step, sizes)
  [l, s, k] = piston();
  [x, y, z] = positions(first, step, sizes);
  wanted = surface_integral(x, y, z, l, s, k);
  expect_close(field(grid_from(first, step), sizes, l, s, k, 'cpu', 100), wanted, 1e-12);
end

function expect_default_order_is_10()
  request = with(7, 10);
  expect_same(field(request{1:6}), field(request{:}));
end

function expect_cpudp_is_cpu()
  expect_same(field(with(6, 'cpudp'){:}), field(with(6, 'cpu'){:}));
end

% Single precision holds the phase k R, up to 170 rad here, to about 6e-8 of itself.
function expect_single_precision()
  [l, s, k] = piston();
  request = {grid_from([-7.1e-3, -4.7e-3, 0.75e-3], [2.9e-3, 2.3e-3, 9.1e-3]), [5, 5, 5], l, s, k};
  single_ = field(request{:}, 'cpusp', 64);
  double_ = field(request{:}, 'cpu', 64);
  expect_close(single_, double_, 170 * eps('single'));
  expect(any(single_(:) ~= double_(:)), 'cpusp computed in double precision');
  expect_same(double(single(single_)), single_);
end

function expect_shape(sizes, wanted)
  for mode = {'cpu', 'cpudp', 'cpusp'}
    request = with(2, sizes);
    request{6} = mode{1};
    p = field(request{:});
    expect_same(class(p), 'double');
    expect(iscomplex(p), '%s gave a real array', mode{1});
    expect_same(size(p), wanted);
  end
end

function expect_order_of_points()
  [l, s, k] = piston();
  first = [1e-3, 2e-3, 5e-3];
  step = [1e-3, 0.7e-3, 3e-3];
  sizes = [2, 3, 4];
  p = field(grid_from(first, step), sizes, l, s, k, 'cpu');
  [x, y, z] = positions(first, step, sizes);
  for i = 1:numel(p)
    expect_close(p(i), field(grid_from([x(i), y(i), z(i)], 1), [1, 1, 1], l, s, k, 'cpu'), 1e-12);
  end
end

% A rotation about z by 30 degrees, a shear and a shift; the transform is the transpose of the usual
% matrix.
function expect_general_transform()
  [l, s, k] = piston();
  place = [0.9e-3, -0.5e-3, 0.1e-3, 1e-3
           0.5e-3,  0.9e-3, 0.2e-3, 2e-3
           0,       0.3e-3, 4e-3,   5e-3
           0,       0,      0,      1];
  [ix, iy, iz] = ndgrid(0:2, 0:1, 0:2);
  at = place * [ix(:), iy(:), iz(:), ones(numel(ix), 1)]';
  wanted = reshape(surface_integral(at(1, :), at(2, :), at(3, :), l, s, k), 3, 2, 3);
  expect_close(field(place', [3, 2, 3], l, s, k, 'cpu', 100), wanted, 1e-12);
end

function expect_divisor_halves()
  request = good_request();
  halved = request;
  halved{1}(4, 4) = 2;
  wanted = request;
  wanted{1}(:, 1:3) /= 2;
  expect_close(field(halved{:}), field(wanted{:}), 1e-14);
end

function expect_no_perspective()
  request = good_request();
  wanted = field(request{:});
  request{1}(1:3, 4) = [3; -5; 7];
  expect_same(field(request{:}), wanted);
end

function expect_any_shape_of_input()
  request = good_request();
  wanted = field(request{:});
  for shape = {[1, 16], [16, 1], [2, 8], [2, 2, 4]}
    expect_same(field(reshape(request{1}, shape{1}), request{2:7}), wanted);
  end
  expect_same(field(request{1}, request{2}(:), request{3:7}), wanted);
end

function expect_first_elements()
  request = good_request();
  wanted = field(request{:});
  longer = request;
  for i = 3:5
    longer{i} = [request{i}, 99; 98, 97];
  end
  expect_same(field(longer{:}), wanted);
end

function expect_not_a_number_stays()
  p = field(with(5, NaN){:});
  expect(all(isnan(real(p(:)))) && all(isnan(imag(p(:)))), 'k = NaN gave numbers');
end

waveLength = 1.5e-3;
% A hair off the lines of the edges: exactly where two of them cross, the result is not a number.
hair = 1e-9;
it('the pressure over, beside and on the lines of the edges is the surface integral', @() ...
   expect_surface_integral([-7.5e-3, -5e-3, waveLength / 2], ...
                           [3.75e-3 * (1 + hair), 2.5e-3 * (1 + hair), waveLength / 2], [5, 5, 2]));
it('the pressure in no special place is the surface integral', @() ...
   expect_surface_integral([-7.1e-3, -4.7e-3, waveLength / 2], [2.9e-3, 2.3e-3, 13e-3], [5, 5, 3]));
it('the pressure on the axis far away is the surface integral', @() ...
   expect_surface_integral([0, 0, 0.12], 1, [1, 1, 1]));
it('exactly over the middle of an edge the pressure is the surface integral', @() ...
   expect_surface_integral([3.75e-3, 0, waveLength / 2], 1, [1, 1, 1]));
it('exactly over the middle of the other edge the pressure is the surface integral', @() ...
   expect_surface_integral([0, -2.5e-3, waveLength / 2], 1, [1, 1, 1]));
it('a rotated and sheared grid lies where the transposed transform puts it', ...
   @expect_general_transform);
it('a last element of 2 halves every coordinate', @expect_divisor_halves);
it('the first three elements of the last column change nothing', @expect_no_perspective);
it('sixteen values are a transform and three are sizes in any shape', @expect_any_shape_of_input);
it('l, s and k are the first elements of what is given', @expect_first_elements);
it('points run along x first, then y, then z', @expect_order_of_points);
it('without an order the rule has 10 abscissas', @expect_default_order_is_10);
it('cpudp is cpu', @expect_cpudp_is_cpu);
it('cpusp computes in single precision', @expect_single_precision);
it('one point is a number', @() expect_shape([1, 1, 1], [1, 1]));
it('a plane of one layer is a matrix', @() expect_shape([4, 5, 1], [4, 5]));
it('a line along z has three dimensions', @() expect_shape([1, 1, 7], [1, 1, 7]));
it('a size is truncated', @() expect_shape([2.7, 1, 1], [2, 1]));
it('every size is truncated', @() expect_shape([2.999, 3.5, 4.001], [2, 3, 4]));
it('what is not a number stays so', @expect_not_a_number_stays);

finish();
