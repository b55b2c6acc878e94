% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The arguments of a valid call: a small grid before the piston.
function request = good_request()
  [l, s, k] = piston();
  request = {grid_from([1e-3, 2e-3, 5e-3], 1e-3), [2, 3, 2], l, s, k, 'cpu', 16};
end
