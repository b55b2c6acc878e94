% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function field = sampled_field(place, sizes, piston, k, threads)
  % field = sampled_field(place, sizes, piston, k, threads): the field at the points of a grid by
  % which its errors are judged, computed in so many threads as for module_field. A struct with
  %   piston, k
  %   points          function handle: N by 3, where the points lie in the piston's frame [m]
  %   safety          the factor that covers the grid's other points, 1 where there are none
  %   values          function handle: the N values in a mode with an order, without unit
  [samples, safety] = sample_grid(place, sizes, piston);
  field = struct('piston', piston, 'k', k, 'points', @() positions_of(samples), 'safety', safety, ...
                 'values', @(mode, order) values_of(samples, piston, k, mode, order, threads));
end

function points = positions_of(samples)
  points = cell(numel(samples), 1);
  for i = 1:numel(samples)
    grid = struct('transform', samples{i}.place, 'sizes', samples{i}.sizes);
    [x, y, z] = pistonfield_grid(grid, 'positions');
    points{i} = [x(:), y(:), z(:)];
  end
  points = vertcat(points{:});
end

function p = values_of(samples, piston, k, mode, order, threads)
  field = @(place, sizes) module_field(place, sizes, piston, k, mode, order, threads);
  p = cell(numel(samples), 1);
  for i = 1:numel(samples)
    place = samples{i}.place;
    sizes = samples{i}.sizes;
    part = field(place, sizes);
    [lost, found] = corner_values(part, [0 0 0], field, place, mode);
    part(lost) = found;
    p{i} = part(:);
  end
  p = vertcat(p{:});
end
