% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% grid_from(first, step): the transform of a grid with this first point and these steps, as the
% module wants it: transposed.
function transform = grid_from(first, step)
  transform = diag([step .* ones(1, 3), 1]);
  transform(4, 1:3) = first;
end
