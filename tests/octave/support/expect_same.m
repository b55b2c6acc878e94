% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% expect_same(actual, wanted): equal in class, shape and every value.
function expect_same(actual, wanted)
  expect(strcmp(class(actual), class(wanted)), 'class %s, not %s', class(actual), class(wanted));
  expect(isequaln(actual, wanted), 'got %s, not %s', disp(actual), disp(wanted));
end
