% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of the steered array, as a user runs it.

1;

% Across its direction the main lobe is some 5 degrees wide: 0.886 wavelengths / (16 * 0.75
% wavelengths * cos(20 degrees)), so that a tenth of it tells the direction.
function expect_direction(output)
  angle_ = printed_numbers(output, '^the field is strongest at (\S+) degrees');
  expect_close(angle_, 20, 0.45);
end

[output, folder] = run_example('example6_steered_line_array');
it('the array radiates where it is steered to', @() expect_direction(output));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'steered_line_array.png'), 700, 518, 30e3));

finish();
