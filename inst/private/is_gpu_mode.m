% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function yes = is_gpu_mode(mode)
  % is_gpu_mode(mode): whether this is a mode of the GPU.
  yes = strncmp(mode, 'cuda', 4);
end
