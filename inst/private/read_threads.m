% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function threads = read_threads(caller, threads)
  % threads = read_threads(caller, threads): the option 'threads', checked, as the module takes it; 0
  % where it was not given.
  if isempty(threads)
    threads = 0;
    return
  end
  most = module_limit('most_threads');
  require(is_positive(threads) && threads == fix(threads) && threads <= most, ...
          caller, 'threads', 'threads must be a whole number from 1 to %d', most);
  threads = double(threads);
end
