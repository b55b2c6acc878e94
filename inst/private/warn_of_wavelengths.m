% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function warn_of_wavelengths(source, k)
  % warn_of_wavelengths(source, k): warns where a piston, or the largest of an array, measures less than
  % a thousandth of a wavelength, for which nobody needs this method. MHz are soon taken for Hz, and mm for m.
  if isfield(source, 'outlines')
    sides = sides_of_outlines(source.outlines);
  else
    sides = [source.width(:); source.height(:)];
  end
  wavelengths = max(sides) * k / (2 * pi);
  if wavelengths < 1e-3
    name = 'the piston';
    if isfield(source, 'weights')
      name = 'the largest element';
    end
    warning('pistonfield:units', ...
            ['%s measures %g wavelengths: lengths are in m, the speed in m/s, ', ...
             'the frequency in Hz'], name, wavelengths);
  end
end
