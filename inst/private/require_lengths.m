% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function lengths = require_lengths(caller, name, given)
  % lengths = require_lengths(caller, name, given): a row of one or two lengths above 0, a diameter
  % or the sides of a rectangle.
  require(is_finite_real(given) && any(numel(given) == [1, 2]) && all(given(:) > 0), ...
          caller, name, ...
          '%s must be a diameter, or [width height] of a rectangle, in m', name);
  lengths = double(given(:).');
end
