% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% expect_refusal(message, ...): a call with these arguments and one output raises exactly this
% error, and the next valid call computes the same as ever.
function expect_refusal(message, varargin)
  persistent good
  if isempty(good)
    good = field(good_request(){:});
  end
  raised = '';
  try
    field(varargin{:});
  catch failure
    raised = failure.message;
  end
  expect(strcmp(raised, message), 'raised "%s", not "%s"', raised, message);
  expect_same(field(good_request(){:}), good);
end
