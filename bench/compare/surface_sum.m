% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% p = surface_sum(x, y, z, l, s, k, spacing)
%
% The field of a rectangular piston as the sum of the waves of its surface's elements, each a point
% source in the element's middle. Elements are at most `spacing` wide.
% x, y, z: the coordinates along each axis; l, s: the sides along y and x; k: the wavenumber.
function p = surface_sum(x, y, z, l, s, k, spacing)
  [X, Y] = ndgrid(x, y);
  middles = @(side, n) ((0.5:n) / n - 0.5) * side;
  nx = ceil(s / spacing - 1e-9);
  ny = ceil(l / spacing - 1e-9);
  [U, V] = ndgrid(middles(s, nx), middles(l, ny));
  p = complex(zeros(numel(x), numel(y), numel(z)));
  for iz = 1:numel(z)
    sum = complex(zeros(size(X)));
    for i = 1:numel(U)
      r = sqrt((X - U(i)) .^ 2 + (Y - V(i)) .^ 2 + z(iz)^2);
      sum += exp(-1i * k * r) ./ r;
    end
    p(:, :, iz) = k / (2*pi) * (s / nx) * (l / ny) * sum;
  end
end
