% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function sides = sides_of_outlines(table)
  % sides = sides_of_outlines(table): how wide and how high each outline of a table is, one below the
  % other [m].
  sides = [];
  for number = 1:table(1, end)
    loops = loops_of_outline(table, number);
    points = [loops{:}];
    sides = [sides; max(points, [], 2) - min(points, [], 2)]; %#ok<AGROW>
  end
end
