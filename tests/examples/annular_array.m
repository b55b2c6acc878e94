% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of an annular array, as a user runs it.

1;

% On the axis each ring has the wave of its outer rim less that of its inner one; in phase they add up.
function expect_foci(output)
  printed = printed_numbers(output, ['^at the focus 30 mm deep: (\S+) MPa$.*', ...
                                     '^at the focus 60 mm deep: (\S+) MPa$']);
  [inner, outer] = rings_of_equal_areas(8, 10e-3, 0.1e-3);
  k = 2 * pi * 2e6 / 1482;
  for i = 1:2
    z = 30e-3 * i;
    own = exp(-1i * k * hypot(z, inner)) - exp(-1i * k * hypot(z, outer));
    expect_close(printed(i), 998 * 1482 * 0.1 * sum(abs(own)) / 1e6, 1e-3);
  end
end

function [inner, outer] = rings_of_equal_areas(count, radius, kerf)
  outer = zeros(1, count);
  inner = zeros(1, count);
  last = @(square) ends_of(square, count, kerf);
  square = fzero(@(square) last(square) - radius, [1e-9, radius ^ 2 / count * 1.001], ...
                 optimset('TolX', 1e-16));
  for i = 1:count
    if i > 1
      inner(i) = outer(i - 1) + kerf;
    end
    outer(i) = sqrt(inner(i) ^ 2 + square);
  end
end

function outer = ends_of(square, count, kerf)
  outer = sqrt(square);
  for i = 2:count
    outer = sqrt((outer + kerf) ^ 2 + square);
  end
end

[output, folder] = run_example('example17_annular_array');
it('the waves of all rings arrive in phase', @() expect_foci(output));
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'annular_array.png'), 1400, 430, 30e3));

finish();
