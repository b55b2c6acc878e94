% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% c = random_field(number): a random request of this number: a struct with the piston, the grid, the
% frequency, the speed and a tolerance.
%
% Pistons measure 0.3 to 30 wavelengths, each side for itself. Grids have 1 to 200000 points in one,
% two or three directions, over 0.1 to 10 times the piston's larger side; half of them are turned.
% Their nearest point is 0.001 to 100 wavelengths before the piston's plane, in a quarter of the
% cases in it. Tolerances are 1e-2 to 1e-8.
function c = random_field(number)
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
