% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The module for NVIDIA GPUs on a machine without a usable one: every call ends with the runtime's
% own text, which PISTONFIELD_DRIVER_REPORT names where the driver library is a substitute. Skipped
% where there is a GPU.

1;

function report = report_of(request)
  report = '';
  try
    request();
  catch problem
    report = problem.message;
  end
end

function expect_bring_up_failure(request)
  pattern = ['^pistonfield: ERROR: assertion failure in core/cuda_init at line 16\n', ...
             '       condition failed: \((', possible_texts(), ')\)\.\n\n?$'];
  report = report_of(request);
  expect(~isempty(regexp(report, pattern, 'once')), 'the report is "%s"', report);
end

function texts = possible_texts()
  texts = regexptranslate('escape', getenv('PISTONFIELD_DRIVER_REPORT'));
  if isempty(texts)
    texts = ['CUDA driver version is insufficient for CUDA runtime version|', ...
             'no CUDA-capable device is detected|CUDA driver is a stub library'];
  end
end

function expect_failure_after_reload()
  for i = 1:10
    clear pistonfield
    expect_bring_up_failure(@() pistonfield('info'));
  end
end

function count = entries_of(folder)
  count = numel(readdir(folder));
end

% Threads, open files and pages of a process in which 20 calls failed, and 200 more.
function expect_nothing_kept()
  for calls = [20, 200]
    for i = 1:calls
      report_of(@() pistonfield('info'));
    end
    found = [entries_of('/proc/self/task'), entries_of('/proc/self/fd')];
    pages = sscanf(fileread('/proc/self/statm'), '%d');
    if calls == 20
      before = found;
      pagesBefore = pages(2);
    end
  end
  expect_same(found, before);
  expect(pages(2) - pagesBefore < 64, 'grown by %d pages', pages(2) - pagesBefore);
end

function expect_label()
  [~, ~, errors] = run_octave('try, pistonfield(''info''); end');
  expect(~isempty(strfind(errors, 'Cuda error: post cuda_init() in file ''core/cuda_init''')), ...
         'standard error has "%s"', errors);
end

if isempty(getenv('PISTONFIELD_DRIVER_REPORT')) && isempty(report_of(@() pistonfield('info')))
  exit(77);
end

it('info reports the failed bring-up', @() expect_bring_up_failure(@() pistonfield('info')));
for mode = {'cuda', 'cudadp', 'cpu', 'cpusp', 'cpudp'}
  it(['so does mode ', mode{1}], @() expect_bring_up_failure( ...
     @() pistonfield(eye(4), [1, 1, 1], 1, 1, 1, mode{1})));
end
it('arguments are not looked at before', @() expect_bring_up_failure(@() pistonfield()));
it('the failed launch is shown on standard error', @() expect_label());
it('a module loaded again reports the same', @expect_failure_after_reload);
it('failed calls keep no threads, no open files and no memory', @expect_nothing_kept);
it('Octave still computes', @() expect_same([2, 0; 0, 4] \ [2; 4], [1; 1]));

finish();
