% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [values, shape, info] = field_of(caller, quantity, source, grid, given)
  % [values, shape, info] = field_of(caller, quantity, source, grid, given): the 'pressure', the
  % particle 'velocity' or the 'intensity' of a piston or an array on a grid or at a list of points,
  % with the options of pistonfield_pressure in the cell array given. values are N by C by M: at all
  % points, of one component or three along x, y and z, for each weighting; in Pa, m/s or W/m^2. shape
  % is that of one component at all points. info is the one of pistonfield_pressure.
  start = tic();
  require_module(caller);
  source = read_source(caller, source);
  [points, sizes, shape] = read_place(caller, grid);
  options = read_pressure_options(caller, given, medium_defaults(struct('weights', [])));
  [source, elements, weightings] = with_weights(caller, source, options);
  options.physics = read_physics(caller, quantity, source, options);
  components = 3 - 2 * strcmp(quantity, 'pressure');
  fields = components * weightings;
  bytes = bytes_of_field(points, sizes, fields, components);
  require_memory(caller, sizes, bytes, options.memory);
  place = place_of(caller, source, points, options);
  points = []; %#ok<NASGU>  % the columns of a list take memory

  k = options.physics.wavenumber;
  info = field_accuracy(caller, place, sizes, source, k, options);
  [velocity, power] = drive_of(caller, source, k, options);
  unit = unit_of_quantity(quantity, options.density * options.physics.speed, velocity);
  if options.byMode
    field = @(place, sizes, varargin) unit * module_field(place, sizes, source, k, options.mode, ...
                                                          info.order, options.threads, varargin{:});
    box = @(first, count) mode_box(field, place, sizes, options.mode, first, count);
    evaluations = 4 * info.order;
  else
    box = @(first, count) engine_box(unit, place, sizes, source, k, options, first, count);
    evaluations = info.evaluations;
    if strncmp(info.engine, 'sum', 3)
      evaluations = evaluations + elements * (1 + fields);  % what each element takes beside them
    elseif ~options.physics.isPlain
      evaluations = 20 * evaluations;  % which take longer along outlines
    end
  end
  [values, slabs, moved] = by_slabs(box, sizes, fields, points_of_slab(bytes, options), ...
                                    points_to_begin(evaluations), ...
                                    start_progress(caller, options.progress));
  values = turned(reshape(values, [], components, weightings), source);
  info.elements = elements;
  info.weightings = weightings;
  info.wavenumber = k;
  info.velocity = velocity;
  info.power = power;
  info.slabs = slabs;
  info.moved = moved;
  info.seconds = toc(start);
end

% Components along the axes of the frame in which the points are given. Those of a piston are computed
% along its own.
function values = turned(values, source)
  if ~isfield(source, 'weights')
    values = turn_components(values, source.orientation);
  end
end

% A grid, or the columns of a list of points; their sizes, and those of the pressure, without a last
% one of 1.
function [grid, sizes, shape] = read_place(caller, given)
  require(isstruct(given) || is_point_list(given), caller, 'grid', ...
          ['grid must be a struct made by pistonfield_grid, or a list of points: an N by 3 matrix, ', ...
           'or a struct with x, y and z']);
  if is_point_list(given)
    [grid, shape] = read_points(caller, given);
    sizes = [numel(grid.x), 1, 1];
    if ~isstruct(given)
      shape = sizes(1);
    end
  else
    require_grid(caller, given);
    grid = given;
    sizes = grid.sizes;
    shape = sizes;
  end
end

% Where the points lie in the source's frame, when the options can be had there. That of an array is
% the one in which the points are given, and the module looks which lie behind its elements.
function place = place_of(caller, source, grid, options)
  isArray = isfield(source, 'weights');
  isList = is_point_list(grid);
  require(~isList || ~options.byMode, caller, 'points', ...
          'a list of points goes with a tolerance, without mode and order');
  if ~isList
    require_rows(caller, grid.sizes, options.mode, options.arithmetic);
  end
  if isArray && isList
    place = grid;
  elseif isArray
    place = grid.transform;
  elseif isList
    place = points_before(caller, source, grid, options.behind);
  else
    place = place_before(caller, source, grid, options.behind);
  end
end

% What the tolerance engine computes of a box, in Pa.
function [values, moved] = engine_box(unit, place, sizes, source, k, options, first, count)
  values = unit * engine_field(place, sizes, source, k, options, first, count);
  moved = 0;
end

% What a mode computes of a box, where the points over a corner have to be moved.
function [values, moved] = mode_box(field, place, sizes, mode, first, count)
  values = field(place, sizes, first, count);
  [lost, found] = corner_values(values, first, field, place, mode);
  values(lost) = found;
  moved = numel(lost);
end

% Bytes for all fields, twice where the components are then told apart, and their positions, where
% there are any, in the source's frame and in the module; and for each point of a slab: what the module
% computes with, its result, Octave's copy, and what is made of it.
function bytes = bytes_of_field(grid, sizes, fields, components)
  bytes = struct('whole', 16 * fields * prod(sizes) * min(components, 2), 'each', 56 * fields);
  if is_point_list(grid)
    bytes.whole = bytes.whole + 48 * prod(sizes);
  end
end

function require_memory(caller, sizes, bytes, memory)
  least = bytes.whole + bytes.each;
  require(least <= memory, caller, 'memory', ...
          'a field of %d x %d x %d points needs %s, more than the %s that memory allows', ...
          sizes, bytes_as_text(least), bytes_as_text(memory));
end

% The most points of a slab that the memory limit leaves room for. In the modes of a GPU values are in
% memory of the host, too, on their way from the device.
function most = points_of_slab(bytes, options)
  each = bytes.each;
  if options.byMode && any(strcmp(options.mode, {'cuda', 'cudadp'}))
    each = each + 16;
  end
  most = max(1, floor((options.memory - bytes.whole) / each));
end

% The points of a first slab: 0.1 s on one core, or not much more: a point takes as long as some
% evaluations beside its own.
function points = points_to_begin(evaluations)
  beside = 20;
  points = ceil(1e8 / (evaluations + beside));
end

% In slabs of a second, beside what each call takes, so that progress is shown and Ctrl-C is heeded at
% least that often; of twice that where it takes longer, as it may for an array.
function [p, slabs, moved] = by_slabs(box, sizes, fields, most, points, progress)
  total = prod(sizes);
  if total <= min(most, points)
    [p, moved] = box([0 0 0], sizes);
    slabs = 1;
    return
  end
  call = time_of(@() box([0 0 0], [1 1 1]));
  wanted_seconds = max(1, 2 * call);
  % complex(zeros(...)) would hold 24 bytes a point for a while.
  p = 1i;
  p(total, fields) = 0;
  slabs = 0;
  moved = 0;
  done = 0;
  while done < total
    slab = []; %#ok<NASGU>  % the next one needs its memory
    start = tic();
    wanted = max(1, min(most, points));
    [first, count] = next_slab(sizes, done, wanted);
    [slab, beside] = box(first, count);
    n = prod(count);
    if n > wanted / 2  % what is left of a layer or a row tells little
      seconds = max(toc(start) - call, call / 4);  % the difference of two times is not exact
      points = n * min(16, wanted_seconds / seconds);
    end
    p(done + (1:n), :) = reshape(slab, n, fields);
    done = done + n;
    slabs = slabs + 1;
    moved = moved + beside;
    progress = show_progress(progress, done / total);
  end
end

function seconds = time_of(work)
  start = tic();
  work();
  seconds = toc(start);
end
