function h = pistonfield_plot(p, grid, varargin)
  % pistonfield_plot: draws a field to scale, as slices or as profiles, an array or a piston.
  %
  % DESCRIPTION
  %   Draws what the grid holds: a line as a profile, a plane as a slice, a volume as three slices
  %   through one point. 'along' and 'across' choose one profile or one slice. Slices are to scale,
  %   and all slices of a figure have the same scale. Lengths are in mm. A slice across z has x to
  %   the right and y upwards; the others have z to the right. Points without a value are grey.
  %
  %   Numbers are given in the units of the functions that compute, in m and in the unit of p, also
  %   where the drawing shows mm and kPa.
  %
  %   Of an array, or a piston, the elements' faces are drawn, as seen from before it, and from the
  %   side as well unless all lie in one plane across z. They are coloured by the weights that are
  %   given; those whose weight is 0 have no phase and are grey.
  %
  %   Without a screen the figure is invisible and can be printed to a file as any other.
  %
  % USAGE
  %   pistonfield_plot(p, grid)
  %   pistonfield_plot(p, grid, name, value, ...)
  %   pistonfield_plot(array)
  %   pistonfield_plot(piston)
  %   pistonfield_plot(array, 'weights', w, name, value, ...)
  %   h = pistonfield_plot(...)
  %
  % INPUTS
  %   p     - the field [Pa, or 'unit'], of the grid's sizes, with those of one point or without;
  %           or a vector of all its values. Of several weightings, along the last dimension, the
  %           option 'weighting' says which one is drawn
  %   grid  - where its points lie, made by pistonfield_grid
  %   array - made by pistonfield_array, or a struct as pistonfield_pressure takes it; with the options
  %           'weights', 'show', 'colormap', 'title' and 'axes' alone; or a piston, as an array of one
  %
  % OPTIONAL INPUTS (names and values)
  %   'show'      - 'magnitude' of p (default), its 'level' [dB], its 'phase' [degrees] or its
  %                 'real' part. Of an array the 'phase' (default) or the 'magnitude' of the weights
  %   'weights'   - of an array: one for each element, complex or real
  %   'weighting' - of the fields of an array's several weightings: the number of the one to draw
  %   'along'     - 'x', 'y' or 'z': a profile along the grid's first, second or third direction
  %   'across'    - 'x', 'y' or 'z': a slice across that direction
  %   'at'        - the point [m] that slices and profiles go through, or the grid point nearest to
  %                 it, with a warning where it lies outside of the grid; the place of the largest
  %                 |p| by default
  %   'reference' - the magnitude of 0 dB [unit of p]; the largest |p| by default
  %   'range'     - the levels shown, down from the largest [dB]; 40 by default
  %   'limits'    - [lowest, highest] of what is shown [unit of p; dB; degrees]; by default chosen
  %                 from the values
  %   'unit'      - 'Pa', 'kPa' or 'MPa': what p, which is in Pa, is shown in; by default the one
  %                 that reads best. Another text is the unit of p itself, such as 'm/s'; '' is
  %                 none.
  %   'piston'    - the piston or the array as pistonfield_pressure takes it, or a struct array of
  %                 pistons: slices show its outline, as seen along their normal. They grow to show it, at most to twice
  %                 their size.
  %   'colormap'  - the colours of slices: N by 3, red, green and blue from 0 to 1; or the name of
  %                 a map, such as 'gray'
  %   'title'     - a text; by default where the slice or line lies
  %   'axes'      - axes to draw one slice or profile into, or an array as seen from before it; a new
  %                 figure by default. The slice, its
  %                 labels and its colour bar keep within the axes' outer bounds.
  %
  % OUTPUTS
  %   h     - struct of handles, with an element for every slice or line in the fields
  %             figure    the figure
  %             axes      the axes
  %             graphics  the images or the line
  %             colorbar  the colour bar; empty for a profile, and for an array without weights
  %
  % EXAMPLES
  %   grid = pistonfield_grid((-10:0.2:10) * 1e-3, 0, (0.5:0.2:60) * 1e-3);
  %   p = pistonfield_pressure(struct('width', 7.5e-3, 'height', 5e-3), grid, 'frequency', 1e6);
  %   pistonfield_plot(p, grid);
  %   pistonfield_plot(p, grid, 'show', 'level', 'range', 30);
  %   pistonfield_plot(p, grid, 'along', 'z', 'at', [0 0 0]);
  %   array = pistonfield_array('line', 'elements', 64, 'pitch', 0.3e-3, 'width', 0.27e-3, ...
  %                             'height', 10e-3);
  %   w = pistonfield_focus(array, [0 0 30e-3], 'frequency', 2.5e6);
  %   pistonfield_plot(array, 'weights', w);
  %   pistonfield_plot(p, grid, 'piston', struct('width', 7.5e-3, 'height', 5e-3), 'unit', 'kPa');
  %
  % See also: pistonfield_array, pistonfield_grid, pistonfield_pressure

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_plot';
  if nargin > 0 && isstruct(p)
    pairs = varargin;
    if nargin > 1
      pairs = [{grid}, varargin];
    end
    drawing = draw_array(caller, p, pairs);
    if nargout > 0
      h = drawing;
    end
    return
  end
  require(nargin >= 2, caller, 'arguments', 'give a field and its grid, or an array');
  require_grid(caller, grid);
  options = read_plot_options(caller, varargin);
  p = on_grid(caller, one_weighting(caller, p, grid.sizes, options.weighting), grid.sizes);
  require(any(isfinite(p(:))), caller, 'p', 'p has no finite value: all are NaN or Inf');
  require(any(p(:) ~= 0) || ~strcmp(options.show, 'level'), caller, 'p', ...
          'p is 0 everywhere, which has no level in dB');
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

