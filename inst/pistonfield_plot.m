function h = pistonfield_plot(p, grid, varargin)
  % pistonfield_plot: draws a field to scale, as slices or as profiles.
  %
  % DESCRIPTION
  %   Draws what the grid holds: a line as a profile, a plane as a slice, a volume as three slices
  %   through one point. 'along' and 'across' choose one profile or one slice. Slices are to scale,
  %   and all slices of a figure have the same scale. Lengths are in mm. A slice across z has x to
  %   the right and y upwards; the others have z to the right.
  %
  %   Without a screen the figure is invisible and can be printed to a file as any other.
  %
  % USAGE
  %   pistonfield_plot(p, grid)
  %   pistonfield_plot(p, grid, name, value, ...)
  %   h = pistonfield_plot(...)
  %
  % INPUTS
  %   p     - the field [Pa, or 'unit'], as many values as the grid has points
  %   grid  - where its points lie, made by pistonfield_grid
  %
  % OPTIONAL INPUTS (names and values)
  %   'show'      - 'magnitude' of p (default), its 'level' [dB], its 'phase' [degrees] or its
  %                 'real' part
  %   'along'     - 'x', 'y' or 'z': a profile along the grid's first, second or third direction
  %   'across'    - 'x', 'y' or 'z': a slice across that direction
  %   'at'        - the point [m] that slices and profiles go through, or the grid point nearest to
  %                 it; the place of the largest |p| by default
  %   'reference' - the magnitude [unit of p] of 0 dB; the largest |p| by default
  %   'range'     - the levels shown, down from the largest [dB]; 40 by default
  %   'limits'    - [lowest, highest] of what is shown, in the drawing's unit; by default chosen
  %                 from the values
  %   'unit'      - the unit of p; 'Pa' by default, which is shown in kPa or MPa where that reads
  %                 better
  %   'title'     - a text; by default where the slice or line lies
  %   'axes'      - axes to draw one slice or profile into; a new figure by default. The slice, its
  %                 labels and its colour bar keep within the axes' outer bounds.
  %
  % OUTPUTS
  %   h     - struct of handles, with an element for every slice or line in the fields
  %             figure    the figure
  %             axes      the axes
  %             graphics  the images or the line
  %             colorbar  the colour bar; empty for a profile
  %
  % EXAMPLES
  %   grid = pistonfield_grid((-10:0.2:10) * 1e-3, 0, (0.5:0.2:60) * 1e-3);
  %   p = pistonfield_pressure(struct('width', 7.5e-3, 'height', 5e-3), grid, 'frequency', 1e6);
  %   pistonfield_plot(p, grid);
  %   pistonfield_plot(p, grid, 'show', 'level', 'range', 30);
  %   pistonfield_plot(p, grid, 'along', 'z', 'at', [0 0 0]);
  %
  % See also: pistonfield_grid, pistonfield_pressure

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_plot';
  require(nargin >= 2, caller, 'arguments', 'give a field and its grid');
  require_grid(caller, grid);
  require(isnumeric(p) && numel(p) == prod(grid.sizes), caller, 'p', ...
          'p must have as many values as the grid has points, %d', prod(grid.sizes));
  options = read_plot_options(caller, varargin);
  p = reshape(p, grid.sizes);
  at = index_of(options.at, p, grid);
  quantity = quantity_of(p, options);

  long = find(grid.sizes > 1);
  if ~isempty(options.along)
    drawing = draw_profile(quantity, grid, at, options.along, options);
  elseif ~isempty(options.across)
    drawing = draw_slices(quantity, grid, at, options.across, options);
  elseif numel(long) == 1
    drawing = draw_profile(quantity, grid, at, long, options);
  elseif numel(long) == 2
    drawing = draw_slices(quantity, grid, at, setdiff(1:3, long), options);
  else
    require(~isempty(long), caller, 'grid', 'a grid of one point cannot be drawn');
    require(isempty(options.axes), caller, 'axes', ...
            'axes hold one slice of a volume: say which by ''across''');
    drawing = draw_slices(quantity, grid, at, [2 1 3], options);
  end
  if nargout > 0
    h = drawing;
  end
end

