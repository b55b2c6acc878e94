% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% p = converged_field(c): the field of random_field's request by another rule on the edges. The
% integrand is hardest near the ends of an edge or its pieces, where a point close to it has its
% foot. So panels of 16 Gauss-Legendre nodes shorten fourfold towards both ends, which leaves an
% error of 3^-32 in each, and are at most half a wavelength long.
function p = converged_field(c)
  k = 2 * pi * c.frequency / c.speed;
  toEnd = 4 .^ (-12:-1);
  panels = ceil(k * max(c.piston.width, c.piston.height) / pi);
  bounds = [-1, toEnd - 1, linspace(-0.75, 0.75, panels + 1)(2:end - 1), fliplr(1 - toEnd), 1];
  [x, w] = gauss_rule(16);
  half = diff(bounds) / 2;
  nodes = half .* x + bounds(1:end - 1) + half;
  weights = half .* w;
  p = field_of(c, reshape([nodes(:), weights(:)].', [], 2));
end