% Of the fields of several weightings, along the last dimension, the one that is drawn.
function p = one_weighting(caller, p, sizes, number)
  count = numel(p) / prod(sizes);
  given = size(p);
  if isnumeric(p) && count > 1 && isequal(given, [sizes, count])
    require(~isempty(number), caller, 'weighting', ...
            'p has the fields of %d weightings: the option ''weighting'' says which one', count);
    require(number <= count, caller, 'weighting', ...
            'weighting must be from 1 to %d: so many fields are in p', count);
    p = p(:, :, :, number);
    return
  end
  require(isempty(number) || number == 1, caller, 'weighting', ...
          'p has the field of one weighting');
end

% The field as an array of the grid's sizes.
function p = on_grid(caller, p, sizes)
  require(isnumeric(p) && numel(p) == prod(sizes), caller, 'p', ...
          'p must have as many values as the grid has points, %d', prod(sizes));
  given = size(p);
  given = given(given > 1);
  wanted = sizes(sizes > 1);
  if numel(given) > 1 && ~isequal(given, wanted)
    if isequal(given, fliplr(wanted)) && numel(wanted) == 2
      hint = 'it is transposed, give p.''';
    elseif isequal(sort(given), sort(wanted))
      hint = 'its directions are in another order, permute it';
    else
      hint = 'its shape is another, reshape it';
    end
    require(false, caller, 'p', 'p is %s where the grid has %d x %d x %d points: %s', ...
            strjoin(arrayfun(@num2str, size(p), 'UniformOutput', false), ' x '), sizes, hint);
  end
  p = reshape(p, sizes);
end

