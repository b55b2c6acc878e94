% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function require(condition, caller, reason, varargin)
  % require(condition, caller, reason, template, ...): an error with the identifier
  % pistonfield:<caller>:<reason> and the text of the template, unless the condition holds.
  if ~condition
    error(['pistonfield:', caller, ':', reason], '%s: %s', caller, sprintf(varargin{:}));
  end
end
