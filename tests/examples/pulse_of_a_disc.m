% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of a pulse, as a user runs it.

1;

function expect_errors(output)
  plane = printed_numbers(output, 'the estimated error is (\S+)$');
  expect(plane(1) < 3e-2, 'the estimated error in the plane is %.2g', plane(1));
  axial = printed_numbers(output, 'it is off by (\S+) of its largest value, the estimate is (\S+)$');
  expect(axial(1) <= axial(2) && axial(2) < 1e-3, 'off by %.2g, estimated %.2g', axial);
end

[output, folder] = run_example('example18_pulse_of_a_disc');
it('the pulse on the axis is the plane wave and the rim''s', @() expect_errors(output));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'pulse_of_a_disc.png'), 1200, 460, 10e3));

finish();
