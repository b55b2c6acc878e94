% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function yes = is_there(file)
  % is_there(file): whether a file exists. A name without a folder is looked for along the path
  % otherwise.
  if ~any(file(1) == '/~')
    file = fullfile(pwd(), file);
  end
  yes = exist(file, 'file') ~= 0;
end
