% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The orders that pistonfield_order finds, in random cases: the true error over the whole grid
% against the tolerance. FIELD_ORDER_CASES says how many cases.
%
% Pistons measure 0.3 to 30 wavelengths, each side for itself. Grids have 1 to 200000 points in one,
% two or three directions, over 0.1 to 10 times the piston's larger side; half of them are turned.
% Their nearest point is 0.001 to 100 wavelengths before the piston's plane, in a quarter of the
% cases in it. Tolerances are 1e-2 to 1e-8.

1;

% A number between these, its logarithm evenly spread.
function value = between(low, high)
  value = low * (high / low) ^ rand();
end

function turn = random_turn()
  [turn, r] = qr(randn(3));
  turn = turn * diag(sign(diag(r)));
  turn(:, 3) = turn(:, 3) * sign(det(turn));
end

function sizes = random_sizes()
  points = between(1, 2e5);
  directions = randi(3);
  shares = rand(1, directions) + 0.2;
  sizes = [max(1, floor(points .^ (shares / sum(shares)))), ones(1, 3 - directions)];
  sizes = sizes(randperm(3));
end

function c = random_case(number)
  rand('twister', number);
  randn('twister', number);
  c.speed = 1482;
  c.frequency = 1e6;
  wavelength = c.speed / c.frequency;
  c.piston.width = wavelength * between(0.3, 30);
  c.piston.height = wavelength * between(0.3, 30);
  c.tolerance = between(1e-8, 1e-2);
  side = max(c.piston.width, c.piston.height);

  sizes = random_sizes();
  steps = diag(side * [between(0.1, 10), between(0.1, 10), between(0.1, 10)] ./ sizes);
  if rand() < 0.5
    steps = random_turn() * steps;
  end
  nearest = 0;
  if rand() < 0.75
    nearest = wavelength * between(0.001, 100);
  end
  % The middle of the grid lies over the piston or beside it.
  reach = steps * (sizes - 1)';
  origin = side * (1.5 * rand(3, 1) - 0.75) - reach / 2;
  origin(3) = nearest - sum(min(0, steps(3, :) .* (sizes - 1)));
  c.grid = pistonfield_grid(origin, steps, sizes);
end

% The field by another rule on the edges. The integrand is hardest near the ends of an edge or its
% pieces, where a point close to it has its foot. So panels of 16 Gauss-Legendre nodes shorten
% fourfold towards both ends, which leaves an error of 3^-32 in each, and are at most half a
% wavelength long.
function p = converged_field(c)
  k = 2 * pi * c.frequency / c.speed;
  toEnd = 4 .^ (-12:-1);
  panels = ceil(k * max(c.piston.width, c.piston.height) / pi);
  bounds = [-1, toEnd - 1, linspace(-0.75, 0.75, panels + 1)(2:end - 1), fliplr(1 - toEnd), 1];
  [x, w] = gauss_rule(16);
  half = diff(bounds) / 2;
  nodes = half .* x + bounds(1:end - 1) + half;
  weights = half .* w;
  p = case_field(c, reshape([nodes(:), weights(:)].', [], 2));
end

function q = case_field(c, rule)
  q = field(c.grid.transform, c.grid.sizes, c.piston.height, c.piston.width, ...
            2 * pi * c.frequency / c.speed, 'cpu', rule);
end

% How far the order's field is from the converged one, in parts of the tolerance; and the estimate
% likewise. NaN when no order was found.
function [off, estimated] = try_case(number)
  c = random_case(number);
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
  difference = case_field(c, order) - p;
  estimated = estimate / c.tolerance;
  off = max(abs(difference(:))) / max(abs(p(:))) / c.tolerance;
  if off > 1
    report(['case %d: order %d, tolerance %.1e: error %.2f, estimate %.2f of it, ', ...
            '%d x %d x %d points'], number, order, c.tolerance, off, estimated, c.grid.sizes);
  end
end

% On standard error, as the module writes on standard output.
function report(varargin)
  fprintf(stderr(), '%s\n', sprintf(varargin{:}));
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
