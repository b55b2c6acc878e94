% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% What a call prints, and where: lines about the request on the console, marks on standard output.

1;

function expect_console(mode, lines)
  request = {eye(4), [1, 1, 2], 5e-3, 7.5e-3, 1234.5678901, mode, 4};
  printed = evalc('p = pistonfield(request{:});');
  expect_same(printed, sprintf(['l=0.005000, s=0.007500, k=1234.567890\n', lines]));
end

% The child keeps its console lines to itself, so that only the marks are left.
function expect_marks(rule, wanted)
  call = sprintf('pistonfield(eye(4), [1 1 2], 1, 1, 1, char([99 112 117]), %s)', rule);
  code = sprintf('[t, p] = evalc(''%s'');', call);
  [status, output, errors] = run_octave(code);
  expect_same({status, output, errors}, {0, sprintf(wanted), ''});
end

function expect_all_on_standard_output()
  [status, output, errors] = run_octave('p = pistonfield(eye(4), [1 1 2], 1, 2, 3, ''cpu'');');
  wanted = {'5', 'double precision', 'l=1.000000, s=2.000000, k=3.000000'};
  expect_same(sort(strsplit(strtrim(output), "\n")), wanted);
  expect_same({status, errors}, {0, ''});
end

function expect_silent_refusal()
  code = 'try, p = pistonfield(); catch e, end';
  [status, output, errors] = run_octave(code);
  expect_same({status, output, errors}, {0, '', ''});
end

it('cpu announces double precision on the console', @() ...
   expect_console('cpu', 'double precision\n'));
it('cpudp announces double precision on the console', @() ...
   expect_console('cpudp', 'double precision\n'));
it('cpusp announces single precision on the console', @() ...
   expect_console('cpusp', 'double precision forced to single precision\n'));
it('a CPU call marks its path on standard output', @() expect_marks('8', '5\n'));
it('a table is announced on standard output', @() ...
   expect_marks('ones(5, 2)', 'using 5 abscissas.\n5\n'));
it('console and standard output are one in a terminal', @expect_all_on_standard_output);
it('a refused call writes nothing of its own', @expect_silent_refusal);

finish();
