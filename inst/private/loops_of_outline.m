% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function loops = loops_of_outline(table, number)
  % loops = loops_of_outline(table, number): an outline of a table as polygons to be drawn, 2 by N
  % each: arcs have a point every 3 degrees. A column of the table is an edge: the numbers of its
  % outline and its loop; 0 and the ends of a straight edge; or 1, centre and radius of an arc, where
  % it begins and by how much it turns [rad].
  edges = table(2:8, table(1, :) == number);
  loops = cell(1, max([0, edges(1, :)]));
  for edge = edges
    points = edge(3:4);
    if edge(2) == 1
      count = max(1, ceil(abs(edge(7)) / (pi / 60)));
      angles = edge(6) + edge(7) * (0:count - 1) / count;
      points = bsxfun(@plus, edge(3:4), edge(5) * [cos(angles); sin(angles)]);
    end
    loops{edge(1)} = [loops{edge(1)}, points];
  end
end
