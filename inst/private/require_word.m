% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function require_word(caller, name, value, words)
  % require_word(caller, name, value, words): refuses what is none of the words in a cell array.
  require(ischar(value) && any(strcmp(value, words)), caller, name, '%s must be one of: %s', ...
          name, strjoin(words, ', '));
end
