% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [done, reason] = replace_file(new, file)
  % [done, reason] = replace_file(new, file): gives a new file the name of another one, which it
  % replaces; or removes it where that fails. Octave's movefile and delete take names for patterns,
  % and the first one hands them to a shell.
  if is_octave()
    [status, reason] = rename(new, file);
    done = status == 0;
  else
    [done, reason] = movefile(new, file, 'f');
  end
  if ~done
    remove_file(new);
  end
end
