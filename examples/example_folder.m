% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function folder = example_folder()
  % folder = example_folder(): puts the functions of the project on the path, and the module unless
  % it is found already. What the examples write goes to this folder, build/demo.
  project = fileparts(fileparts(mfilename('fullpath')));
  addpath(fullfile(project, 'inst'));
  isMexFile = 3;
  if exist('pistonfield') ~= isMexFile %#ok<EXIST>
    built = fullfile(project, 'build', 'octave');
    if ~exist(fullfile(built, ['pistonfield.', mexext()]), 'file')
      error('pistonfield:example_folder:module', ...
            ['the module is not built: there is no %s\n' ...
             'Build it with ./demo.sh, or with\n' ...
             '  cmake --preset default && cmake --build --preset default\n' ...
             'or add the folder of your pistonfield.%s to the path with addpath.'], ...
            fullfile(built, ['pistonfield.', mexext()]), mexext());
    end
    addpath(built);
  end
  folder = fullfile(project, 'build', 'demo');
  % It may be there, or be made by another example at the same moment.
  [~, ~] = mkdir(folder);
end
