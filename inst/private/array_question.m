% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function question = array_question(name, source, medium, tolerance)
  % question = array_question(name, source, medium, tolerance): what a question to the module about a
  % source begins with that source_as_array has made, in a medium of read_medium.
  question = {name, source.width, source.height, source.center, source.orientation, ...
              real(source.weights), imag(source.weights), medium.wavenumber, ...
              medium.attenuation, medium.baffle, tolerance};
end
