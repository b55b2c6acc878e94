% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function yes = is_positive(value)
  % is_positive(value): whether it is one real number, finite and above 0.
  yes = isnumeric(value) && isscalar(value) && isreal(value) && isfinite(value) && value > 0;
end
