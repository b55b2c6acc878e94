% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% run_on_device(script): runs a script of cases where the module finds its device, and ends with the
% status 77, which stands for "skipped", where it does not.
function run_on_device(script)
  try
    evalc('pistonfield(''info'')');
  catch problem
    printf('skipped: %s\n', problem.message);
    exit(77);
  end
  source(script);
end