function options = read_plot_options(caller, given)
  defaults = struct('show', 'magnitude', 'along', '', 'across', '', 'at', [], ...
                    'reference', [], 'range', 40, 'limits', [], 'unit', 'Pa', 'title', [], ...
                    'axes', []);
  options = read_options(caller, defaults, given);
  require_word(caller, 'show', options.show, {'magnitude', 'level', 'phase', 'real'});
  options.along = direction_of(caller, 'along', options.along);
  options.across = direction_of(caller, 'across', options.across);
  require(isempty(options.along) || isempty(options.across), caller, 'across', ...
          'give along or across, not both');
  require(isempty(options.at) || (is_finite_real(options.at) && numel(options.at) == 3), ...
          caller, 'at', 'at must be three real, finite numbers, in m');
  require(isempty(options.reference) || is_positive(options.reference), caller, 'reference', ...
          'reference must be a number above 0');
  require(is_positive(options.range), caller, 'range', 'range must be a number above 0, in dB');
  limits = options.limits;
  require(isempty(limits) || (is_finite_real(limits) && numel(limits) == 2 && ...
                              limits(1) < limits(2)), ...
          caller, 'limits', 'limits must be two rising numbers');
  require(ischar(options.unit), caller, 'unit', 'unit must be a text');
  require(isempty(options.title) || ischar(options.title), caller, 'title', ...
          'title must be a text');
  axes = options.axes;
  require(isempty(axes) || (isscalar(axes) && ishghandle(axes) && ...
                            strcmp(get(axes, 'type'), 'axes')), ...
          caller, 'axes', 'axes must be a handle of axes');
end

function direction = direction_of(caller, name, letter)
  direction = [];
  if ~isempty(letter)
    require_word(caller, name, letter, {'x', 'y', 'z'});
    direction = find('xyz' == letter);
  end
end

% The grid point nearest to a place, or that of the largest |p|, counted from 0.
function index = index_of(place, p, grid)
  if isempty(place)
    [~, nearest] = max(abs(p(:)));
  else
    [x, y, z] = pistonfield_grid(grid, 'positions');
    away = (x - place(1)) .^ 2 + (y - place(2)) .^ 2 + (z - place(3)) .^ 2;
    [~, nearest] = min(away(:));
  end
  index = zeros(1, 3);
  [index(1), index(2), index(3)] = ind2sub(grid.sizes, nearest);
  index = index - 1;
end

% What is drawn: values, their label, limits and colours.
function quantity = quantity_of(p, options)
  largest = max([abs(p(:)); 0]);
  [scale, unit] = readable_unit(largest, options.unit);
  switch options.show
    case 'magnitude'
      values = abs(p) * scale;
      label = ['|p| (', unit, ')'];
      limits = [0, largest * scale];
    case 'real'
      values = real(p) * scale;
      label = ['Re p (', unit, ')'];
      limits = max([abs(values(:)); 0]) * [-1, 1];
    case 'phase'
      values = angle(p) * 180 / pi;
      label = 'phase of p (degrees)';
      limits = [-180, 180];
    case 'level'
      [values, label] = level_of(p, largest, options);
      finite = values(isfinite(values));
      top = max([finite(:); zeros(isempty(finite), 1)]);
      limits = top + [-options.range, 0];
      values = max(values, limits(1));
  end
  if ~isempty(options.limits)
    limits = options.limits;
  elseif limits(1) >= limits(2)
    limits = limits(1) + [0, 1];  % a field that is zero everywhere
  end
  quantity = struct('values', values, 'label', label, 'limits', limits, ...
                    'colours', field_colours(options.show));
end

function [values, label] = level_of(p, largest, options)
  reference = options.reference;
  kind = '';
  if isempty(reference)
    reference = largest;
    kind = ', the largest |p|';
  end
  values = 20 * log10(abs(p) / reference);
  [scale, unit] = readable_unit(reference, options.unit);
  label = sprintf('level (dB re %.3g %s%s)', reference * scale, unit, kind);
end

function [scale, unit] = readable_unit(largest, unit)
  scale = 1;
  if strcmp(unit, 'Pa') && largest >= 1e6
    scale = 1e-6;
    unit = 'MPa';
  elseif strcmp(unit, 'Pa') && largest >= 1e3
    scale = 1e-3;
    unit = 'kPa';
  end
