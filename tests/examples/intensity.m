% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of the active intensity, as a user runs it.

1;

% What a disc radiates, by its radiation resistance.
function expect_power(output)
  printed = printed_numbers(output, ['^through the plane +1.5 mm before the disc flow (\S+) W$.*', ...
                                     '^through the plane +7.4 mm before the disc flow (\S+) W$.*', ...
                                     '^the disc radiates (\S+) W$']);
  ka = 5 * pi;
  wanted = 998 * 1482 * pi * (2.5 * 1.482e-3) ^ 2 * (1 - besselj(1, 2 * ka) / ka) * 0.1 ^ 2 / 2;
  expect_close(printed, wanted * [1 1 1], 2e-3);
end

[output, folder] = run_example('example16_intensity');
it('what flows through planes is what the disc radiates', @() expect_power(output));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'intensity.png'), 1000, 640, 30e3));

finish();
