% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function yes = is_finite_real(value)
  % is_finite_real(value): whether it is an array of real, finite numbers.
  yes = isnumeric(value) && isreal(value) && all(isfinite(value(:)));
end
