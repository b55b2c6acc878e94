% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function tolerance = usual_tolerance()
  % usual_tolerance(): that of a field for which no tolerance is given.
  tolerance = 1e-4;
end
