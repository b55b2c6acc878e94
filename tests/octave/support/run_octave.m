% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% run_octave(code): runs code in a new Octave that has the module; its exit status and what it
% wrote.
function [status, output, errors] = run_octave(code)
  errorFile = tempname();
  options = '--no-history --no-init-file --no-window-system';
  folders = [fileparts(which('pistonfield')), ':', fileparts(mfilename('fullpath'))];
  command = sprintf('"%s" %s --path "%s" --eval "%s" 2>"%s" </dev/null', ...
                    getenv('PISTONFIELD_OCTAVE_CLI'), options, folders, code, errorFile);
  [status, output] = system(command);
  output = text_of(output);
  errors = text_of(fileread(errorFile));
  unlink(errorFile);
end

% Empty texts come in several shapes.
function text = text_of(text)
  if isempty(text)
    text = '';
  end
end
