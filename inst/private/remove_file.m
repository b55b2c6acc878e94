% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function remove_file(file)
  % remove_file(file): removes the file of exactly this name.
  if is_octave()
    unlink(file);
  else
    delete(file);
  end
end
