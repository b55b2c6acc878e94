% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% What pistonfield_pressure does for long fields, seen from outside an Octave of its own: it keeps
% within the memory that it is given, shows progress, and ends on Ctrl-C.

1;

function keeps_within(name, value, sizes, limit)
  [status, ~, errors] = run_octave(sprintf('addpath %s; peak_of_field(''%s'', ''%s'', [%s], %g)', ...
    fileparts(which('pistonfield_pressure')), name, value, num2str(sizes), limit));
  expect(status == 0, '%s', errors);
  found = sscanf(errors, '%d slabs, %g bytes');
  printf('        %d slabs, %.1f MB of %.1f MB\n', found(1), found(2) / 1e6, limit / 1e6);
  expect(found(1) > 1, 'the field was not cut');
  expect(found(2) <= limit, '%.1f MB were used of %.1f MB', found(2) / 1e6, limit / 1e6);
end

% Starts a call of minutes, waits until it shows progress, and interrupts it: the time that the
% process then takes to end [s]. An interrupt ends it with an exit status, a crash would by a signal.
function seconds = time_to_end(call)
  [process, output] = start_octave(call);
  shown = wait_for(output, ' s left');
  start = tic();
  kill(process, SIG().INT);
  [ended, status] = waitpid(process, WNOHANG());
  while ended == 0 && toc(start) < 30
    pause(0.02);
    [ended, status] = waitpid(process, WNOHANG());
  end
  seconds = toc(start);
  fclose(output);
  expect(! isempty(strfind(shown, ' s left')), 'no progress was shown: %s', shown);
  expect(ended == 0 || WIFEXITED(status), 'it ended with status %d', status);
end

% What comes until a text does, or a minute has passed.
function shown = wait_for(output, text)
  shown = '';
  start = tic();
  while isempty(strfind(shown, text)) && toc(start) < 60
    line = fgets(output);
    if ischar(line)
      shown = [shown, line];
    else
      fclear(output);
      pause(0.05);
    end
  end
end

% A busy machine may hold up one of them.
function ends_on_interrupt(options, points, source)
  if nargin < 3
    source = 'struct(''width'', 7.5e-3, ''height'', 5e-3)';
  end
  call_ends_on_interrupt(sprintf([ ...
    'pistonfield_pressure(%s, %s, ''frequency'', 1e6, %s, ''progress'', ''text'');'], ...
    source, points, options));
end

function call_ends_on_interrupt(call)
  seconds = Inf;
  for attempt = 1:3
    seconds = min(seconds, time_to_end(call));
    if seconds <= 2
      break
    end
  end
  printf('        %.2f s\n', seconds);
  expect(seconds <= 2, 'it ended after %.1f s', seconds);
end

warning('off', 'pistonfield:rounding');
volume = 'pistonfield_grid((1:430) * 1e-4, (1:430) * 1e-4, (1:430) * 1e-4)';
turned = ['pistonfield_grid([0 0 0.06], 1e-4 * [0.8 0 0.6; 0.48 0.6 -0.64; -0.36 0.8 0.48]'', ', ...
          '[400 400 300])'];
line = 'pistonfield_grid(0, 0, (1:1.6e7) * 1e-8)';
list = '[rand(8e6, 2) * 1e-2, rand(8e6, 1) * 1e-3]';
in_mode = @(mode) sprintf('''mode'', ''%s'', ''order'', 200', mode);
in_precision = @(name) sprintf('''precision'', ''%s'', ''tolerance'', 2e-5', name);
for way = {{'mode', 'cpu'}, {'mode', 'cpusp'}, {'mode', 'cuda'}, {'mode', 'cudadp'}, ...
           {'precision', 'double'}, {'precision', 'single'}}
  it(sprintf('%s %s keeps within its memory', way{1}{:}), ...
     @() keeps_within(way{1}{:}, [4 700 700], (4 * 16 + 56) * 700 ^ 2));
end
for way = {{'mode', 'cpu'}, {'precision', 'double'}}
  it(sprintf('%s %s takes little more in thin slabs than the memory of the field', way{1}{:}), ...
     @() keeps_within(way{1}{:}, [120 120 120], 16 * 120 ^ 3 + 56 * 120 ^ 2 + 8e6));
end
for mode = {'cpu', 'cpudp', 'cpusp', 'cuda', 'cudadp'}
  it(sprintf('mode %s ends on Ctrl-C in a volume', mode{1}), ...
     @() ends_on_interrupt(in_mode(mode{1}), volume));
end
for mode = {'cpu', 'cuda', 'cudadp'}
  it(sprintf('mode %s ends on Ctrl-C on a turned grid', mode{1}), ...
     @() ends_on_interrupt(in_mode(mode{1}), turned));
  it(sprintf('mode %s ends on Ctrl-C on a line', mode{1}), ...
     @() ends_on_interrupt(in_mode(mode{1}), line));
end
for precision = {'double', 'single'}
  it(sprintf('the tolerance engine ends on Ctrl-C in %s precision', precision{1}), ...
     @() ends_on_interrupt(in_precision(precision{1}), volume));
end
it('it ends on Ctrl-C at a list of points', ...
   @() ends_on_interrupt('''tolerance'', 1e-12, ''threads'', 1', list));

matrix = ['pistonfield_array(''matrix'', ''elements'', [16 16], ''pitch'', 1e-3, ', ...
          '''width'', 0.9e-3, ''height'', 0.8e-3)'];
it('it ends on Ctrl-C when an array radiates', ...
   @() ends_on_interrupt('''tolerance'', 1e-9, ''threads'', 1', volume, matrix));
pulse = ['pistonfield_pulse(%s, %s, ''signal'', randn(1, 400), ''rate'', 2e7, ', ...
         '''threads'', 1, ''progress'', ''text'');'];
plane = 'pistonfield_grid((1:200) * 1e-4, 1e-3, (1:200) * 1e-4)';
for source = {'struct(''radius'', 0.1)', 'struct(''width'', 0.15, ''height'', 0.2)', matrix}
  it(sprintf('a pulse of %s ends on Ctrl-C', source{1}), ...
     @() call_ends_on_interrupt(sprintf(pulse, source{1}, plane)));
end
% So large that the 9 MB which preparations and malloc take beside fields do not count. malloc gives
% back what threads have freed, so that the peak is the function's own.
setenv('MALLOC_MMAP_THRESHOLD_', '200000');
it('two fields of an array keep within their memory', ...
   @() keeps_within('weights', 'two', [4 600 600], 2 * (4 * 16 + 56) * 600 ^ 2));
unsetenv('MALLOC_MMAP_THRESHOLD_');

finish();
