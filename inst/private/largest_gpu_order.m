% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function order = largest_gpu_order()
  % largest_gpu_order(): the largest order that the modes of the GPU take.
  order = 512;
end
