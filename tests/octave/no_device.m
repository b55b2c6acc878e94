% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The module for NVIDIA GPUs on a machine without a usable one: every call ends with the runtime's
% own text. Skipped where there is a GPU.

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
             '       condition failed: \((CUDA driver version is insufficient for CUDA runtime ', ...
             'version|no CUDA-capable device is detected|CUDA driver is a stub library)\)\.\n\n?$'];
  report = report_of(request);
  expect(~isempty(regexp(report, pattern, 'once')), 'the report is "%s"', report);
end

function expect_label()
  [~, ~, errors] = run_octave('try, pistonfield(''info''); end');
  expect(~isempty(strfind(errors, 'Cuda error: post cuda_init() in file ''core/cuda_init''')), ...
         'standard error has "%s"', errors);
end

if isempty(report_of(@() pistonfield('info')))
  exit(77);
end

it('info reports the failed bring-up', @() expect_bring_up_failure(@() pistonfield('info')));
for mode = {'cuda', 'cudadp', 'cpu', 'cpusp', 'cpudp'}
  it(['so does mode ', mode{1}], @() expect_bring_up_failure( ...
     @() pistonfield(eye(4), [1, 1, 1], 1, 1, 1, mode{1})));
end
it('arguments are not looked at before', @() expect_bring_up_failure(@() pistonfield()));
it('the failed launch is shown on standard error', @() expect_label());

finish();
