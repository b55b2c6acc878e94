% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of a medium with losses, as a user runs it.

1;

% The phase speed of losses that grow with the frequency itself.
function expect_speed(output)
  printed = printed_numbers(output, '^phase speed (\S+) m/s, 1540 m/s at 1 MHz$');
  a = 0.5 * 100 * log(10) / 20 / (2 * pi * 1e6);
  expect_close(printed, 1 / (1 / 1540 - 2 / pi * a * log(3)), 0.005);
end

% Face and rim are a wave each on a disc's axis.
function expect_loss(output)
  printed = printed_numbers(output, ['^on the axis at (\S+) mm: (\S+) dB less, ', ...
                                     '(\S+) dB are 0.5 dB/\(cm MHz\)$']);
  z = 1e-3 + 0.3e-3 * 330;
  rim = hypot(z, 6e-3);
  p = @(k) abs((exp(-1i * k * z) - exp(-1i * k * rim)) / k);
  a = 0.5 * 100 * log(10) / 20 * 3;
  k = 2 * pi * 3e6 / 1540;
  slow = k - 2 / pi * a * log(3);
  expect_close(printed(2), -20 * log10(p(slow - 1i * a) / p(k)), 0.005 + 1e-3);
  expect_close(printed(3), 15, 0.005);
end

[output, folder] = run_example('example14_losses');
it('the phase speed is that of causality', @() expect_speed(output));
it('the losses are those of both waves on the axis', @() expect_loss(output));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'losses.png'), 1300, 480, 30e3));

finish();
