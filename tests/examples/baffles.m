% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of three baffles, as a user runs it.

1;

% A disc's directivity, times 1, the cosine and the mean of both.
function expect_directivity(output)
  printed = printed_numbers(output, '^at 60 degrees: (\S+), soft (\S+), free (\S+) of the axis$');
  argument = 2 * pi * sind(60);
  rigid = 2 * abs(besselj(1, argument)) / argument;
  expect_close(printed, rigid * [1, 0.5, 0.75], 1e-3);
end

[output, folder] = run_example('example15_baffles');
it('each baffle has its directivity', @() expect_directivity(output));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'baffles.png'), 1500, 420, 30e3));

finish();
