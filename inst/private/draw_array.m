% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function drawing = draw_array(caller, given, pairs)
  % drawing = draw_array(caller, given, pairs): draws the faces of an array or a piston to scale, as
  % pistonfield_plot tells: from before it, and from the side where it is not flat.
  options = read_options(caller, struct('weights', [], 'show', 'phase', 'colormap', [], ...
                                        'title', [], 'axes', []), pairs);
  if is_array(given)
    array = read_array(caller, given);
  else
    array = read_source(caller, given);
    array.count = 1;
  end
  [values, limits, label] = read_values(caller, array, options);
  colours = colours_of(caller, options.colormap, options.show);
  require(isempty(options.title) || ischar(options.title), caller, 'title', ...
          'title must be a text');
  require(isempty(options.axes) || (isscalar(options.axes) && ishghandle(options.axes) && ...
                                    strcmp(get(options.axes, 'type'), 'axes')), ...
          caller, 'axes', 'axes must be a handle of axes');

  [corners, rims] = face_corners(array);
  views = views_of(corners * 1e3, rims * 1e3, isempty(options.axes));
  hasBar = ~isempty(values);
  [fig, boxes, bar_box, bar_place] = lay_out([views.extent], options.axes, hasBar);
  pixels = size_in_pixels(fig);
  for i = 1:numel(views)
    axis_i = options.axes;
    if isempty(axis_i)
      axis_i = axes('parent', fig);
    end
    faces(i) = draw_faces(axis_i, views(i), values); %#ok<AGROW>
    set(axis_i, 'clim', limits, 'layer', 'top', 'tickdir', 'out', 'box', 'on', ...
        'dataaspectratio', [1 1 1], 'units', 'normalized', 'position', boxes(i, :), ...
        'xlim', views(i).limits(1, :), 'ylim', views(i).limits(2, :), ...
        'xtick', ticks(views(i).limits(1, :), views(i).ends(1, :), boxes(i, 3) * pixels(1) / 55), ...
        'ytick', ticks(views(i).limits(2, :), views(i).ends(2, :), boxes(i, 4) * pixels(2) / 30));
    colormap(axis_i, colours);
    xlabel(axis_i, views(i).labels{1});
    ylabel(axis_i, views(i).labels{2});
    all_axes(i) = axis_i; %#ok<AGROW>
  end
  if ~ischar(options.title)
    options.title = sprintf('%d elements', array.count);
    if isfield(given, 'shape')
      options.title = given.shape;
    elseif ~is_array(given)
      options.title = 'rectangle';
    end
  end
  title(all_axes(1), options.title);
  bar = [];
  if hasBar
    bar = draw_bar(all_axes(end), bar_place, label, options.show);
  end
  for i = 1:numel(views)
    set(all_axes(i), 'position', boxes(i, :));
  end
  set(bar, 'position', bar_box);
  drawing = struct('figure', fig, 'axes', all_axes, 'graphics', faces, 'colorbar', bar);
end

% What the faces are coloured by, for each element; none without weights.
function [values, limits, label] = read_values(caller, array, options)
  require_word(caller, 'show', options.show, {'phase', 'magnitude'});
  values = [];
  limits = [0, 1];
  label = '';
  if isempty(options.weights)
    return
  end
  weights = read_weights(caller, options.weights, array.count);
  require(size(weights, 2) == 1 && all(isfinite(weights)), caller, 'weights', ...
          'weights must be one column of finite numbers to be shown');
  if strcmp(options.show, 'phase')
    values = angle(weights) * 180 / pi;
    values(weights == 0) = NaN;  % which have none
    limits = [-180, 180];
    label = 'phase of the weights (degrees)';
  else
    values = abs(weights);
    limits = [0, max([values; realmin])];
    label = '|weights|';
  end
end

% A struct array: of the corners what is to the right and what upwards, K by N, and of the rims in one
% line; the elements' order, from the back to the front; where the faces end, limits, extent and labels.
function views = views_of(corners, rims, all_sides)
  letters = 'xyz';
  depth = corners(3, :);
  wide = corners(1:2, :);
  isFlat = max(depth) - min(depth) <= 1e-9 * max(max(wide, [], 2) - min(wide, [], 2));
  directions = [1 2 3; 3 1 2];  % to the right, upwards, towards the one who looks
  if isFlat || ~all_sides
    directions = directions(1, :);
  end
  for i = 1:size(directions, 1)
    flat = corners(directions(i, 1:2), :, :);
    view.right = reshape(flat(1, :, :), size(corners, 2), []);
    view.up = reshape(flat(2, :, :), size(corners, 2), []);
    view.rims = rims(directions(i, 1:2), :, :);
    view.rims(:, end + 1, :) = NaN;
    [~, view.order] = sort(squeeze(mean(corners(directions(i, 3), :, :), 2)));
    view.ends = [min(flat(:, :), [], 2), max(flat(:, :), [], 2)];
    margin = 0.05 * max(view.ends(:, 2) - view.ends(:, 1));
    view.limits = [view.ends(:, 1) - margin, view.ends(:, 2) + margin];
    view.extent = view.limits(:, 2) - view.limits(:, 1);
    view.labels = {[letters(directions(i, 1)), ' (mm)'], [letters(directions(i, 2)), ' (mm)']};
    views(i) = view; %#ok<AGROW>
  end
end

% Those without a value are grey.
function faces = draw_faces(ax, view, values)
  corners = [view.right(:), view.up(:)];
  numbers = reshape(1:size(corners, 1), size(view.right)).';
  edge = [0.25 0.25 0.25];
  if size(view.right, 1) > 4
    edge = 'none';  % which would show the ways to holes
    line('parent', ax, 'xdata', view.rims(1, :), 'ydata', view.rims(2, :), ...
         'color', [0.25 0.25 0.25], 'linewidth', 0.5);
  end
  drawn = @(some, varargin) patch('parent', ax, 'vertices', corners, 'faces', numbers(some, :), ...
                                  'edgecolor', edge, 'linewidth', 0.5, varargin{:});
  grey = {'facecolor', [0.75 0.78 0.80]};
  if isempty(values)
    faces = drawn(view.order, grey{:});
    return
  end
  without = isnan(values(view.order));
  if any(without)
    drawn(view.order(without), grey{:});
  end
  some = view.order(~without);
  faces = drawn(some, 'facevertexcdata', values(some), 'facecolor', 'flat');
end

function bar = draw_bar(ax, place, label, show)
  bar = colorbar(ax, place);
  along = 'y';
  if strcmp(place, 'southoutside')
    along = 'x';
  end
  feval([along, 'label'], bar, label);
  if strcmp(show, 'phase')
    set(bar, [along, 'tick'], -180:90:180);
  end
end
