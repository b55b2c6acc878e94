% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function text = bytes_as_text(bytes)
  % bytes_as_text(bytes): a number of bytes in a unit in which it reads well.
  units = {'bytes', 'kB', 'MB', 'GB', 'TB'};
  power = min(max(floor(log10(bytes) / 3), 0), 4);
  text = sprintf('%.4g %s', bytes / 1000 ^ power, units{power + 1});
end
