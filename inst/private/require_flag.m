% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function require_flag(caller, name, value)
  % require_flag(caller, name, value): refuses what is neither true nor false.
  require(isscalar(value) && (islogical(value) || isnumeric(value)) && ~isnan(value), ...
          caller, name, '%s must be true or false', name);
end
