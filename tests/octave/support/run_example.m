% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% [output, folder] = run_example(name): runs an example as a user does, and gives what it
% printed and the folder that it wrote to. Its picture is removed first, so that it is not an old one.
function [output, folder] = run_example(name)
  project = fileparts(fileparts(fileparts(fileparts(mfilename('fullpath')))));
  folder = fullfile(project, 'build', 'demo');
  picture = fullfile(folder, [regexprep(name, '^example\d+_', ''), '.png']);
  if exist(picture, 'file')
    unlink(picture);
  end
  code = sprintf('run(''%s'')', fullfile(project, 'examples', [name, '.m']));
  [status, output, errors] = run_octave(code);
  expect_same({status, errors}, {0, ''});
end
