% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function write_text(caller, file, text)
  % write_text(caller, file, text): writes a file that is there as a whole or not at all: beside it
  % first, so that what exists is replaced by a whole one alone.
  new = [file, '.new'];
  require(~is_there(new), caller, 'file', '%s exists: remove it first', new);
  [id, reason] = fopen(new, 'w');
  require(id >= 0, caller, 'file', '%s cannot be written: %s', file, reason);
  written = fwrite(id, text);
  closed = fclose(id);
  whole = written == numel(text) && closed == 0;
  if whole
    [whole, reason] = replace_file(new, file);
  else
    reason = 'it could not be written to its end';
    remove_file(new);
  end
  require(whole, caller, 'file', '%s cannot be written: %s', file, reason);
end
