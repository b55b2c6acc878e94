% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [fig, boxes, bar_box, bar_place] = lay_out(extents, ax, hasBar)
  % [fig, boxes, bar_box, bar_place] = lay_out(extents, ax): boxes for drawings of these extents [mm],
  % columns of their widths and heights, all to one scale, and for the colour bar: at their right, or
  % where they are flat below them. In the figure of the axes ax, or in a new one where that is empty.
  % [fig, boxes] = lay_out(extents, ax, false): without a colour bar.
  hasBar = nargin < 3 || hasBar;
  own = isempty(ax);
  count = size(extents, 2);
  if own
    room = [700 + 250 * (count - 1), 600];
  else
    fig = get(ax, 'parent');
    whole = size_in_pixels(fig);
    outer = get(ax, 'outerposition') .* [whole, whole];
    room = outer(3:4);
  end
  [margins, bar_place] = deal([75, 60, 30 + 80 * hasBar, 45], 'eastoutside');  % pixels: left, below, right, above
  scale = scale_of(extents, room, margins);
  flat = scale * max(extents(2, :)) < 190;
  if flat
    [margins, bar_place] = deal([75, 60 + 70 * hasBar, 30, 45], 'southoutside');
    scale = scale_of(extents, room, margins);
  end
  sizes = scale * extents;
  % A narrow slice has the room that its title needs.
  slots = margins(1) + max(sizes(1, :), 130 * (count > 1));
  used = [sum(slots) + margins(3), margins(2) + margins(4) + max(sizes(2, :))];
  if own
    whole = max(used, [420, 240]);
    outer = [0, 0, whole];
    fig = new_figure(whole(1), whole(2));
  end
  x = outer(1) + (outer(3) - used(1)) / 2;
  middle = outer(2) + (outer(4) - used(2)) / 2 + margins(2) + max(sizes(2, :)) / 2;
  boxes = zeros(count, 4);
  for i = 1:count
    spare = slots(i) - margins(1) - sizes(1, i);
    boxes(i, :) = [x + margins(1) + spare / 2, middle - sizes(2, i) / 2, sizes(:, i).'];
    x = x + slots(i);
  end
  if flat
    wide = max(boxes(end, 1) + boxes(end, 3) - boxes(1, 1), 250);
    wide = min([wide, 450, outer(3) - 30]);
    centre = (boxes(1, 1) + boxes(end, 1) + boxes(end, 3)) / 2;
    left = min(max(centre - wide / 2, outer(1) + 15), outer(1) + outer(3) - 15 - wide);
    bar_box = [left, middle - max(sizes(2, :)) / 2 - 75, wide, 14];
  else
    bar_box = [x + 15, middle - max(sizes(2, :)) / 2, 14, max(sizes(2, :))];
  end
  boxes = boxes ./ repmat([whole, whole], count, 1);
  bar_box = bar_box ./ [whole, whole];
end

% Pixels for a millimetre.
function scale = scale_of(extents, room, margins)
  count = size(extents, 2);
  scale = min((room(1) - count * margins(1) - margins(3)) / sum(extents(1, :)), ...
              (room(2) - margins(2) - margins(4)) / max(extents(2, :)));
end
