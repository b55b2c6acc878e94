% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function require_new(caller, file, overwrite)
  % require_new(caller, file, overwrite): refuses a file that exists unless it is to be replaced.
  require(overwrite || ~is_there(file), caller, 'file', ...
          '%s exists; the option ''overwrite'', true replaces it', file);
end
