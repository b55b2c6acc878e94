% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of a bowl's focal volume, as a user runs it.

1;

% In its focus the elements, which point there, are as far as the radius: in phase they add up.
function expect_pressure(output)
  printed = printed_numbers(output, ['^focus at x = (\S+) mm, z = (\S+) mm: largest (\S+) MPa at ', ...
                                     'x = (\S+) mm, z = (\S+) mm, (\S+) mm\^3 within 6 dB$']);
  expect_close(printed(:, 1:2), [0 100; 8 95], 0);
  expect_close(printed(:, 4:5), [0 100; 8 95], 1.6);  % two steps along the axis
  own = abs(surface_integral(0, 0, 100e-3, 3.5e-3, 3.5e-3, 2 * pi * 1e6 / 1482));
  in_phase = 998 * 1482 * 0.02 * 256 * own / 1e6;
  expect(printed(1, 3) >= in_phase - 0.01 && printed(1, 3) < 1.02 * in_phase, ...
         'the largest |p| is %.2f MPa, in the focus %.2f MPa', printed(1, 3), in_phase);
end

% About those of a full bowl of this aperture: an ellipsoid whose axes are the widths of its beam at half
% of the pressure.
function expect_volume(output)
  printed = printed_numbers(output, ', (\S+) mm\^3 within 6 dB$');
  k = 2 * pi * 1e6 / 1482;
  half_angle = asin(0.5);
  airy = @(r) 2 * besselj(1, k * r * sin(half_angle)) ./ (k * r * sin(half_angle)) - 0.5;
  along = @(z) abs(sinc(k * z * (1 - cos(half_angle)) / (2 * pi))) - 0.5;
  axes_ = [fzero(airy, [1e-5 3e-3]), fzero(along, [1e-4 30e-3])] * 1e3;
  ellipsoid = 4 / 3 * pi * axes_(1) ^ 2 * axes_(2);
  expect(all(abs(printed - ellipsoid) < 0.2 * ellipsoid), 'the volumes are %s, not about %.1f mm^3', ...
         mat2str(printed(:).'), ellipsoid);
end

[output, folder] = run_example('example12_focal_volume');
it('the field is largest at the focus, with all elements in phase', @() expect_pressure(output));
it('the focal volume is that of the aperture', @() expect_volume(output));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'focal_volume.png'), 1200, 354, 10e3));

finish();
