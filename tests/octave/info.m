% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The build information.

1;

function expect_four_lines()
  printed = evalc('pistonfield(''info'')');
  date = '(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [ 123]\d \d{4} \d\d:\d\d:\d\d';
  revision = '([0-9a-f]{12}|unknown)';
  day = '(\d{4}/\d\d/\d\d|unknown)';
  time = '(\d\d:\d\d:\d\d|unknown)';
  stamp = [day, ' ', time];
  pattern = ['^Compiled on ', date, '\n', ...
             'mercurial id:       \$Id: version\.h,v ', revision, ' ', stamp, ' \S+ \$\n', ...
             'mercurial datae:    \$Date: ', stamp, ' \$\n', ...
             'mercurial revision: \$Revision: ', revision, ' \$\n$'];
  expect(~isempty(regexp(printed, pattern, 'once')), 'printed "%s"', printed);
end

function expect_no_output_array()
  ans = 'untouched';
  printed = evalc('pistonfield info');
  expect_same(ans, 'untouched');
end

% Any other lone text is a request with one argument; asked for without an output, as "info" is.
function expect_no_information(argument)
  raised = '';
  try
    evalc('pistonfield(argument)');
  catch failure
    raised = failure.message;
  end
  expect(strncmp(raised, 'pistonfield: Must have five or six input arguments', 50), ...
         'raised "%s"', raised);
end

it('info prints four lines on the console', @expect_four_lines);
it('info gives no output', @expect_no_output_array);
it('INFO is not info', @() expect_no_information('INFO'));
it('info with a blank after it is not info', @() expect_no_information('info '));
it('the beginning of info is not info', @() expect_no_information('inf'));
it('an empty text is not info', @() expect_no_information(''));
it('info in a cell is not info', @() expect_no_information({'info'}));

finish();
