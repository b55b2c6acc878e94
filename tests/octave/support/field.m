% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% field(...): the module's result for these arguments, its console lines kept from the log.
function p = field(varargin)
  [~, p] = evalc('pistonfield(varargin{:})');
end
