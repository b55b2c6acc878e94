% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function place = points_before(caller, piston, points, behind)
  % place = points_before(caller, piston, points, behind): the points of read_points in the piston's
  % own frame. Unless behind is true, points behind the piston's plane are refused.
  place = struct('x', 0, 'y', 0, 'z', 0);
  names = fieldnames(place);
  % Not a product of matrices, in which a point's rounding may depend on its neighbours; and term by
  % term, as the temporary values of a long expression take memory together.
  for i = 1:3
    for j = 1:3
      along = (points.(names{j}) - piston.center(j)) * piston.orientation(j, i);
      place.(names{i}) = place.(names{i}) + along;
    end
  end
  if ~behind
    require_before(caller, place, points, piston.center);
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
