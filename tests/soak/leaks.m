% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The growth of resident memory over many calls in one process: LEAKS_CALLS answered ones, as many
% refused ones, and LEAKS_RELOADS times the module cleared and loaded again.

1;

function number = number_in(variable)
  number = str2double(getenv(variable));
end

% In KiB. Unlike the counts in statm these are exact.
function kib = resident_memory()
  rollup = fileread('/proc/self/smaps_rollup');
  kib = str2double(regexp(rollup, 'Rss: +(\d+) kB', 'tokens', 'once'){1});
end

function answer(i)
  persistent requests
  if isempty(requests)
    modes = {'cpu', 'cpusp', 'cpudp', 'cuda', 'cudadp'};
    rules = {10, 1, 33, [0.25, 0.5; 1.5, 0.5]};
    for mode = modes
      for rule = rules
        request = with(6, mode{1});
        requests{end + 1} = [request(1:6), rule];
      end
    end
  end
  p = pistonfield(requests{mod(i, numel(requests)) + 1}{:});
end

function refuse(i)
  persistent requests
  if isempty(requests)
    good = good_request();
    inCuda = with(6, 'cuda');
    inCudadp = with(6, 'cudadp');
    requests = {{}, good(1:4), [good, 1], with(1, 'text'), with(1, sparse(eye(4))), ...
                with(1, 1i * eye(4)), with(1, eye(3)), with(1, single(eye(4))), with(2, [1, 2]), ...
                with(2, [0, 1, 1]), with(2, [NaN, 1, 1]), with(2, {1, 2, 3}), ...
                with(2, [1e9, 1e9, 1e9]), with(2, [2^31, 1, 1]), with(3, []), with(4, {}), ...
                with(5, @sin), with(6, 'none'), with(6, 7), with(6, {'cpu'}), with(7, []), ...
                with(7, [1, 2, 3]), with(7, single([1, 2; 3, 4])), with(7, -5), ...
                [inCuda(1:6), 513], [inCuda(1:6), 0], [inCudadp(1:6), 513], [inCudadp(1:6), -1]};
  end
  request = requests{mod(i, numel(requests)) + 1};
  try
    p = pistonfield(request{:});
  catch
    return;
  end
  error('request %d was answered', mod(i, numel(requests)) + 1);
end

function reload(i)
  clear pistonfield
  answer(i);
end

% Does it as many times as it takes Octave and the allocator to come to rest, then shows what count
% times more leave.
function kib = growth(what, action, count)
  arrayfun(action, 1:1000);
  resident_memory();
  before = resident_memory();
  started = tic();
  arrayfun(action, 1:count);
  kib = resident_memory() - before;
  fprintf(stderr, '%d %s: %d KiB more than before, of %d KiB; %.0f s\n', count, what, kib, before, ...
          toc(started));
end

% The lines of the calls go nowhere.
nowhere = fopen('/dev/null', 'w');
dup2(nowhere, stdout);

calls = number_in('LEAKS_CALLS');
answered = growth('answered calls', @answer, calls);
refused = growth('refused calls', @refuse, calls);
reloaded = growth('reloads', @reload, number_in('LEAKS_RELOADS'));

% 0.1 MiB, however many there are.
expect(all([answered, refused, reloaded] < 100), 'too much is kept');
