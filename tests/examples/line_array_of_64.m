% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example of the line array of 64 elements, as a user runs it.

1;

% What the elements add up to at the focus, each driven in phase with its own surface integral there.
function expect_focus(output)
  printed = printed_numbers(output, '^largest \|p\| of the two beams: (\S+) MPa and (\S+) MPa$');
  k = 2 * pi * 2.5e6 / 1482;
  x = -6e-3 - ((1:64) - 32.5) * 0.3e-3;
  own = surface_integral(x, zeros(1, 64), 20e-3 * ones(1, 64), 10e-3, 0.27e-3, k);
  at_focus = 998 * 1482 * sum(abs(own)) / 1e6;
  expect(printed(1) >= at_focus - 0.005 && printed(1) < 1.1 * at_focus, ...
         'the focused beam has %.2f MPa, at the focus %.2f MPa', printed(1), at_focus);
  expect(printed(2) < printed(1) / 2, 'the steered beam has %.2f MPa', printed(2));
end

function expect_ten_lines()
  project = fileparts(fileparts(fileparts(mfilename('fullpath'))));
  lines = strtrim(strsplit(fileread(fullfile(project, 'examples', ...
                                             'example10_line_array_of_64.m')), "\n"));
  code = lines(~cellfun(@(line) isempty(line) || line(1) == '%', lines));
  expect(numel(code) <= 10, 'it has %d lines', numel(code));
end

[output, folder] = run_example('example10_line_array_of_64');
it('the focused beam has the pressure of all elements in phase', @() expect_focus(output));
it('it takes ten lines', @() expect_ten_lines());
it('the example writes a picture', @() ...
   expect_picture(fullfile(folder, 'line_array_of_64.png'), 685, 600, 30e3));

finish();
