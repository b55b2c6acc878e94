% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% [process, output] = start_octave(code): starts code in a new Octave that has the module, the
% functions in inst/ and these; its process and the stream of what it writes.
function [process, output] = start_octave(code)
  folders = strjoin(cellfun(@(name) fileparts(which(name)), ...
    {'pistonfield', 'pistonfield_pressure', 'start_octave'}, 'UniformOutput', false), ':');
  [input, output, process] = popen2(getenv('PISTONFIELD_OCTAVE_CLI'), ...
    {'--no-history', '--no-init-file', '--no-window-system', '--path', folders, '--eval', code});
  fclose(input);
end
