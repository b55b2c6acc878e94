% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function tell_progress(progress, done)
  % tell_progress(progress, done): show_progress for functions that a module calls again and again
  % with the same progress: what was shown last is kept here.
  persistent start shown
  if ~isequal(start, progress.start)
    start = progress.start;
    shown = 0;
  end
  progress.shown = shown;
  progress = show_progress(progress, done);
  shown = progress.shown;
end
