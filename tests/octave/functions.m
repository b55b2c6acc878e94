% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The functions around the module: each file in inst/ holds its own tests.

1;

function names = function_names()
  project = fileparts(fileparts(fileparts(mfilename('fullpath'))));
  files = dir(fullfile(project, 'inst', '*.m'));
  [~, names] = cellfun(@fileparts, {files.name}, 'UniformOutput', false);
end

% What failed goes to a log, apart from the lines of the module.
function pass_own_tests(name)
  log = tempname();
  [passed, total] = test(name, 'quiet', log);
  report = fileread(log);
  unlink(log);
  expect(total > 0, 'there are no tests');
  expect(passed == total, '%d of %d tests failed\n%s', total - passed, total, report);
  printf('        %d tests\n', total);
end

for name = function_names()
  it(sprintf('%s passes its own tests', name{1}), @() pass_own_tests(name{1}));
end

finish();
