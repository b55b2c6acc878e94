% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of a cap, as a user runs it.

1;

function expect_closed_form(output)
  estimate = printed_numbers(output, 'the estimated error is at most (\S+)$');
  off = printed_numbers(output, 'it is off by (\S+) of the focus$');
  expect(off(1) < 0.1, 'on the axis it is off by %g', off(1));
  expect(estimate(1) < 0.3, 'the estimate is %g', estimate(1));
end

[output, folder] = run_example('example20_focusing_cap');
it('the field on the axis is the closed form', @() expect_closed_form(output));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'focusing_cap.png'), 1200, 460, 10e3));

finish();
