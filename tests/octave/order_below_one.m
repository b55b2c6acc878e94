% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% A rule of no abscissas on the CPU ends the process.

1;

function expect_end_of_process(order)
  code = sprintf('p = pistonfield(eye(4), [1 1 1], 1, 1, 1, ''cpu'', %s); disp(''went on'')', ...
                 order);
  [status, output] = run_octave(code);
  expect_same(status, 1);
  fatal = sprintf('5\n\nLEGENDRE_COMPUTE - Fatal error!\n  Illegal value of ORDER = 0\n');
  expect(any(strfind(output, fatal)), 'wrote "%s"', output);
  expect(~any(strfind(output, 'went on')), 'the process went on');
end

for order = {'0', '0.9', '-0.9', 'NaN'}
  it(sprintf('an order of %s ends the process with exit status 1', order{1}), @() ...
     expect_end_of_process(order{1}));
end

finish();
