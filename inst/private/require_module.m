% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function require_module(caller)
  % require_module(caller): refuses to go on without the functions' module on the path.
  isMexFile = 3;
  require(exist('pistonfield_internal') == isMexFile, caller, 'module', ... %#ok<EXIST>
          ['the module pistonfield_internal is not on the path; add the folder of ', ...
           'pistonfield_internal.%s'], mexext());
end
