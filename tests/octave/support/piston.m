% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The piston of most cases: 5 mm along y by 7.5 mm along x, at 1 MHz in water.
function [l, s, k] = piston()
  l = 5e-3;
  s = 7.5e-3;
  waveLength = 1.5e-3;
  k = 2 * pi / waveLength;
end
