% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function progress = start_progress(caller, kind)
  % progress = start_progress(caller, kind): what show_progress needs to report how far the caller
  % is; kind is 'none', 'text', 'waitbar' or 'auto', a text for what takes long. A window closes
  % when the result is cleared, and so also after Ctrl-C.
  progress = struct('caller', caller, 'kind', kind, 'start', tic(), 'shown', 0, ...
                    'window', [], 'closing', []);
  if strcmp(kind, 'waitbar')
    progress.window = waitbar(0, strrep(caller, '_', '\_'));
    progress.closing = onCleanup(@() close_window(progress.window));
  end
end

% A user may have closed it before.
function close_window(window)
  if ishandle(window)
    close(window);
  end
end
