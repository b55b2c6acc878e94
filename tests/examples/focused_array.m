% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of the focused array, as a user runs it.

1;

function expect_focus(output)
  at = printed_numbers(output, 'at x = (\S+) mm, y = (\S+) mm$');
  expect_close(at(2, :), [5 0], 0.25);  % a step of the grid
end

% The surface integrals of all elements, in phase at the focus.
function expect_pressure(output)
  printed = printed_numbers(output, '\|p\| is largest, (\S+) MPa');
  k = 2 * pi * 1.5e6 / 1500;
  [x, y] = ndgrid(((1:16) - 8.5) * 1.2e-3);
  away = sqrt((5e-3 - x) .^ 2 + y .^ 2 + 30e-3 ^ 2);
  p = surface_integral(5e-3 - x, -y, 30e-3 * ones(16), 1e-3, 1e-3, k);
  wanted = 998 * 1500 * 0.1 * abs(sum(sum(p .* exp(1i * k * away)))) / 1e6;
  expect_close(printed, wanted, 0.6e-3);
end

[output, folder] = run_example('example7_focused_array');
it('the field is largest at the focus', @() expect_focus(output));
it('the pressure there is that of all elements in phase', @() expect_pressure(output));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'focused_array.png'), 1300, 430, 30e3));

finish();
