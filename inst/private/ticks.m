% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function values = ticks(limits, points, most)
  % values = ticks(limits, points, most): round numbers within limits, about so many; where that were
  % fewer than two, the first and the last of the points if there is room for two, and one between
  % them if not.
  rough = diff(limits) / max(most, 1);
  steps = [1, 2, 5, 10] * 10 ^ floor(log10(rough));
  step = steps(find(steps >= 0.999 * rough, 1));
  values = step * (ceil(limits(1) / step - 1e-9):floor(limits(2) / step + 1e-9));
  values = values(:).' + 0;  % no -0
  if numel(values) < 2
    ends = round(points([1, end]) * 1e3) / 1e3 + 0;
    if most >= 0.6
      values = ends;
    elseif isempty(values)
      values = ends(1);
    end
  end
end
