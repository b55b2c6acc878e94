% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function warn_of_wavelengths(piston, k, most)
  % warn_of_wavelengths(piston, k, most): warns where the longer side of a piston measures less than a
  % thousandth of a wavelength or more than so many. MHz are soon taken for Hz, and mm for m.
  wavelengths = max(piston.width, piston.height) * k / (2 * pi);
  if wavelengths < 1e-3 || wavelengths > most
    warning('pistonfield:units', ...
            ['the piston measures %g wavelengths: lengths are in m, the speed in m/s, ', ...
             'the frequency in Hz'], wavelengths);
  end
end
