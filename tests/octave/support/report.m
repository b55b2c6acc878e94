% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% report(format, ...): a line on standard error, as the module writes on standard output.
function report(varargin)
  fprintf(stderr(), '%s\n', sprintf(varargin{:}));
end