function options = read_plot_options(caller, given)
  defaults = struct('show', 'magnitude', 'along', '', 'across', '', 'at', [], ...
                    'reference', [], 'range', 40, 'limits', [], 'unit', [], 'piston', [], ...
                    'colormap', [], 'title', [], 'axes', [], 'weighting', []);
  options = read_options(caller, defaults, given);
  require(isempty(options.weighting) || (is_positive(options.weighting) && ...
                                         options.weighting == fix(options.weighting)), ...
          caller, 'weighting', 'weighting must be a whole number from 1 on');
  require_word(caller, 'show', options.show, {'magnitude', 'level', 'phase', 'real'});
  options.along = direction_of(caller, 'along', options.along);
  options.across = direction_of(caller, 'across', options.across);
  require(isempty(options.along) || isempty(options.across), caller, 'across', ...
          'give along or across, not both');
  require(isempty(options.at) || (is_finite_real(options.at) && numel(options.at) == 3), ...
          caller, 'at', 'at must be three real, finite numbers, in m');
  require(isempty(options.reference) || is_positive(options.reference), caller, 'reference', ...
          'reference must be a number above 0, in the unit of p');
  require(is_positive(options.range), caller, 'range', 'range must be a number above 0, in dB');
  limits = options.limits;
  require(isempty(limits) || (is_finite_real(limits) && numel(limits) == 2 && ...
                              limits(1) < limits(2)), ...
          caller, 'limits', 'limits must be two rising numbers');
  options.limits = double(limits(:).');
  require(ischar(options.unit) || isempty(options.unit), caller, 'unit', 'unit must be a text');
  % Another text would be the unit of p itself, and the axis wrong by a power of ten.
  known = {'Pa', 'kPa', 'MPa'};
  meant = known(strcmpi(options.unit, known) & ~strcmp(options.unit, known));
  require(isempty(meant), caller, 'unit', '%s is written %s', options.unit, [meant{:}]);
  options.piston = read_pistons(caller, options.piston);
  options.colormap = colours_of(caller, options.colormap, options.show);
  require(isempty(options.title) || ischar(options.title), caller, 'title', ...
          'title must be a text');
  axes = options.axes;
  require(isempty(axes) || (isscalar(axes) && ishghandle(axes) && ...
                            strcmp(get(axes, 'type'), 'axes')), ...
          caller, 'axes', 'axes must be a handle of axes');
end

function sources = read_pistons(caller, given)
  sources = {};
  require(isempty(given) || isstruct(given), caller, 'piston', ...
          'piston must be a struct with the fields width and height, or an array of them');
  for i = 1:numel(given)
    sources{i} = read_source(caller, given(i));
  end
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

% A slice or profile through the nearest point is another one than was asked for where that lies
% more than half a step beyond the grid, along a direction in which there is a choice.
function warn_of_outside(place, grid, directions)
  long = find(grid.sizes > 1);
  if isempty(place) || isempty(long)
    return
  end
  indices = zeros(1, 3);
  indices(long) = (double(place(:).') - grid.transform(4, 1:3)) / grid.transform(long, 1:3);
  beyond = indices < -0.5 | indices > grid.sizes - 0.5;
  missed = directions(beyond(directions));
  if ~isempty(missed)
    letters = 'xyz';
    warning('pistonfield:outside', ...
            ['at lies outside of the grid along its %s: what is drawn goes through ', ...
             'the nearest point'], ...
            strjoin(num2cell(letters(sort(missed))), ', '));
  end
end

% What is drawn: values, their label and limits.
function quantity = quantity_of(p, options)
  largest = max([abs(finite(p)); 0]);
  [scale, unit] = shown_unit(max([largest, abs(options.limits)]), options.unit);
  given = options.limits * scale;
  switch options.show
    case 'magnitude'
      values = abs(p) * scale;
      label = ['|p|', in_brackets(unit)];
      limits = [0, largest * scale];
    case 'real'
      values = real(p) * scale;
      label = ['Re p', in_brackets(unit)];
      limits = max([abs(finite(values)); 0]) * [-1, 1];
    case 'phase'
      values = angle(p) * 180 / pi;
      label = 'phase of p (degrees)';
      limits = [-180, 180];
      given = options.limits;
    case 'level'
      [values, label] = level_of(p, largest, options);
      limits = max(finite(values)) + [-options.range, 0];
      given = options.limits;
  end
  if ~isempty(given)
    limits = given;
  elseif limits(1) >= limits(2)
    limits = limits(1) + [0, 1];  % a field that is zero everywhere
  end
  if strcmp(options.show, 'level')
    values(values < limits(1)) = limits(1);
  end
  quantity = struct('values', values, 'label', label, 'limits', limits);
end

function values = finite(values)
  values = values(:);
  values = values(isfinite(values));
end

function [values, label] = level_of(p, largest, options)
  reference = options.reference;
  kind = '';
  if isempty(reference)
    reference = largest;
    kind = ', the largest |p|';
  end
  values = 20 * log10(abs(p) / reference);
  [scale, unit] = shown_unit(reference, options.unit);
  label = strtrim(sprintf('%.3g %s', reference * scale, unit));
  label = ['level (dB re ', label, kind, ')'];
end

function text = in_brackets(unit)
  text = '';
  if ~isempty(unit)
    text = [' (', unit, ')'];
  end
end

% The unit in which values up to the largest are shown, and what p is multiplied by for it.
function [scale, unit] = shown_unit(largest, unit)
  names = {'Pa', 'kPa', 'MPa'};
  scales = [1, 1e-3, 1e-6];
  if ~ischar(unit)  % an empty text is no unit
    unit = names{1 + (largest >= 1e3) + (largest >= 1e6)};
  end
  scale = [scales(strcmp(unit, names)), 1];
  scale = scale(1);
end

function drawing = draw_profile(quantity, grid, at, direction, options)
  require(grid.sizes(direction) > 1, 'pistonfield_plot', 'along', ...
          'a profile needs more than one point along its direction');
  warn_of_outside(options.at, grid, setdiff(1:3, direction));
  ruler = ruler_of(grid, at, direction, direction);
  values = pick(quantity.values, at, direction);
  limits = quantity.limits;
  if isempty(options.limits) && strcmp(options.show, 'magnitude')
    limits = 1.05 * limits;
  end
  ax = options.axes;
  if isempty(ax)
    ax = axes('parent', new_figure(800, 450));
  end
  line = plot(ax, ruler.values, values(:), 'linewidth', 2, 'color', [0.42 0.09 0.43]);
  set(ax, 'xlim', sort(ruler.values([1, end])), 'ylim', limits, 'xgrid', 'on', ...
      'ygrid', 'on', 'gridcolor', [0.8 0.8 0.8]);
  xlabel(ax, ruler.label);
  ylabel(ax, quantity.label);
  put_title(ax, options.title, line_title(grid, at, direction));
  drawing = struct('figure', get(ax, 'parent'), 'axes', ax, 'graphics', line, 'colorbar', []);
end

function drawing = draw_slices(quantity, grid, at, normals, options)
  warn_of_outside(options.at, grid, normals);
  count = numel(normals);
  slices = cell(1, count);
  for i = 1:count
    slices{i} = slice_of(quantity.values, grid, at, normals(i), options.piston);
  end
  extents = cell2mat(cellfun(@(slice) slice.extent(:), slices, 'uniformoutput', false));
  [fig, boxes, bar_box, bar_place] = lay_out(extents, options.axes);
  pixels = size_in_pixels(fig);
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
        'xlim', slice.limits(1, :), 'ylim', slice.limits(2, :), ...
        'xtick', ticks(slice.limits(1, :), slice.right, boxes(i, 3) * pixels(1) / 55), ...
        'ytick', ticks(slice.limits(2, :), slice.up, boxes(i, 4) * pixels(2) / 30));
    colormap(axis_i, options.colormap);
    hide_gaps(axis_i, slice);
    outline(axis_i, slice.outlines);
    xlabel(axis_i, slice.rulers(1).label);
    ylabel(axis_i, slice.rulers(2).label);
    if count > 1 && boxes(i, 3) * pixels(1) < 130
      slice.title = strrep(slice.title, 'plane ', '');
    end
    put_title(axis_i, options.title, slice.title);
    ax(i) = axis_i;
    images(i) = image_i;
  end
  bar = colorbar(ax(end), bar_place);
  if strcmp(bar_place, 'southoutside')
    xlabel(bar, quantity.label);
    set(bar, 'xtick', bar_ticks(quantity, options, bar_box(3) * pixels(1)));
  else
    ylabel(bar, quantity.label);
    set(bar, 'ytick', bar_ticks(quantity, options, bar_box(4) * pixels(2)));
  end
  for i = 1:count
    set(ax(i), 'position', boxes(i, :));
  end
  set(bar, 'position', bar_box);
  drawing = struct('figure', fig, 'axes', ax, 'graphics', images, 'colorbar', bar);
end

function values = bar_ticks(quantity, options, pixels)
  if strcmp(options.show, 'phase') && isempty(options.limits)
    values = -180:90:180;
  else
    values = ticks(quantity.limits, quantity.limits, pixels / 45);
  end
end

% One slice: its values with the vertical direction first; the rulers to the right and upwards, the
% limits along them and the extent; outlines of pistons and arrays; its title.
function slice = slice_of(values, grid, at, normal, sources)
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
  slice.rulers = [ruler_of(grid, at, right, [right, up]), ruler_of(grid, at, up, [right, up])];
  [slice.right, across] = rising(slice.rulers(1).values, across, 2);
  [slice.up, across] = rising(slice.rulers(2).values, across, 1);
  slice.values = across;
  slice.limits = [edges_of(slice.right, lengths(1)); edges_of(slice.up, lengths(2))];
  slice.outlines = cell(1, numel(sources));
  for i = 1:numel(sources)
    slice.outlines{i} = outline_of(sources{i}, slice.rulers);
  end
  slice.limits = grown(slice.limits, [slice.outlines{:}]);
  slice.extent = diff(slice.limits, 1, 2);
  slice.title = plane_title(grid, at, steps);
end

% The rim of a piston along two rulers, of a rectangle its corners, 2 by 5, the first one twice; of an
% array those of one element after the other, with gaps of NaN.
function corners = outline_of(source, rulers)
  [~, corners] = face_corners(source);
  if size(corners, 3) > 1
    corners(:, end + 1, :) = NaN;
  end
  corners = reshape(corners, 3, []).';
  corners = [along(rulers(1), corners), along(rulers(2), corners)].';
end

% Limits that hold points, 2 by N, too, unless they then need more than twice the room.
function limits = grown(limits, points)
  if isempty(points)
    return
  end
  room = diff(limits, 1, 2);
  margin = 0.012 * room;
  wanted = [min([limits(:, 1), min(points, [], 2) - margin], [], 2), ...
            max([limits(:, 2), max(points, [], 2) + margin], [], 2)];
  if all(diff(wanted, 1, 2) <= 2 * room)
    limits = wanted;
  end
end

% Points without a value in grey, which a map of colours has no place for.
function hide_gaps(ax, slice)
  [row, column] = find(isnan(slice.values));
  if isempty(row)
    return
  end
  half = [diff(slice.right(1:2)), diff(slice.up(1:2))] / 2;
  x = bsxfun(@plus, slice.right(column(:).'), half(1) * [-1; 1; 1; -1]);
  y = bsxfun(@plus, slice.up(row(:).'), half(2) * [-1; -1; 1; 1]);
  patch('parent', ax, 'xdata', x, 'ydata', y, 'facecolor', [0.6 0.6 0.6], 'edgecolor', 'none');
end

% In a dark rim, so that they are seen on all colours.
function outline(ax, outlines)
  for i = 1:numel(outlines)
    corners = outlines{i};
    widths = [7, 4] / (1 + any(isnan(corners(1, :))));  % elements may be small
    for look = {widths(1), [0 0 0]; widths(2), [0.2 0.9 0.8]}.'
      line('parent', ax, 'xdata', corners(1, :), 'ydata', corners(2, :), ...
           'linewidth', look{1}, 'color', look{2});
    end
  end
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

% A ruler along a direction: where its points lie [mm], their label, and the unit vector and origin
% by which other points are placed on it. It shows a coordinate where the direction is one of x, y
% and z and no other that is drawn shares it, otherwise the distance from the first point.
function ruler = ruler_of(grid, at, direction, drawn)
  steps = grid.transform(1:3, 1:3);
  step = steps(direction, :);
  axis_number = find(step ~= 0);
  others = setdiff(drawn, direction);
  if numel(axis_number) == 1 && all(steps(others, axis_number) == 0)
    letters = 'xyz';
    ruler.unit = double((1:3) == axis_number);
    ruler.origin = [0 0 0];
    ruler.label = [letters(axis_number), ' (mm)'];
  else
    names = {'first', 'second', 'third'};
    first = at;
    first(direction) = 0;
    ruler.unit = step / norm(step);
    ruler.origin = position_of(grid, first);
    ruler.label = ['along the ', names{direction}, ' direction (mm)'];
  end
  count = (0:grid.sizes(direction) - 1).' - at(direction);
  points = bsxfun(@plus, position_of(grid, at), count * step);
  ruler.values = along(ruler, points).';
end

% Where points, N by 3 [m], lie along a ruler [mm].
function values = along(ruler, points)
  values = bsxfun(@minus, points, ruler.origin) * ruler.unit.' * 1e3;
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

%!test % a place outside of the grid is told, where slices or profiles depend on it
%! [p, grid] = volume();
%! outside = @(missed) ['at lies outside of the grid along its ', missed, ...
%!                      ': what is drawn goes through the nearest point'];
%! cases = {{'across', 'z', 'at', [9 9 9.6] * 1e-3}, outside('z')
%!          {'across', 'z', 'at', [9 9 9.4] * 1e-3}, ''
%!          {'across', 'z', 'at', [9 9 0.4] * 1e-3}, outside('z')
%!          {'along', 'z', 'at', [0 -9 99] * 1e-3}, outside('y')
%!          {'at', [-3 4 1] * 1e-3}, outside('x, y')
%!          {'at', [-2 3 1] * 1e-3}, ''};
%! for i = 1:rows(cases)
%!   lastwarn('');
%!   h = pistonfield_plot(p, grid, cases{i, 1}{:});
%!   close(h.figure);
%!   assert(lastwarn(), cases{i, 2});
%! end
%! % A plane is drawn whole, wherever that is.
%! [p, grid] = plane();
%! lastwarn('');
%! h = pistonfield_plot(p, grid, 'at', [9 9 9]);
%! close(h.figure);
%! assert(lastwarn(), '');

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

%!test % 'limits' are in the unit of p, as 'reference' is, or in dB or degrees
%! [p, grid] = plane();
%! drawn = {{1e3, 'magnitude', [2e3 8e3], [2 8]}, {1e3, 'real', [-5e3 5e3], [-5 5]}, ...
%!          {1, 'magnitude', [1 2], [1 2]}, {1e3, 'level', [-20 -3], [-20 -3]}, ...
%!          {1e3, 'phase', [-90 90], [-90 90]}, {1, 'magnitude', [0 5e4], [0 50]}};
%! for i = 1:numel(drawn)
%!   one = drawn{i};
%!   h = pistonfield_plot(one{1} * p, grid, 'show', one{2}, 'limits', one{3});
%!   found = get(h.axes, 'clim');
%!   close(h.figure);
%!   assert(found, one{4}, 1e-12);
%! end

%!test % 'unit' is what the drawing shows; '' is none
%! [p, grid] = plane();
%! units = {'Pa', 'kPa', 'MPa', ''};  factors = [1, 1e-3, 1e-6, 1];
%! labels = {'|p| (Pa)', '|p| (kPa)', '|p| (MPa)', '|p|'};
%! for i = 1:4
%!   h = pistonfield_plot(1e3 * p, grid, 'unit', units{i}, 'limits', [0 1e4]);
%!   assert(label_of(h.colorbar, 'ylabel'), labels{i});
%!   assert(get(h.graphics, 'cdata'), squeeze(abs(p)) * 1e3 * factors(i), 1e-9);
%!   assert(get(h.axes, 'clim'), [0 1e4] * factors(i), 1e-9);
%!   close(h.figure);
%! end

%!test % the colours can be chosen, by values or by name
%! [p, grid] = plane();
%! for chosen = {[0 0 0; 1 0.5 0], 'gray'}
%!   h = pistonfield_plot(p, grid, 'colormap', chosen{1});
%!   map = colormap(h.axes);
%!   close(h.figure);
%!   if ischar(chosen{1})
%!     assert(map, gray(256));
%!   else
%!     assert(map, chosen{1});
%!   end
%! end

%!function found = lines_in(h)
%!  lines = findobj(h.axes, 'type', 'line');
%!  found = [get(lines(1), 'xdata'); get(lines(1), 'ydata')];
%!endfunction

%!test % the piston's outline: a line in a slice along its normal, a rectangle across it
%! [p, grid] = volume();
%! piston = struct('width', 2e-3, 'height', 1e-3, 'center', [0 1.5e-3 0.8e-3]);
%! h = pistonfield_plot(p, grid, 'across', 'y', 'piston', piston);
%! assert(lines_in(h), [0.8 0.8 0.8 0.8 0.8; -1 1 1 -1 -1], 1e-12);
%! close(h.figure);
%! h = pistonfield_plot(p, grid, 'across', 'z', 'piston', piston);
%! assert(lines_in(h), [-1 1 1 -1 -1; 1 1 2 2 1], 1e-12);
%! assert(get(h.axes, 'xlim'), [-2.5 2.5], 1e-12);
%! close(h.figure);
%! piston.orientation = [0 0 1; 0 1 0; -1 0 0];
%! h = pistonfield_plot(p, grid, 'across', 'y', 'piston', [piston, piston]);
%! close_figure = onCleanup(@() close(h.figure));
%! assert(lines_in(h), [1.8 -0.2 -0.2 1.8 1.8; 0 0 0 0 0], 1e-12);
%! assert(numel(findobj(h.axes, 'type', 'line')), 4);

%!test % a slice grows to show the piston, but to no more than twice its size
%! [p, grid] = plane();
%! moved = struct('width', 2e-3, 'height', 1e-3, 'center', [0 0 -2e-3]);
%! h = pistonfield_plot(p, grid, 'piston', moved);
%! assert(get(h.axes, 'xlim'), [-2 - 0.012 * 4.5, 4.25], 1e-12);
%! assert(box_of(h, 1)(1) / box_of(h, 1)(2), (6.25 + 0.012 * 4.5) / 5, 0.01);
%! close(h.figure);
%! moved.center(3) = -9e-3;
%! h = pistonfield_plot(p, grid, 'piston', moved);
%! close_figure = onCleanup(@() close(h.figure));
%! assert(get(h.axes, 'xlim'), [-0.25 4.25], 1e-12);

%!test % on a tilted plane, too, the outline is where it is seen
%! steps = 1e-3 * [0.8 0 0.6; 0 1 0; -0.6 0 0.8]';
%! grid = pistonfield_grid([1e-3 2e-3 5e-3], steps, [4 3 1]);
%! piston = struct('width', 1e-3, 'height', 1e-3, 'center', [1e-3 2e-3 5e-3]);
%! h = pistonfield_plot(ones(4, 3), grid, 'piston', piston);
%! close_figure = onCleanup(@() close(h.figure));
%! assert(lines_in(h), [0.4 * [-1 1 1 -1 -1]; 2 + 0.5 * [-1 -1 1 1 -1]], 1e-12);

%!test % the colour bar of a flat slice lies below it, and no bar is taller than the slices
%! flat = pistonfield_grid((-1:0.5:1) * 1e-3, 0, (0:0.5:60) * 1e-3);
%! h = pistonfield_plot(ones(flat.sizes), flat);
%! box = get(h.axes, 'position');
%! bar = get(h.colorbar, 'position');
%! whole = get(h.figure, 'position')(3:4);
%! assert(bar(2) + bar(4) < box(2) - 30 / whole(2));
%! assert(bar(4) * whole(2) < 20);
%! assert(get(get(h.colorbar, 'xlabel'), 'string'), '|p| (Pa)');
%! close(h.figure);
%! [p, grid] = volume();
%! h = pistonfield_plot(p, grid);
%! close_figure = onCleanup(@() close(h.figure));
%! tallest = max(cellfun(@(box) box(4), get(h.axes, 'position')));
%! assert(get(h.colorbar, 'position')(4) <= tallest + 1e-9);

%!test % slices keep room for their labels from each other
%! narrow = pistonfield_grid((-20:20) * 1e-3, (-20:20) * 1e-3, (1:3) * 1e-3);
%! h = pistonfield_plot(ones(narrow.sizes), narrow);
%! close_figure = onCleanup(@() close(h.figure));
%! boxes = cell2mat(get(h.axes(:), 'position'));
%! wide = get(h.figure, 'position')(3);
%! middles = (boxes(:, 1) + boxes(:, 3) / 2) * wide;
%! assert(middles(2) - middles(1) >= 200);
%! assert((boxes(3, 1) - boxes(2, 1) - boxes(2, 3)) * wide >= 75);
%! assert(label_of(h.axes(1), 'title'), 'y = -20 mm');

%!test % ticks are round numbers, and never -0
%! [p, grid] = plane();
%! h = pistonfield_plot(p, grid);
%! close_figure = onCleanup(@() close(h.figure));
%! found = get(h.axes, 'ytick');
%! assert(numel(found) >= 2 && all(2 * found == fix(2 * found)));
%! assert(! any(1 ./ found == -Inf));

%!test % points without a value are grey patches
%! [p, grid] = plane();
%! p(2, 1, 3) = NaN;
%! for show = {'magnitude', 'level', 'phase', 'real'}
%!   h = pistonfield_plot(p, grid, 'show', show{1});
%!   gaps = findobj(h.axes, 'type', 'patch');
%!   assert(numel(gaps), 1);
%!   assert(sort(get(gaps, 'xdata')(:)'), [0.75 0.75 1.25 1.25], 1e-12);
%!   assert(sort(get(gaps, 'ydata')(:)'), [-1.5 -1.5 -0.5 -0.5], 1e-12);
%!   close(h.figure);
%! end

%!test % phases are in degrees
%! [p, grid] = plane();
%! h = pistonfield_plot(p, grid, 'show', 'phase');
%! close_figure = onCleanup(@() close(h.figure));
%! assert(get(h.graphics, 'cdata')(1, 1:3), [0 0.5 1] * 180 / pi, 1e-10);
%! assert(get(h.axes, 'clim'), [-180 180]);

%!test % large pressures are in kPa and MPa, other units stay
%! [p, grid] = plane();
%! units = {[], [], 'm/s'};  factors = [1e3, 1e6, 1e6];
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
%! assert(box(1) > 0.5 && box(1) + box(3) < 1 && box(2) + box(4) < 1);
%! assert(bar(1) > 0.5 && bar(1) + bar(3) < 1 && bar(2) > 0 && bar(2) + bar(4) < box(2));
%! assert(label_of(given, 'title'), 'mine');

%!test % a field of zeros and one with gaps are drawn
%! [p, grid] = plane();
%! for show = {'magnitude', 'phase', 'real'}
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

%!test % of the fields of several weightings one is drawn
%! [p, grid] = plane();
%! fields = cat(4, p, 2 * p, 3 * p);
%! h = pistonfield_plot(fields, grid, 'weighting', 2);
%! assert(get(h.graphics, 'cdata'), 2 * squeeze(abs(p)), 1e-12);
%! close(h.figure);
%! fail('pistonfield_plot(fields, grid)', 'fields of 3 weightings: the option .weighting. says which');
%! fail('pistonfield_plot(fields, grid, "weighting", 4)', 'weighting must be from 1 to 3');
%! for wrong = {0, 1.5, NaN, 'all', [1 2], 1i}
%!   fail('pistonfield_plot(fields, grid, "weighting", wrong{1})', 'weighting must be a whole number');
%! end
%! fail('pistonfield_plot(p, grid, "weighting", 2)', 'p has the field of one weighting');
%! h = pistonfield_plot(p, grid, 'weighting', 1);
%! close(h.figure);

%!error id=pistonfield:pistonfield_plot:arguments pistonfield_plot(1)
%!error id=pistonfield:pistonfield_plot:grid pistonfield_plot(1, 7)
%!error <plot: grid must be a struct made by pistonfield_grid; pistonfield_pressure alone takes a list>
%! pistonfield_plot(1, [0 0 1]);
%!error <plot: grid must be a struct made by pistonfield_grid; pistonfield_pressure alone takes a list>
%! pistonfield_plot(1, struct('x', 0, 'y', 0, 'z', 1));
%!error <kpa is written kPa>
%! pistonfield_plot([1 2 3], pistonfield_grid(0, 0, 1:3), 'unit', 'kpa')
%!error <a grid of one point> pistonfield_plot(1, pistonfield_grid(0, 0, 0))
%!error <as many values as the grid has points, 3> pistonfield_plot(1, pistonfield_grid(0, 0, 1:3))
%!error id=pistonfield:pistonfield_plot:p pistonfield_plot('abc', pistonfield_grid(0, 0, 1:3))
%!error <p is 9 x 5 where the grid has 5 x 1 x 9 points: it is transposed, give p.'>
%! [p, grid] = plane();
%! pistonfield_plot(squeeze(p).', grid);
%!error <p is 9 x 4 x 5 where the grid has 5 x 4 x 9 points: its directions are in another order>
%! [p, grid] = volume();
%! pistonfield_plot(permute(p, [3 2 1]), grid);
%!error <p is 3 x 15 where the grid has 5 x 1 x 9 points: its shape is another, reshape it>
%! [p, grid] = plane();
%! pistonfield_plot(reshape(p, 3, 15), grid);
%!test % a vector of all values, or an array without the sizes of 1, is no other shape
%! [p, grid] = plane();
%! for form = {p(:), p(:).', squeeze(p)}
%!   h = pistonfield_plot(form{1}, grid);
%!   assert(get(h.graphics, 'cdata'), squeeze(abs(p)), 1e-12);
%!   close(h.figure);
%! end
%!error <p has no finite value: all are NaN or Inf>
%! pistonfield_plot(NaN(1, 3), pistonfield_grid(0, 0, 1:3));
%!error <p is 0 everywhere, which has no level in dB>
%! pistonfield_plot(zeros(1, 3), pistonfield_grid(0, 0, 1:3), 'show', 'level');
%!error id=pistonfield:pistonfield_plot:colormap
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'colormap', 'nowhere');
%!error id=pistonfield:pistonfield_plot:colormap
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'colormap', [0 0 2]);
%!error <plot: piston must be a struct with the fields width and height>
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'piston', 7);
%!error <plot: piston.height is missing>
%! pistonfield_plot(1:3, pistonfield_grid(0, 0, 1:3), 'piston', struct('width', 1));
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

%!function [array, w] = small_array()
%!  turn = [cosd(30) 0 sind(30); 0 1 0; -sind(30) 0 cosd(30)];
%!  array = struct('kind', 'two', 'width', [2e-3 1e-3], 'height', 3e-3, ...
%!                 'center', [-2e-3 1e-3; 0 0; 0 1e-3], 'orientation', cat(3, eye(3), turn));
%!  w = [1i; -2];
%!endfunction

%!test % an array is drawn from before it and from the side, to one scale, in mm
%! array = small_array();
%! h = pistonfield_plot(array);
%! close_figure = onCleanup(@() close(h.figure));
%! assert(numel(h.axes), 2);
%! assert(isempty(h.colorbar));
%! assert({label_of(h.axes(1), 'xlabel'), label_of(h.axes(2), 'xlabel')}, {'x (mm)', 'z (mm)'});
%! assert({label_of(h.axes(1), 'ylabel'), label_of(h.axes(2), 'ylabel')}, {'y (mm)', 'x (mm)'});
%! assert(label_of(h.axes(1), 'title'), '2 elements');
%! front = get(h.graphics(1), 'vertices');
%! half = 0.5 * cosd(30);
%! assert(front, [-3 -1 -1 -3, 1 + half * [-1 1 1 -1]; 1.5 * [-1 -1 1 1 -1 -1 1 1]]', 1e-12);
%! side = get(h.graphics(2), 'vertices');
%! assert(side(5:6, :), [1.25, 1 - half; 0.75, 1 + half], 1e-12);
%! scale = box_of(h, 1) ./ [diff(get(h.axes(1), 'xlim')), diff(get(h.axes(1), 'ylim'))];
%! assert(box_of(h, 2) ./ [diff(get(h.axes(2), 'xlim')), diff(get(h.axes(2), 'ylim'))], scale, ...
%!        0.01 * scale(1));
%! assert(scale(1), scale(2), 0.01 * scale(1));

%!test % its faces have the colours of the weights, the nearer ones over those behind
%! [array, w] = small_array();
%! h = pistonfield_plot(array, 'weights', w);
%! assert(get(h.graphics(1), 'faces'), [1:4; 5:8]);
%! assert(get(h.graphics(1), 'facevertexcdata'), [90; 180], 1e-12);
%! assert(get(h.axes(1), 'clim'), [-180 180]);
%! assert(label_of(h.colorbar, 'ylabel'), 'phase of the weights (degrees)');
%! close(h.figure);
%! array.center(3, :) = [5 1] * 1e-3;
%! h = pistonfield_plot(array, 'weights', w, 'show', 'magnitude', 'title', 'mine');
%! close_figure = onCleanup(@() close(h.figure));
%! assert(get(h.graphics(1), 'faces'), [5:8; 1:4]);
%! assert(get(h.graphics(1), 'facevertexcdata'), [2; 1], 1e-12);
%! assert(get(h.axes(1), 'clim'), [0 2]);
%! assert(label_of(h.colorbar, 'ylabel'), '|weights|');
%! assert(label_of(h.axes(1), 'title'), 'mine');

%!test % an element that is not driven has no phase, and is grey
%! h = pistonfield_plot(small_array(), 'weights', [0; 1i]);
%! close_figure = onCleanup(@() close(h.figure));
%! assert(get(h.graphics(1), 'faces'), 5:8);
%! assert(get(h.graphics(1), 'facevertexcdata'), 90, 1e-12);
%! others = setdiff(findobj(h.axes(1), 'type', 'patch'), h.graphics(1));
%! assert(get(others, 'faces'), 1:4);
%! assert(numel(unique(round(get(others, 'facecolor') * 10))) == 1);

%!test % a flat array is drawn once, and one in axes that are given
%! array = small_array();
%! flat = array;  flat.center(3, :) = 1e-3;  flat.orientation = cat(3, eye(3), eye(3));
%! h = pistonfield_plot(flat);
%! assert(numel(h.axes), 1);
%! close(h.figure);
%! fig = figure('visible', 'off');
%! close_figure = onCleanup(@() close(fig));
%! h = pistonfield_plot(array, 'weights', [1; 2], 'axes', axes());
%! assert(numel(h.axes) == 1 && h.figure == fig);

%!test % slices show the outlines of an array's elements
%! [p, grid] = volume();
%! h = pistonfield_plot(p, grid, 'across', 'z', 'piston', small_array());
%! close_figure = onCleanup(@() close(h.figure));
%! assert(lines_in(h)(1, [1:6, 8]), [-3 -1 -1 -3 -3 NaN, 1 + 0.5 * cosd(30)], 1e-12);
%! assert(numel(findobj(h.axes, 'type', 'line')), 2);

%!error <weights are 1 by 2, where the array has 2 elements.*transposed>
%! pistonfield_plot(small_array(), 'weights', [1 2]);
%!error id=pistonfield:pistonfield_plot:weights pistonfield_plot(small_array(), 'weights', [1 2])
%!error <weights must be one column> pistonfield_plot(small_array(), 'weights', ones(2, 2))
%!error <weights must be one column> pistonfield_plot(small_array(), 'weights', [NaN; 1])
%!error <show must be one of: phase, magnitude> pistonfield_plot(small_array(), 'show', 'level')
%!error <'piston' is no option; there are: weights, show>
%! pistonfield_plot(small_array(), 'piston', 1);
%!error <array.width is missing> pistonfield_plot(rmfield(small_array(), 'width'))
%!error id=pistonfield:pistonfield_plot:colormap pistonfield_plot(small_array(), 'colormap', 3)
%!error id=pistonfield:pistonfield_plot:axes pistonfield_plot(small_array(), 'axes', 'here')
%!test % shapes are drawn to scale, with holes: a ring, turned and moved
%! turn = [cosd(90) -sind(90) 0; sind(90) cosd(90) 0; 0 0 1];
%! ring = pistonfield_piston('ring', 'inner', 1e-3, 'outer', 2e-3, 'center', [5 0 0] * 1e-3, ...
%!                           'orientation', turn);
%! h = pistonfield_plot(ring);
%! corners = get(h.graphics, 'vertices');
%! from = hypot(corners(:, 1) - 5, corners(:, 2));
%! assert(all(abs(from - 1) < 1e-9 | abs(from - 2) < 1e-9));
%! assert([min(corners), max(corners)], [3 -2 7 2], 1e-9);
%! assert(polyarea(corners(:, 1), corners(:, 2)), 3 * pi, 3 * pi * 1e-3);
%! rim = findobj(h.axes, 'type', 'line');
%! x = get(rim(1), 'xdata');
%! assert(sum(isnan(x)), 2);
%! assert(get(get(h.axes, 'title'), 'string'), 'ring');
%! close(h.figure);

%!test % an array of shapes has the colours of its weights, each outline in its place
%! array = pistonfield_array('annular', 'radii', [0 1 2] * 1e-3);
%! h = pistonfield_plot(array, 'weights', [1; 1i]);
%! assert(get(h.graphics, 'facevertexcdata'), [0; 90]);
%! assert(size(get(h.graphics, 'faces'), 1), 2);
%! close(h.figure);
%! h = pistonfield_plot(struct('width', 2e-3, 'height', 1e-3));
%! assert(sortrows(get(h.graphics, 'vertices')), [-1 -0.5; -1 0.5; 1 -0.5; 1 0.5], 1e-12);
%! close(h.figure);

%!test % slices show the outline of a shape as that of a rectangle
%! grid = pistonfield_grid((-3:3) * 1e-3, (-3:3) * 1e-3, 1e-3);
%! h = pistonfield_plot(ones(7, 7), grid, 'piston', pistonfield_piston('disc', 'radius', 2e-3));
%! lines = findobj(h.axes, 'type', 'line');
%! x = get(lines(1), 'xdata');  y = get(lines(1), 'ydata');
%! assert(hypot(x, y), 2 * ones(size(x)), 1e-9);
%! assert([x(1), y(1)], [x(end), y(end)], 1e-9);
%! close(h.figure);

%!error <array.outlines: its first row must number the outlines>
%! array = pistonfield_array('annular', 'radii', [0 1 2] * 1e-3);
%! array.outlines(1, end) = 9;
%! pistonfield_plot(array);
%!error <piston.shape must be one of: disc> pistonfield_plot(struct('shape', 'round'))
%!error id=pistonfield:pistonfield_plot:title pistonfield_plot(small_array(), 'title', 1)
