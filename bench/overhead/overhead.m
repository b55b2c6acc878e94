% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% overhead(project): what a call costs besides the field. bench/overhead.sh calls it; the table goes
% to standard error, since the module writes progress lines to standard output.
function overhead(project)
  addpath(fullfile(project, 'build-bench', 'octave'));
  page_screen_output(false);
  place = eye(4);
  place(1:3, 4) = [1; 2; 3];
  sizes = [1, 1, 1];
  l = 5;
  s = 7.5;
  k = 2 * pi;

  fprintf(stderr, 'one point, order 10 where there is one; medians of 2001 calls\n\n');
  fprintf(stderr, '%-40s %9s\n', 'call', 'us');
  row('an anonymous function alone', median_time(@() 0));
  empty = median_time(@() empty_module(place, sizes, l, s, k, 'cpu', 10));
  row('a module that does nothing', empty);
  for mode = {'cpu', 'cpusp', 'cuda', 'cudadp'}
    row(['pistonfield ', mode{1}], ...
        median_time(@() pistonfield(place, sizes, l, s, k, mode{1}, 10)));
  end
end

function row(name, seconds)
  fprintf(stderr, '%-40s %9.1f\n', name, seconds * 1e6);
end

function seconds = median_time(call)
  times = zeros(1, 2001);
  for i = 1:numel(times)
    start = tic();
    p = call();
    times(i) = toc(start);
  end
  seconds = median(times);
end
