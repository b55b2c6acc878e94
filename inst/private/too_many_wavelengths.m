% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function text = too_many_wavelengths(piston, k)
  % too_many_wavelengths(piston, k): that the orders which pistonfield_order tries, up to 4096, are
  % too low for a piston; what this is likely to be about are units.
  text = sprintf(['the piston measures %g by %g wavelengths, more than orders up to 4096 can ', ...
                  'do; lengths are in m, the speed in m/s, the frequency in Hz'], ...
                 [piston.width, piston.height] * k / (2 * pi));
end
