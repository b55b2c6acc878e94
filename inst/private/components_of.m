% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [x, y, z] = components_of(values, shape)
  % [x, y, z] = components_of(values, shape): three components of field_of in the shape of the points,
  % several weightings in a last dimension.
  parts = cell(1, 3);
  for i = 1:3
    parts{i} = reshape(values(:, i, :), [shape, size(values, 3)]);
  end
  [x, y, z] = parts{:};
end
