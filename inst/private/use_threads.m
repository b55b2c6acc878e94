% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function restore = use_threads(count)
  % restore = use_threads(count): has the module use at most so many threads for as long as what is
  % returned exists. The module asks the environment in every call.
  name = 'PISTONFIELD_THREADS';
  restore = onCleanup(put_back(name, getenv(name)));
  setenv(name, sprintf('%d', count));
end

% A variable that was not there is empty where the host cannot remove it, which counts as much.
function action = put_back(name, before)
  if isempty(before) && exist('unsetenv') %#ok<EXIST>
    action = @() unsetenv(name);
  else
    action = @() setenv(name, before);
  end
end
