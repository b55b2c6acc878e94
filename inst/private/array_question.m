% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function question = array_question(name, source, k, tolerance)
  % question = array_question(name, source, k, tolerance): what a question to the module about a
  % source begins with that source_as_array has made.
  question = {name, source.width, source.height, source.center, source.orientation, ...
              real(source.weights), imag(source.weights), k, tolerance};
end