end

function drawing = draw_profile(quantity, grid, at, direction, options)
  require(grid.sizes(direction) > 1, 'pistonfield_plot', 'along', ...
          'a profile needs more than one point along its direction');
  [coordinate, label] = coordinates_of(grid, at, direction, direction);
  values = pick(quantity.values, at, direction);
  limits = quantity.limits;
  if isempty(options.limits) && strcmp(options.show, 'magnitude')
    limits = 1.05 * limits;
  end
  ax = options.axes;
  if isempty(ax)
    ax = axes('parent', new_figure(800, 450));
  end
  line = plot(ax, coordinate, values(:), 'linewidth', 2, 'color', [0.42 0.09 0.43]);
  set(ax, 'xlim', sort(coordinate([1, end])), 'ylim', limits, 'xgrid', 'on', ...
      'ygrid', 'on', 'gridcolor', [0.8 0.8 0.8]);
  xlabel(ax, label);
  ylabel(ax, quantity.label);
  put_title(ax, options.title, line_title(grid, at, direction));
  drawing = struct('figure', get(ax, 'parent'), 'axes', ax, 'graphics', line, 'colorbar', []);
end

function drawing = draw_slices(quantity, grid, at, normals, options)
  count = numel(normals);
  slices = cell(1, count);
  for i = 1:count
    slices{i} = slice_of(quantity.values, grid, at, normals(i));
  end
  extents = cell2mat(cellfun(@(slice) slice.extent(:), slices, 'uniformoutput', false));
  [fig, boxes, bar_box] = lay_out(extents, options.axes);
  for i = 1:count
    slice = slices{i};
    if isempty(options.axes)
      axis_i = axes('parent', fig);
    else
      axis_i = options.axes;
    end
    image_i = imagesc(slice.right, slice.up, slice.values, 'parent', axis_i);
    set(axis_i, 'clim', quantity.limits, 'ydir', 'normal', 'layer', 'top', 'tickdir', 'out', ...
        'dataaspectratio', [1 1 1], 'units', 'normalized', 'position', boxes(i, :), ...
        'xlim', slice.right_limits, 'ylim', slice.up_limits);
    colormap(axis_i, quantity.colours);
    xlabel(axis_i, slice.right_label);
    ylabel(axis_i, slice.up_label);
    put_title(axis_i, options.title, slice.title);
    if slice.extent(2) < 0.1 * slice.extent(1)
      set(axis_i, 'ytick', slice.up([1, end]));  % more would overlap
    end
    ax(i) = axis_i;
    images(i) = image_i;
  end
  bar = colorbar(ax(end));
  ylabel(bar, quantity.label);
  if strcmp(options.show, 'phase')
    set(bar, 'ytick', -180:90:180);
  end
  set(ax(end), 'position', boxes(end, :));
  set(bar, 'position', bar_box);
  drawing = struct('figure', fig, 'axes', ax, 'graphics', images, 'colorbar', bar);
end

