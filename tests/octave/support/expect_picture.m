% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% expect_picture(name, width, height, least): a PNG of so many pixels, but for one that is lost on the
% way through inches, and of at least so many bytes, as one without anything drawn has fewer.
function expect_picture(name, width, height, least)
  file = fopen(name);
  expect(file >= 0, 'there is no %s', name);
  picture = fread(file, Inf, 'uint8=>uint8')';
  fclose(file);
  % The eight bytes every PNG begins with, then the size of the header, its name, width and height.
  expect_same(picture(1:8), uint8([137, 80, 78, 71, 13, 10, 26, 10]));
  expect_close([big_endian(picture(17:20)), big_endian(picture(21:24))], [width, height], 1);
  expect(numel(picture) >= least, 'a picture of %d bytes shows nothing', numel(picture));
end

function value = big_endian(bytes)
  value = sum(double(bytes) .* 256 .^ (3:-1:0));
end
