% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% What Octave's process has in common with the module is left as it was, whatever the module does.
% `process_state` gives it as a text.

1;

function expect_left(work)
  before = strsplit(process_state(), "\n");
  work();
  after = strsplit(process_state(), "\n");
  changed = strjoin([setdiff(before, after), {'|'}, setdiff(after, before)], '; ');
  expect_same(changed, '|');
end

function call_in_all_modes()
  for mode = {'cpu', 'cpusp', 'cpudp', 'cuda', 'cudadp'}
    field(with(6, mode{1}){:});
  end
end

function refuse(request)
  try
    field(request{:});
  catch
    return;
  end
  error('a call that should be refused was answered');
end

function refuse_many_kinds()
  refuse({});
  refuse(with(1, 'text'));
  refuse(with(2, [0, 1, 1]));
  refuse(with(2, [1e9, 1e9, 1e9]));
  refuse(with(6, 'none'));
  refuse(with(7, []));
  request = with(6, 'cuda');
  request{7} = 513;
  refuse(request);
end

function load_and_unload()
  for i = 1:5
    clear pistonfield
    call_in_all_modes();
    refuse_many_kinds();
    clear pistonfield
  end
end

% Streams get their buffers when they are first used.
puts("the state of the process:\n");
process_state();
clear pistonfield
it('loading the module leaves the process', @() expect_left(@() field(good_request(){:})));
it('unloading the module leaves the process', @() expect_left(@() clear('pistonfield')));
it('calls in all modes leave the process', @() expect_left(@call_in_all_modes));
it('refused calls leave the process', @() expect_left(@refuse_many_kinds));
it('five times of it all leave the process', @() expect_left(@load_and_unload));

finish();
