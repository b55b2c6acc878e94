% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of the half sphere, as a user runs it.

1;

% The far field's intensity is what goes through to about the square of a side over the radius.
function expect_power(output)
  printed = printed_numbers(output, ...
                            '^11011 points: through the half sphere go (\S+) W of the (\S+) W');
  expect_close(printed, [1 1], 5e-3);
end

% Of a piston of 6 by 4 mm at 1 MHz in water that radiates 1 W.
function expect_top(output)
  printed = printed_numbers(output, '^on the axis: (\S+) kPa, in the far field (\S+) kPa$');
  k = 2 * pi * 1e6 / 1482;
  [~, info] = pistonfield_pressure(struct('width', 6e-3, 'height', 4e-3), ...
                                   pistonfield_grid(0, 0, 0.2), 'frequency', 1e6, 'power', 1);
  plane_wave = 998 * 1482 * info.velocity / 1e3;
  expect_close(printed(1), plane_wave * abs(surface_integral(0, 0, 0.2, 4e-3, 6e-3, k)), 1.5e-3);
  expect_close(printed(2), plane_wave * k * 24e-6 / (2 * pi * 0.2), 1e-3);
end

[output, folder] = run_example('example9_half_sphere');
it('what goes through the half sphere is what is radiated', @() expect_power(output));
it('on the axis the pressure is the surface integral', @() expect_top(output));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'half_sphere.png'), 1200, 460, 30e3));

finish();
