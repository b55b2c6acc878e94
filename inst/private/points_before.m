% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function place = points_before(caller, piston, points, behind)
  % place = points_before(caller, piston, points, behind): the points of read_points in the piston's
  % own frame. Unless behind is true, points behind the piston's plane are refused.
  place = struct('x', [], 'y', [], 'z', []);
  names = fieldnames(place);
  center = piston.center;
  for i = 1:3
    axis = piston.orientation(:, i);
    % Not a product of matrices, in which a point's rounding may depend on its neighbours.
    place.(names{i}) = (points.x - center(1)) * axis(1) + (points.y - center(2)) * axis(2) + ...
                       (points.z - center(3)) * axis(3);
  end
  if ~behind
    require_before(caller, place, points, center);
  end
end

% Points of a turned plane may touch the piston's but for rounding.
function require_before(caller, place, points, center)
  lowest = find(place.z < 0);
  size_of = abs(points.x(lowest)) + abs(points.y(lowest)) + abs(points.z(lowest));
  rounding = 64 * eps * (size_of + norm(center));
  found = lowest(find(place.z(lowest) < -rounding, 1));
  if ~isempty(found)
    require(false, caller, 'behind', ...
            ['point %d, (%g, %g, %g) m, lies %g m behind the plane of the piston, where there is ', ...
             'no field'], found, points.x(found), points.y(found), points.z(found), ...
            -place.z(found));
  end
end
