% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% growth(project, mode, million, order): one call for so many million points in a fresh Octave, and by
% what it lets the process's peak memory grow. bench/growth.sh calls it; the row goes to standard
% error, since the module writes progress lines to standard output.
function growth(project, mode, million, order)
  addpath(fullfile(project, 'build-bench', 'octave'));
  steps = [16 / 999, 16 / 999, 49 / (million - 1)];
  transform = diag([steps, 1]);
  transform(4, 1:3) = [-8, -8, 1];
  sides = [7.5, 5];
  p = pistonfield(transform, [1, 1, 1], sides(1), sides(2), 2 * pi, mode, order);

  before = peak_bytes();
  start = tic();
  p = pistonfield(transform, [1000, 1000, million], sides(1), sides(2), 2 * pi, mode, order);
  seconds = toc(start);
  points = numel(p);
  fprintf(stderr, '%-8s %10.0f %6d %10.2f %10.2f %10.1f\n', mode, points / 1e6, order, seconds, ...
          seconds / points * 1e9, (peak_bytes() - before) / points);
end

function bytes = peak_bytes()
  status = fileread('/proc/self/status');
  bytes = 1024 * str2double(regexp(status, 'VmHWM:\s*(\d+)', 'tokens', 'once'){1});
end
