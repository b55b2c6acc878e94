% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of the near and the far field, as a user runs it: a square of 10 mm at 1.5 MHz.

1;

function p = on_axis(z)
  p = 150e3 * abs(surface_integral(0, 0, z, 10e-3, 10e-3, 2 * pi * 1e3));
end

% Printed with six decimals of a kPa: computed, by the single integral, and in the far field.
function expect_table(output)
  rows = printed_numbers(output, '^ *(\S+) R +(\S+) +(\S+) +\S+ +(\S+) +\S+ %$');
  expect_same(rows(:, 1)', [0.1 0.2 0.5 1 2 5 20]);
  wanted = arrayfun(@(ratio) on_axis(ratio * 0.1), rows(:, 1)) / 1e3;
  expect_close(rows(:, 2), wanted, 2e-6);
  expect_close(rows(:, 3), wanted, 2e-6);
  expect_close(rows(:, 4), 150 ./ rows(:, 1), 1e-3);
end

% The pressure falls on both sides of the printed place, and beyond.
function expect_last_maximum(output)
  last = printed_numbers(output, '^last maximum on the axis: z = (\S+) mm') * 1e-3;
  top = on_axis(last);
  for away = [-0.02 0.02 0.1 0.5 1 5]
    expect(on_axis(last * (1 + away)) < top, 'no maximum at %g m', last);
  end
end

function expect_sinc(output)
  off = printed_numbers(output, 'sinc at 20 R: (\S+) of the peak$');
  expect(off < 1e-2, 'off the far field by %g', off);
end

[output, folder] = run_example('example3_near_and_far_field');
it('the pressures on the axis are the surface integral', @() expect_table(output));
it('the last maximum on the axis is one', @() expect_last_maximum(output));
it('far away the beam is a sinc', @() expect_sinc(output));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'near_and_far_field.png'), 1200, 460, 15e3));

finish();
