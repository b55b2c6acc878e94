% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% [nodes, weights] = gauss_rule(n)
%
% The Gauss-Legendre rule of n points on [-1, 1]: the eigenvalues of its Jacobi matrix, and from the
% eigenvectors' first components (G. H. Golub and J. H. Welsch, Math. Comp. 23, 1969).
function [nodes, weights] = gauss_rule(n)
  i = 1:n - 1;
  beta = i ./ sqrt(4 * i.^2 - 1);
  [vectors, values] = eig(diag(beta, 1) + diag(beta, -1));
  nodes = diag(values);
  weights = 2 * vectors(1, :)' .^ 2;
end
