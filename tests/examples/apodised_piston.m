% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of an apodised piston, as a user runs it.

1;

function expect_lobes(output)
  printed = printed_numbers(output, ': (\S+) dB, as a whole (\S+) dB$');
  expect(printed(1) < printed(2) - 5, 'lobes are %g dB, as a whole %g dB', printed);
end

[output, folder] = run_example('example19_apodised_piston');
it('its lobes are lower than those of a piston that moves as a whole', @() expect_lobes(output));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'apodised_piston.png'), 1200, 460, 10e3));

finish();
