% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The first example, as a user runs it.

1;

function name = project()
  name = fileparts(fileparts(fileparts(mfilename('fullpath'))));
end

% The parts of what the example printed, and the picture that it wrote.
function [output, picture] = run_example()
  pictureFile = fullfile(project(), 'build', 'demo', 'field.png');
  if exist(pictureFile, 'file')
    unlink(pictureFile);
  end
  code = sprintf('run(''%s'')', fullfile(project(), 'examples', 'first_field.m'));
  [status, output, errors] = run_octave(code);
  expect_same({status, errors}, {0, ''});
  file = fopen(pictureFile);
  expect(file >= 0, 'there is no %s', pictureFile);
  picture = fread(file, Inf, 'uint8=>uint8')';
  fclose(file);
end

function value = big_endian(bytes)
  value = sum(double(bytes) .* 256 .^ (3:-1:0));
end

% The eight bytes every PNG begins with, then the size of the header, its name, width and height.
function expect_picture(picture)
  expect_same(picture(1:8), uint8([137, 80, 78, 71, 13, 10, 26, 10]));
  expect_same([big_endian(picture(17:20)), big_endian(picture(21:24))], [1400, 450]);
  expect(numel(picture) > 30e3, 'a picture of %d bytes shows no field', numel(picture));
end

% The printed place has a tenth of a millimetre, as the grid has.
function expect_largest_pressure(output)
  pattern = 'largest \|p\|: (\S+) at x = (\S+) mm, y = 0, z = (\S+) mm';
  printed = regexp(output, pattern, 'tokens', 'once');
  numbers = str2double(printed);
  k = 2 * pi * 1e6 / 1500;
  p = surface_integral(numbers(2) * 1e-3, 0, numbers(3) * 1e-3, 5e-3, 7.5e-3, k);
  expect_close(numbers(1), abs(p), 0.5e-4);
end

function expect_line(output, pattern)
  expect(~isempty(regexp(output, pattern, 'once', 'lineanchors')), 'printed "%s"', output);
end

[output, picture] = run_example();
it('the example writes a picture of the field', @() expect_picture(picture));
it('the example prints its grid', @() ...
   expect_line(output, '^grid: 301 x 1 x 1196 = 359996 points$'));
it('the example prints the time per point', @() ...
   expect_line(output, '^time: \d+\.\d\d s, \d+\.\d\d us per point$'));
it('the example prints the largest pressure and its place', @() expect_largest_pressure(output));

finish();
