% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function require_module(caller)
  % require_module(caller): refuses to go on without the module on the path.
  isMexFile = 3;
  require(exist('pistonfield') == isMexFile, caller, 'module', ... %#ok<EXIST>
          'the module pistonfield is not on the path; add the folder of pistonfield.%s', mexext());
end
