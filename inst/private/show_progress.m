% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function progress = show_progress(progress, done)
  % progress = show_progress(progress, done): reports that this part, 0 to 1, of the work is done,
  % at most once in a second.
  elapsed = toc(progress.start);
  switch progress.kind
    case 'none'
      return
    case 'auto'
      first = 3;  % s
    otherwise
      first = 0;
  end
  if elapsed < first || (elapsed < progress.shown + 1 && done < 1)
    return
  end
  progress.shown = elapsed;
  if ~strcmp(progress.kind, 'waitbar')
    fprintf('%s: %3.0f %%, %.0f s, %.0f s left\n', progress.caller, 100 * done, elapsed, ...
            elapsed * (1 - done) / done);
  elseif ishandle(progress.window)
    waitbar(done, progress.window);
  end
end
