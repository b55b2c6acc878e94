% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function values = turn_components(values, orientation)
  % values = turn_components(values, orientation): N by C by M values, of which C = 3 are components
  % along the axes of a piston, along those of the frame in which its orientation is; others as they
  % are. Not by a product of matrices, in which rounding may depend on neighbours.
  if size(values, 2) == 1 || isequal(orientation, eye(3))
    return
  end
  own = values;
  for i = 1:3
    values(:, i, :) = orientation(i, 1) * own(:, 1, :) + orientation(i, 2) * own(:, 2, :) + ...
                      orientation(i, 3) * own(:, 3, :);
  end
  % On an edge of the piston all are infinite, in its frame and in any other.
  values(repmat(any(isinf(own), 2), [1, 3, 1])) = Inf;
end
