% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function restore = use_threads(count)
  % restore = use_threads(count): has the module use at most so many threads for as long as what is
  % returned exists. The module asks the environment in every call.
  name = 'PISTONFIELD_THREADS';
  before = getenv(name);
  setenv(name, sprintf('%d', count));
  restore = onCleanup(@() setenv(name, before));
end
