% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of the tilted plane, as a user runs it.

1;

function expect_middle(output)
  printed = printed_numbers(output, '\|p\| = (\S+) kPa, on the axis itself (\S+) kPa$');
  k = 2 * pi * 1e6 / 1482;
  wanted = 998 * 1482 * 0.1 * abs(surface_integral(0, 0, 25e-3, 8e-3, 12e-3, k)) / 1e3;
  expect_close(printed, wanted * [1 1], 1.5e-3);
end

[output, folder] = run_example('example5_tilted_plane');
it('where the plane crosses the axis the pressure is the surface integral', @() ...
   expect_middle(output));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'tilted_plane.png'), 1300, 450, 30e3));

finish();
