% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function require_mode(caller, mode)
  % require_mode(caller, mode): refuses what is no mode of the module.
  require_word(caller, 'mode', mode, {'cpu', 'cpudp', 'cpusp', 'cuda', 'cudadp'});
end
