% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% p = near_field(x, y, z, l, s, k, nodes, weights)
%
% The field of a rectangular piston by the fast near-field method, as one writes it in Octave: one
% node of the rule at a time for all points of a plane.
% x, y, z: the coordinates along each axis; l, s: the sides along y and x; k: the wavenumber.
function p = near_field(x, y, z, l, s, k, nodes, weights)
  [X, Y] = ndgrid(x, y);
  p = complex(zeros(numel(x), numel(y), numel(z)));
  for iz = 1:numel(z)
    E = exp(-1i * k * z(iz));
    along_y = @(e) split_integral(e, Y - l/2, Y + l/2, z(iz), k, E, nodes, weights);
    along_x = @(e) split_integral(e, X - s/2, X + s/2, z(iz), k, E, nodes, weights);
    p(:, :, iz) = -1i / (2*pi) * (along_y(X - s/2) - along_y(X + s/2) ...
                                  + along_x(Y - l/2) - along_x(Y + l/2));
  end
end

% The offset times the integral along the edge, in two pieces where the foot 0 lies inside.
function sum = split_integral(e, from, to, z, k, E, nodes, weights)
  sum = complex(zeros(size(e)));
  inside = (from > 0) ~= (to > 0);
  whole = ~inside;
  sum(whole) = integral_of(e(whole), from(whole), to(whole), z, k, E, nodes, weights);
  sum(inside) = integral_of(e(inside), from(inside), 0, z, k, E, nodes, weights) ...
                + integral_of(e(inside), 0, to(inside), z, k, E, nodes, weights);
  sum .*= e;
end

function sum = integral_of(e, from, to, z, k, E, nodes, weights)
  half = (to - from) / 2;
  middle = (to + from) / 2;
  e2 = e .^ 2;
  sum = complex(zeros(size(e)));
  for i = 1:numel(nodes)
    d = (middle + half * nodes(i)) .^ 2 + e2;
    sum += weights(i) * half .* (exp(-1i * k * sqrt(z^2 + d)) - E) ./ d;
  end
end