% One slice: its values with the vertical direction first, its axes and its title.
function slice = slice_of(values, grid, at, normal)
  choices = [3 2; 3 1; 1 2];  % to the right and upwards, for each normal
  right = choices(normal, 1);
  up = choices(normal, 2);
  require(all(grid.sizes([right, up]) > 1), 'pistonfield_plot', 'across', ...
          'a slice needs more than one point along both its directions');
  steps = grid.transform([right, up], 1:3);
  lengths = sqrt(sum(steps .^ 2, 2));
  require(abs(steps(1, :) * steps(2, :)') <= 1e-9 * prod(lengths), 'pistonfield_plot', 'grid', ...
          'the two directions of a slice must be perpendicular');
  across = pick(values, at, [right, up]);
  across = reshape(across, grid.sizes(min(right, up)), grid.sizes(max(right, up)));
  if right < up
    across = across.';
  end
  [slice.right, slice.right_label] = coordinates_of(grid, at, right, [right, up]);
  [slice.up, slice.up_label] = coordinates_of(grid, at, up, [right, up]);
  [slice.right, across] = rising(slice.right, across, 2);
  [slice.up, across] = rising(slice.up, across, 1);
  slice.values = across;
  slice.right_limits = edges_of(slice.right, lengths(1));
  slice.up_limits = edges_of(slice.up, lengths(2));
  slice.extent = [diff(slice.right_limits), diff(slice.up_limits)];
  slice.title = plane_title(grid, at, steps);
end

% Images are drawn from the lowest coordinate on.
function [coordinate, values] = rising(coordinate, values, dimension)
  if coordinate(end) < coordinate(1)
    coordinate = coordinate(end:-1:1);
    values = flip(values, dimension);
  end
end

% A pixel surrounds its point.
function limits = edges_of(coordinate, step)
  limits = coordinate([1, end]) + step * 1e3 / 2 * [-1, 1];
end

% The values along some directions through a grid point.
function values = pick(values, at, directions)
  index = num2cell(at + 1);
  index(directions) = {':'};
  values = values(index{:});
end

% Where the points along a direction lie [mm]: their coordinate where the direction is one of x, y
% and z and no other that is drawn shares it, otherwise the distance from the first point.
function [coordinate, label] = coordinates_of(grid, at, direction, drawn)
  steps = grid.transform(1:3, 1:3);
  step = steps(direction, :);
  count = 0:grid.sizes(direction) - 1;
  axis_number = find(step ~= 0);
  others = setdiff(drawn, direction);
  if numel(axis_number) == 1 && all(steps(others, axis_number) == 0)
    here = position_of(grid, at);
    coordinate = here(axis_number) + step(axis_number) * (count - at(direction));
    letters = 'xyz';
    label = [letters(axis_number), ' (mm)'];
  else
    names = {'first', 'second', 'third'};
    coordinate = norm(step) * count;
    label = ['along the ', names{direction}, ' direction (mm)'];
  end
  coordinate = coordinate * 1e3;
end

function position = position_of(grid, index)
  position = [index, 1] * grid.transform(:, 1:3);
end

function text = plane_title(grid, at, steps)
  normal = cross(steps(1, :), steps(2, :));
  axis_number = find(abs(normal) > 1e-9 * norm(normal));
  here = position_of(grid, at) * 1e3;
  if numel(axis_number) == 1
    text = ['plane ', equation(axis_number, here)];
  else
    text = sprintf('plane through (%s, %s, %s) mm', short(here(1)), short(here(2)), short(here(3)));
  end
end

function text = line_title(grid, at, direction)
  step = grid.transform(direction, 1:3);
  here = position_of(grid, at) * 1e3;
  across = find(step == 0);
  if numel(across) == 2
    text = ['line ', equation(across(1), here), ', ', equation(across(2), here)];
  else
    text = sprintf('line through (%s, %s, %s) mm', short(here(1)), short(here(2)), short(here(3)));
  end
end

function text = equation(axis_number, position)
  letters = 'xyz';
  text = [letters(axis_number), ' = ', short(position(axis_number)), ' mm'];
end

% Rounded to a nanometre, so that what is meant as 0 reads so.
function text = short(millimetres)
  text = sprintf('%.4g', round(millimetres * 1e6) / 1e6 + 0);
end

function put_title(ax, given, standard)
  if ischar(given)
    title(ax, given);
  else
    title(ax, standard);
  end
end

% Boxes for slices of these extents [mm], all to one scale, and for the colour bar at their right.
function [fig, boxes, bar_box] = lay_out(extents, ax)
  left = 70;  right = 100;  bottom = 55;  top = 40;  % pixels for labels
  count = size(extents, 2);
  wide = sum(extents(1, :));
  high = max(extents(2, :));
  if isempty(ax)
    width = 700 + 250 * (count - 1);
    scale = min((width - count * left - right) / wide, 500 / high);
    area = [0, 0, count * left + right + scale * wide, bottom + top + scale * high];
    area(3:4) = max(area(3:4), [420, 300]);
    fig = new_figure(area(3), area(4));
    whole = area(3:4);
  else
    fig = get(ax, 'parent');
    whole = size_in_pixels(fig);
    area = get(ax, 'outerposition') .* [whole, whole];
    scale = min((area(3) - left - right) / wide, (area(4) - bottom - top) / high);
  end
  spare = area(3:4) - [count * left + right + scale * wide, bottom + top + scale * high];
  x = area(1) + spare(1) / 2;
  middle = area(2) + spare(2) / 2 + bottom + scale * high / 2;
  boxes = zeros(count, 4);
  for i = 1:count
    size_i = scale * extents(:, i)';
    x = x + left;
    boxes(i, :) = [x, middle - size_i(2) / 2, size_i];
    x = x + size_i(1);
  end
  bar_height = max(scale * high, 160);  % a strip's bar keeps room for its ticks
  bar_box = [x + 12, middle - bar_height / 2, 14, bar_height];
  boxes = boxes ./ repmat([whole, whole], count, 1);
  bar_box = bar_box ./ [whole, whole];
end

function pixels = size_in_pixels(fig)
  units = get(fig, 'units');
  set(fig, 'units', 'pixels');
  position = get(fig, 'position');
  set(fig, 'units', units);
  pixels = position(3:4);
end

% A figure that is printed as it is shown, at 100 pixels to the inch.
function fig = new_figure(width, height)
  state = warning('off', 'Octave:gnuplot-graphics');
  restore = onCleanup(@() warning(state));
  visibility = {'off', 'on'};
  fig = figure('visible', visibility{1 + has_screen()});
  position = get(fig, 'position');
  set(fig, 'position', [position(1:2), round(width), round(height)], 'paperunits', 'inches', ...
      'paperposition', [0, 0, round(width), round(height)] / 100);
end

function yes = has_screen()
  yes = ispc() || ismac() || ~isempty(getenv('DISPLAY')) || ~isempty(getenv('WAYLAND_DISPLAY'));
end

%!function [p, grid] = plane()
%!  grid = pistonfield_grid((-2:2) * 1e-3, 3e-3, (0:0.5:4) * 1e-3);
%!  [x, ~, z] = pistonfield_grid(grid, 'positions');
%!  p = 1e6 * (x + 3e-3) .* (z + 1e-3) .* exp(1i * 1e3 * z);  % at most 25 Pa
%!endfunction
%!function [p, grid] = volume()
%!  grid = pistonfield_grid((-2:2) * 1e-3, (0:3) * 1e-3, (1:9) * 1e-3);
%!  [x, y, z] = pistonfield_grid(grid, 'positions');
%!  p = 1 + 1e3 * x + 1e4 * y + 1e5 * z;
%!endfunction
%!function text = label_of(ax, which)
%!  text = get(get(ax, which), 'string');
%!endfunction
%!function pixels = box_of(h, i)
%!  whole = get(h.figure, 'position')(3:4);
%!  pixels = get(h.axes(i), 'position')(3:4) .* whole;
%!endfunction

%!test % a plane across y is an image with z to the right, x upwards, in mm
%! [p, grid] = plane();
%! h = pistonfield_plot(p, grid);
%! close_figure = onCleanup(@() close(h.figure));
%! assert(get(h.graphics, 'cdata'), squeeze(abs(p)), 1e-12);
%! assert(get(h.graphics, 'xdata')([1, end]), [0 4], 1e-12);
%! assert(get(h.graphics, 'ydata')([1, end]), [-2 2], 1e-12);
%! assert({label_of(h.axes, 'xlabel'), label_of(h.axes, 'ylabel')}, {'z (mm)', 'x (mm)'});
%! assert(label_of(h.axes, 'title'), 'plane y = 3 mm');
%! assert(label_of(h.colorbar, 'ylabel'), '|p| (Pa)');
%! assert(get(h.axes, 'clim'), [0 25], 1e-12);

%!test % a slice is to scale: 4.5 mm by 5 mm, pixels included
%! [p, grid] = plane();
%! h = pistonfield_plot(p, grid);
%! close_figure = onCleanup(@() close(h.figure));
%! assert(get(h.axes, 'xlim'), [-0.25 4.25], 1e-12);
%! assert(get(h.axes, 'ylim'), [-2.5 2.5], 1e-12);
%! assert(box_of(h, 1)(1) / box_of(h, 1)(2), 4.5 / 5, 0.01);

%!test % the slices of a volume go through the largest |p|, with one scale
%! [p, grid] = volume();
%! h = pistonfield_plot(p, grid);
%! close_figure = onCleanup(@() close(h.figure));
%! assert(numel(h.axes), 3);
%! titles = arrayfun(@(ax) label_of(ax, 'title'), h.axes, 'uniformoutput', false);
%! assert(titles, {'plane y = 3 mm', 'plane x = 2 mm', 'plane z = 9 mm'});
%! assert(get(h.graphics(1), 'cdata'), squeeze(p(:, 4, :)));
%! assert(get(h.graphics(2), 'cdata'), squeeze(p(5, :, :)));
%! assert(get(h.graphics(3), 'cdata'), p(:, :, 9).');
%! scale = box_of(h, 1) ./ [9 5];
%! assert(box_of(h, 2) ./ [9 4], scale, 0.01 * scale(1));
%! assert(box_of(h, 3) ./ [5 4], scale, 0.01 * scale(1));

%!test % 'across' and 'at' choose a slice, 'along' a profile
%! [p, grid] = volume();
%! h = pistonfield_plot(p, grid, 'across', 'z', 'at', [0 0 3.2e-3]);
%! assert(get(h.graphics, 'cdata'), p(:, :, 3).');
%! close(h.figure);
%! h = pistonfield_plot(p, grid, 'along', 'y', 'at', [-1e-3 0 9e-3], 'show', 'real');
%! close_figure = onCleanup(@() close(h.figure));
%! assert(get(h.graphics, 'ydata')(:), p(2, :, 9)(:));
%! assert(get(h.graphics, 'xdata')(:)', 0:3, 1e-12);
%! assert(label_of(h.axes, 'title'), 'line x = -1 mm, z = 9 mm');
%! assert(isempty(h.colorbar));

%!test % levels are relative to the largest |p|, or to what is given, and the label says so
%! [p, grid] = plane();
%! h = pistonfield_plot(p, grid, 'show', 'level', 'range', 10);
%! wanted = squeeze(20 * log10(abs(p) / 25));
%! assert(get(h.graphics, 'cdata'), max(wanted, -10), 1e-10);
%! assert(get(h.axes, 'clim'), [-10 0]);
%! assert(label_of(h.colorbar, 'ylabel'), 'level (dB re 25 Pa, the largest |p|)');
%! close(h.figure);
%! h = pistonfield_plot(p, grid, 'show', 'level', 'reference', 2.5e3);
%! close_figure = onCleanup(@() close(h.figure));
%! assert(get(h.graphics, 'cdata'), wanted - 40, 1e-10);
%! assert(label_of(h.colorbar, 'ylabel'), 'level (dB re 2.5 kPa)');

%!test % phases are in degrees
%! [p, grid] = plane();
%! h = pistonfield_plot(p, grid, 'show', 'phase');
%! close_figure = onCleanup(@() close(h.figure));
%! assert(get(h.graphics, 'cdata')(1, 1:3), [0 0.5 1] * 180 / pi, 1e-10);
%! assert(get(h.axes, 'clim'), [-180 180]);

%!test % large pressures are in kPa and MPa, other units stay
%! [p, grid] = plane();
%! units = {'Pa', 'Pa', 'm/s'};  factors = [1e3, 1e6, 1e6];
%! labels = {'|p| (kPa)', '|p| (MPa)', '|p| (m/s)'};
%! for i = 1:3
%!   h = pistonfield_plot(factors(i) * p, grid, 'unit', units{i});
%!   assert(label_of(h.colorbar, 'ylabel'), labels{i});
%!   close(h.figure);
%! end

%!test % a falling range is drawn from the lowest coordinate on
%! [p, grid] = plane();
%! falling = pistonfield_grid((2:-1:-2) * 1e-3, 3e-3, (4:-0.5:0) * 1e-3);
%! h = pistonfield_plot(p(end:-1:1, :, end:-1:1), falling);
%! close_figure = onCleanup(@() close(h.figure));
%! assert(get(h.graphics, 'cdata'), squeeze(abs(p)), 1e-12);
%! assert(get(h.graphics, 'ydata')([1, end]), [-2 2], 1e-12);

%!test % on a tilted plane lengths are distances from its first point
%! steps = 1e-3 * [0.8 0 0.6; 0 1 0; -0.6 0 0.8]';
%! grid = pistonfield_grid([1e-3 2e-3 5e-3], steps, [4 3 1]);
%! h = pistonfield_plot(ones(4, 3), grid);
%! close_figure = onCleanup(@() close(h.figure));
%! assert(get(h.graphics, 'xdata')([1, end]), [0 3], 1e-12);
%! assert(label_of(h.axes, 'xlabel'), 'along the first direction (mm)');
%! assert(label_of(h.axes, 'ylabel'), 'y (mm)');
%! assert(label_of(h.axes, 'title'), 'plane through (1, 2, 5) mm');

%!test % a slice, its labels and its bar keep within axes that are given
%! [p, grid] = plane();
%! fig = figure('visible', 'off');
%! close_figure = onCleanup(@() close(fig));
%! given = axes('outerposition', [0.5 0 0.5 1]);
%! h = pistonfield_plot(p, grid, 'axes', given, 'title', 'mine');
%! assert(h.axes, given);
%! box = get(given, 'position');
%! bar = get(h.colorbar, 'position');
%! assert(box(1) > 0.5 && bar(1) > box(1) + box(3) && bar(1) + bar(3) < 1);
%! assert(label_of(given, 'title'), 'mine');

%!test % a field of zeros and one with gaps are drawn
%! [p, grid] = plane();
%! for show = {'magnitude', 'level', 'phase', 'real'}
%!   h = pistonfield_plot(0 * p, grid, 'show', show{1});
%!   close(h.figure);
%! end
%! p(1) = NaN;
%! h = pistonfield_plot(p, grid, 'show', 'level');
%! assert(get(h.axes, 'clim'), [-40 0]);
%! close(h.figure);

%!test % a figure prints to a file without a screen
%! [p, grid] = plane();
%! h = pistonfield_plot(p, grid);
%! file = [tempname(), '.png'];
%! clean = onCleanup(@() cellfun(@(f) f(), {@() close(h.figure), @() unlink(file)}, ...
%!                               'uniformoutput', false));
%! print(h.figure, file, '-dpng', '-r100');
%! assert(dir(file).bytes > 5e3);

%!error id=pistonfield:pistonfield_plot:arguments pistonfield_plot(1)
%!error id=pistonfield:pistonfield_plot:grid pistonfield_plot(1, 7)
%!error <a grid of one point> pistonfield_plot(1, pistonfield_grid(0, 0, 0))
%!error <as many values as the grid has points, 3> pistonfield_plot(1, pistonfield_grid(0, 0, 1:3))
%!error id=pistonfield:pistonfield_plot:p pistonfield_plot('abc', pistonfield_grid(0, 0, 1:3))
%!error id=pistonfield:pistonfield_plot:show
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'show', 'power');
%!error id=pistonfield:pistonfield_plot:along
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'along', 'up');
%!error id=pistonfield:pistonfield_plot:across
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'across', 'x', 'along', 'y');
%!error <more than one point along its direction>
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'along', 'x');
%!error <more than one point along both its directions>
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'across', 'x');
%!error id=pistonfield:pistonfield_plot:at
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'at', [1 2]);
%!error id=pistonfield:pistonfield_plot:reference
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'reference', 0);
%!error id=pistonfield:pistonfield_plot:range
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'range', -1);
%!error id=pistonfield:pistonfield_plot:limits
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'limits', [1 0]);
%!error id=pistonfield:pistonfield_plot:unit
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'unit', 1);
%!error id=pistonfield:pistonfield_plot:title
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'title', 1);
%!error id=pistonfield:pistonfield_plot:axes
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'axes', 'here');
%!error <say which by 'across'>
%! figure('visible', 'off');
%! close_figure = onCleanup(@() close(gcf()));
%! pistonfield_plot(ones(2, 2, 2), pistonfield_grid(1:2, 1:2, 1:2), 'axes', axes());
%!error <must be perpendicular>
%! grid = pistonfield_grid([0 0 0], [1 0.5 0; 0 1 0; 0 0 1], [2 2 1]);
%! pistonfield_plot(ones(2, 2), grid);
%!error <no option>
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'colour', 'red');
