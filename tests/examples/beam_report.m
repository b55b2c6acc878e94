% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of a beam's report, as a user runs it.

1;

% The elements' surface integrals at a place, by a Gauss rule along each side.
function own = at_place(place)
  k = 2 * pi * 2e6 / 1482;
  [along_x, weights_x] = gauss_rule(8);
  [along_y, weights_y] = gauss_rule(40);
  [u, v] = ndgrid(along_x(:) * 0.2e-3, along_y(:) * 4e-3);
  parts = weights_x(:) * weights_y(:).' * 0.2e-3 * 4e-3;
  own = zeros(1, 48);
  for i = 1:48
    r = sqrt((place(1) - (i - 24.5) * 0.5e-3 - u) .^ 2 + (place(2) - v) .^ 2 + place(3) ^ 2);
    own(i) = k / (2 * pi) * sum(sum(parts .* exp(-1i * k * r) ./ r));
  end
end

% Their sum with the phases that they have in the focus.
function p = pressure(place, own)
  p = abs(sum(at_place(place) .* conj(own) ./ abs(own))) * 998 * 1482 * 0.1;
end

function expect_peak(output)
  printed = printed_numbers(output, '^Peak pressure +(\S+) kPa$') * 1e3;
  place = printed_numbers(output, ...
                          '^Peak pressure [^\n]*\n  at +\((\S+), (\S+), (\S+)\) mm$') * 1e-3;
  own = at_place([8 0 35] * 1e-3);
  expect_close(pressure(place, own), printed, 1e-3 * printed);
  for way = [1 -1 0 0; 0 0 0 0; 0 0 1 -1] * 0.3e-3
    expect(pressure(place + way.', own) < printed, 'it is larger beside the peak');
  end
end

function expect_index(output)
  derated = printed_numbers(output, '^Derated peak pressure +(\S+) kPa$') * 1e-3;
  index = printed_numbers(output, '^Mechanical index +(\S+)$');
  expect_close(index, derated / sqrt(2), 1e-3);
end

[output, folder] = run_example('example13_beam_report');
it('the peak has the pressure of all elements together', @() expect_peak(output));
it('the mechanical index is that of the derated pressure', @() expect_index(output));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'beam_report.png'), 700, 321, 30e3));

finish();
