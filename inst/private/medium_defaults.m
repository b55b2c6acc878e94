% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function defaults = medium_defaults(defaults)
  % defaults = medium_defaults(defaults): a struct of options with those that read_medium reads beside
  % the frequency and the speed.
  for name = {'attenuation', 'exponent', 'nepers', 'dispersion', 'dispersionfrequency', 'baffle'}
    defaults.(name{1}) = [];
  end
end
