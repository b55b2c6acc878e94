% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function warn_of_wavelengths(piston, k)
  % warn_of_wavelengths(piston, k): warns where a piston measures less than a thousandth of a
  % wavelength, for which nobody needs this method. MHz are soon taken for Hz, and mm for m.
  wavelengths = max(piston.width, piston.height) * k / (2 * pi);
  if wavelengths < 1e-3
    warning('pistonfield:units', ...
            ['the piston measures %g wavelengths: lengths are in m, the speed in m/s, ', ...
             'the frequency in Hz'], wavelengths);
  end
end
