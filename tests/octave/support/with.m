% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% with(position, value): the arguments of a valid call, the one at this position replaced.
function request = with(position, value)
  request = good_request();
  request{position} = value;
end
