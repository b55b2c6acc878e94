% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function vector = require_direction(caller, name, given)
  % vector = require_direction(caller, name, given): three finite numbers, not all 0, as a row.
  require(is_finite_real(given) && numel(given) == 3 && any(given(:) ~= 0), caller, name, ...
          '%s must be a direction: three real, finite numbers, not all 0', name);
  vector = double(given(:).');
end
