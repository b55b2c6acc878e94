% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The first example, as a user runs it.

1;

% The printed place has a tenth of a millimetre, as the grid has, and the pressure three decimals.
function expect_largest_pressure(output)
  numbers = printed_numbers(output, ...
                            '^largest \|p\|: (\S+) kPa at x = (\S+) mm, y = 0, z = (\S+) mm$');
  k = 2 * pi * 1e6 / 1500;
  p = surface_integral(numbers(2) * 1e-3, 0, numbers(3) * 1e-3, 5e-3, 7.5e-3, k);
  expect_close(numbers(1) * 1e3, abs(p) * 1000 * 1500 * 0.1, 0.51);
end

function expect_line(output, pattern)
  expect(~isempty(regexp(output, pattern, 'once', 'lineanchors')), 'printed "%s"', output);
end

[output, folder] = run_example('example1_first_field');
it('the example writes a picture of the field', @() ...
   expect_picture(fullfile(folder, 'first_field.png'), 1400, 420, 30e3));
it('the example prints its grid', @() ...
   expect_line(output, '^grid: 301 x 1 x 1196 = 359996 points$'));
it('the example prints the time per point', @() ...
   expect_line(output, '^time: \d+\.\d\d s, \d+\.\d\d us per point$'));
it('the example prints the largest pressure and its place', @() expect_largest_pressure(output));

finish();
