% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% p = angular_spectrum(x, y, z, l, s, k, n)
%
% The field of a rectangular piston by its angular spectrum: the piston's velocity on the grid of the
% planes, continued by zeros to n by n points, is transformed once; each plane is one multiplication
% and one transform back.
% x, y, z: the coordinates along each axis, x and y evenly spaced; l, s: the sides along y and x;
% k: the wavenumber.
function p = angular_spectrum(x, y, z, l, s, k, n)
  hx = x(2) - x(1);
  hy = y(2) - y(1);
  % The share of each cell that the piston covers.
  cover = @(c, h, side) max(0, min(1, (side/2 - abs(c)) / h + 0.5));
  velocity = zeros(n);
  velocity(1:numel(x), 1:numel(y)) = cover(x(:), hx, s) * cover(y(:).', hy, l);
  wavenumbers = @(h) 2*pi / (n * h) * [0:ceil(n/2) - 1, -floor(n/2):-1];
  [KX, KY] = ndgrid(wavenumbers(hx), wavenumbers(hy));
  kz = sqrt(complex(k^2 - KX.^2 - KY.^2));
  kz = real(kz) - 1i * abs(imag(kz));  % waves that do not travel decay
  spectrum = -1i * k ./ kz .* fft2(velocity);
  p = complex(zeros(numel(x), numel(y), numel(z)));
  for iz = 1:numel(z)
    plane = ifft2(spectrum .* exp(-1i * kz * z(iz)));
    p(:, :, iz) = plane(1:numel(x), 1:numel(y));
  end
end
