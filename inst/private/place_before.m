% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [place, touches] = place_before(caller, piston, grid, behind)
  % place = place_before(caller, piston, grid): the transform of the grid in the piston's own frame,
  % as the module takes it. A grid that reaches behind the piston's plane is refused.
  % [place, touches] = place_before(caller, piston, grid, behind): so it is unless behind is true.
  % touches is whether points may be behind the plane, if only by rounding.
  place = grid.transform;
  place(4, 1:3) = place(4, 1:3) - piston.center.';
  place(:, 1:3) = place(:, 1:3) * piston.orientation;

  % The corner of the grid that lies furthest behind; a turned grid may touch the plane but for
  % rounding.
  ways = (grid.sizes - 1).' .* place(1:3, 3);
  lowest = place(4, 3) + sum(min(ways, 0));
  rounding = 64 * eps * (sum(abs(ways)) + norm(grid.transform(4, 1:3)) + norm(piston.center));
  require((nargin > 3 && behind) || lowest >= -rounding, caller, 'behind', ...
          'the grid reaches %g m behind the plane of the piston, where there is no field%s', ...
          -lowest, hint_of(nargin > 3));
  isExact = nnz(piston.orientation(:, 3)) == 1 && place(4, 3) == 0 && all(ways >= 0);
  touches = lowest <= rounding && ~isExact;
end

% The option, of callers that have it.
function hint = hint_of(isTaken)
  hint = '';
  if isTaken
    hint = behind_hint();
  end
end
