% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of two foci, as a user runs it.

1;

function expect_foci(output)
  expect_close(printed_numbers(output, '^at the foci: (\S+) MPa and (\S+) MPa$'), [1 -0.5], 1.5e-3);
end

% The mean square of the weights cannot be less than without iterations, which have the least norm.
function expect_drive(output)
  printed = printed_numbers(output, ['^largest \|weight\| (\S+), efficiency (\S+); ', ...
                                     'without iterations (\S+) and (\S+)$']);
  expect(printed(1) < printed(3), 'iterations do not lower the largest weight');
  expect(printed(2) > 0.98 && printed(2) <= 1 && printed(4) < printed(2), 'the drive is not even');
  norms = printed([2 4]) .* printed([1 3]) .^ 2;
  expect(norms(1) >= norms(2) * (1 - 0.02), 'less than the least norm');
end

[output, folder] = run_example('example11_two_foci');
it('both foci have the pressure that is demanded', @() expect_foci(output));
it('the elements are driven evenly', @() expect_drive(output));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'two_foci.png'), 1500, 470, 30e3));

finish();
