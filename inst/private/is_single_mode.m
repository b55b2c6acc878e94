% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function yes = is_single_mode(mode)
  % is_single_mode(mode): whether this mode's positions are in single precision.
  yes = any(strcmp(mode, {'cpusp', 'cuda'}));
end
