% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function yes = is_double_mode(mode)
  % is_double_mode(mode): whether all of this mode's arithmetic is in double precision.
  yes = any(strcmp(mode, {'cpu', 'cpudp'}));
end
