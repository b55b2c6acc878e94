% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% Ends a script of cases, with an error when one of them failed.
function finish()
  global failed_cases
  if ~isempty(failed_cases)
    error('%d failed: %s', numel(failed_cases), strjoin(failed_cases, '; '));
  end
end
