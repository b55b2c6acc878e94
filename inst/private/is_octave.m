% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function yes = is_octave()
  % is_octave(): whether this is GNU Octave and not MATLAB.
  yes = exist('OCTAVE_VERSION', 'builtin') ~= 0;
end
