% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example that writes a volume, as a user runs it, and its files read by another program.

1;

% Four points, with the surface integral there.
function expect_values(folder)
  reader = fullfile(fileparts(mfilename('fullpath')), 'read_volume.py');
  command = sprintf('/usr/bin/python3 "%s" "%s" 0 0 0  64 0 118  40 20 7  32 24 118', reader, ...
                    fullfile(folder, 'volume.xdmf'));
  [status, output] = system(command);
  if status == 77
    printf('        not read: %s', output);
    return
  end
  expect_same(status, 0);
  rows = str2num(output);
  k = 2 * pi * 1e6 / 1500;
  expect_close(rows([1 2 4], 1:3), [-8 -6 0.5; 8 -6 30; 0 0 30] * 1e-3, 1e-9);
  for row = rows'
    wanted = 150e3 * 1i * surface_integral(row(1), row(2), row(3), 5e-3, 7.5e-3, k);
    % The example keeps a tolerance of 1e-4 of the largest pressure, 258 kPa.
    expect_close(row(4) * exp(1i * row(5) * pi / 180), wanted, 26);
  end
end

[output, folder] = run_example('example8_volume_for_a_viewer');
it('another program reads the values where they belong', @() expect_values(folder));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'volume.png'), 1200, 378, 20e3));

finish();
