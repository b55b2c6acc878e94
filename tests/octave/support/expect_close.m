% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% expect_close(actual, wanted, tolerance): of one shape, and nowhere further apart than this.
function expect_close(actual, wanted, tolerance)
  expect(isequal(size(actual), size(wanted)), 'size %s, not %s', mat2str(size(actual)), ...
         mat2str(size(wanted)));
  distance = max(abs(actual(:) - wanted(:)));
  expect(distance <= tolerance, 'off by %g, allowed %g', distance, tolerance);
end
