% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% expect(condition, template, ...): the case fails with this text unless the condition holds.
function expect(condition, varargin)
  if ~condition
    error(varargin{:});
  end
end
