% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% gauss_rule(order): Gauss-Legendre nodes and weights on [-1, 1], from the eigenvalues of the Jacobi
% matrix (Golub and Welsch, Mathematics of Computation 23, 1969).
function [nodes, weights] = gauss_rule(order)
  n = 1:order - 1;
  beside = n ./ sqrt(4 * n .^ 2 - 1);
  [vectors, values] = eig(diag(beside, 1) + diag(beside, -1));
  [nodes, at] = sort(diag(values));
  weights = 2 * vectors(1, at)' .^ 2;
end
