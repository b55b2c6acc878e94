function [array, weights] = pistonfield_array(kind, varargin)
  % pistonfield_array: an array of pistons, for pistonfield_pressure.
  %
  % DESCRIPTION
  %   Places the elements of an array: a line, a matrix, a convex array, a bowl, or what a table
  %   says, of rectangular pistons; concentric rings, a honeycomb of hexagons, or any list of pistons
  %   of any shape. Each element radiates along its normal as if it lay in an infinite rigid baffle.
  %   Without an output the array is drawn to scale.
  %
  %   Arrays are built about the origin, radiating towards +z: lines and matrices in the plane z = 0,
  %   convex arrays and bowls with their middle or apex at the origin. 'center' and 'orientation' then
  %   move and turn the whole array.
  %
  %   Pistons that are no flat ones of one velocity are arrays, too, of flat tiles: 'apodised', a
  %   rectangle whose velocity is the product of a function of x and one of y; 'cap', a part of a
  %   sphere, and 'cylinder', a bent rectangle, which move along their normals, have their middle at
  %   the origin and their centre of curvature at z = radius. An estimate of what the tiles' field
  %   is off by is array.description.error. Weights of 'apodised' are the tiles' mean velocities.
  %   Any array is saved as a table, which 'table' reads back with all digits, and pistonfield-run
  %   takes as well.
  %
  % USAGE
  %   array = pistonfield_array('line', 'elements', n, 'width', w, 'height', h, 'pitch', d)
  %   array = pistonfield_array('matrix', 'elements', [m n], 'width', w, 'height', h, 'pitch', d)
  %   array = pistonfield_array('convex', 'elements', n, 'radius', r, 'width', w, 'height', h, ...
  %                             'pitch', d)
  %   array = pistonfield_array('bowl', 'radius', r, 'aperture', a, 'width', w, 'height', h, ...
  %                             'elements', n)
  %   array = pistonfield_array('annular', 'elements', n, 'radius', r)
  %   array = pistonfield_array('annular', 'radii', [r0 r1 ... rn])
  %   array = pistonfield_array('honeycomb', 'rings', n, 'width', w, 'pitch', d)
  %   array = pistonfield_array('list', 'pistons', {piston1, piston2, ...})
  %   [array, weights] = pistonfield_array('table', 'file', name)
  %   pistonfield_array(array, 'save', file)
  %   pistonfield_array(array, 'save', file, 'weights', w)
  %   [array, weights] = pistonfield_array('apodised', 'width', w, 'height', h, 'along_x', f, ...
  %                                        'along_y', g, 'wavelength', l, 'distance', d)
  %   array = pistonfield_array('cap', 'radius', r, 'aperture', a, 'wavelength', l)
  %   array = pistonfield_array('cylinder', 'radius', r, 'width', w, 'height', h, 'wavelength', l)
  %   pistonfield_array(...)
  %
  % INPUTS (names and values; lengths in m)
  %   'elements'      - line, convex: their number, side by side along x. matrix: the numbers of
  %                     columns, along x, and rows, along y; elements count along x first. bowl: they
  %                     lie along a spiral, from the apex outwards, each in its own part of the
  %                     surface. annular: the number of rings, which then have equal areas; the
  %                     innermost one is a disc
  %   'width'         - side of an element along the row, the arc or the ring [m]. honeycomb: of a
  %                     hexagon, from side to side. apodised: of the piston; cylinder: of the piston,
  %                     along the arc
  %   'height'        - its other side [m]
  %   'pitch'         - from centre to centre, along the arc of a convex array [m]. matrix: one
  %                     number or two, along x and y. bowl in rings: the least, along rings and
  %                     between them
  %   'kerf'          - instead of the pitch: from edge to edge [m]. annular: from ring to ring;
  %                     default 0
  %   'radius'        - convex: of the cylinder, whose axis is along y. bowl: of curvature; the focus
  %                     lies so far from the apex [m]. annular: where the last ring ends
  %   'inner'         - annular: where the first ring begins [m]; default 0, a disc
  %   'radii'         - annular, instead of the elements and the radius: where the first ring begins, 0
  %                     of a disc, and where each one ends [m]; with a kerf the middles of the gaps
  %   'rings'         - honeycomb: of hexagons about the one in the middle; 1 makes 7 elements, 2
  %                     make 19
  %   'pistons'       - list: cell array of pistons as pistonfield_piston makes them, with their
  %                     centres and orientations; or one piston, with
  %   'centers'       - list of one piston: 3 by N, where its centre goes for each element [m]
  %   'orientations'  - list of one piston: 3 by 3 by N rotations, or one for all; default that of
  %                     the piston
  %   'angle'         - convex, instead of the pitch: from centre to centre as seen from the
  %                     cylinder's axis [degrees]
  %   'aperture'      - bowl, cap: diameter of the rim [m]
  %   'opening_angle' - bowl, instead of the aperture: that of the rim as seen from the focus
  %                     [degrees]
  %   'hole'          - bowl, cap: diameter of a hole about the apex [m]; default none
  %   'counts'        - bowl in rings, instead of pitch and kerf: the elements of each ring, from the
  %                     innermost on
  %   'file'          - table: a file of comma-separated values, whose first line names the columns:
  %                     x [mm], y [mm], z [mm], width [mm], height [mm]; with units of m, cm, mm or
  %                     um. Optional: normal x, normal y, normal z; along x, ... of the direction of
  %                     the width, up x, ... of the height; and amplitude and phase [deg], or re and
  %                     im, of weights; in place of the sides outline [mm], as 'save' writes it and
  %                     docs/run.md says
  %
  %   'along_x'       - apodised: the velocity along x, from -1 to 1 at the ends of the side: the
  %                     coefficients of 1, x, x^2, ...; the name of a window of pistonfield_focus, or
  %                     a cell array of that and its parameter; default 1
  %   'along_y'       - apodised: the same along y
  %   'distance'      - apodised: the least distance of points from the face [m]
  %   'tolerance'     - apodised: the largest estimated error at such points and farther away,
  %                     relative to that of 'local' of pistonfield_pressure; default 1e-2. Tiles are
  %                     shorter than half a wavelength, and their number along each side goes with
  %                     1/sqrt(tolerance)
  %   'wavelength'    - apodised, cap, cylinder: of the wave that is to be computed [m]
  %   'fraction'      - cap, cylinder: of the wavelength, how far tiles may lie from the face;
  %                     default 1/32, at most 1/8. The error, relative to what |p| would be if all of
  %                     the face arrived in phase, is estimated from above
  %                     as 2*pi*fraction and the part of the area that tiles have elsewhere
  %
  % OPTIONAL INPUTS (names and values)
  %   'center'        - where the array's origin goes [m], 3-vector; default 0, 0, 0
  %   'orientation'   - 3 by 3 rotation matrix whose columns are the array's x, y and z; default
  %                     eye(3)
  %   'weights'       - 'save': N complex weights, which go to the file, too
  %   'overwrite'     - 'save': true replaces a file that exists, which is refused otherwise
  %
  % OUTPUTS
  %   array   - struct with the fields
  %               width, height  one number, or one for each of N elements [m]; of rings, hexagons
  %                              and lists in their place:
  %               outlines       8 by E, the edges of all different outlines: the number of the
  %                              outline and that of its loop, from 1; 0 and x and y of both ends of a
  %                              straight edge, and 0; or 1, x, y and radius of an arc, where it begins
  %                              and by how much it turns [m, rad]. The face lies to the left
  %               outline        the number of each element's outline, or one for all
  %               center         3 by N: the elements' centres [m]
  %               orientation    3 by 3 by N: for each element the directions of its width, of its
  %                              height and of its normal, in columns
  %               kind           the kind, such as 'line'
  %               description    struct of the inputs; with the error of tiles
  %   weights - N by 1: the weights in a table, complex, or of the tiles of an apodised piston; empty
  %             where there are none
  %
  % EXAMPLES
  %   % 64 elements in a line, with a focus at z = 30 mm.
  %   array = pistonfield_array('line', 'elements', 64, 'pitch', 0.3e-3, 'width', 0.27e-3, ...
  %                             'height', 10e-3);
  %   w = pistonfield_focus(array, [0 0 30e-3], 'frequency', 2.5e6);
  %   grid = pistonfield_grid((-10:0.2:10) * 1e-3, 0, (1:0.2:60) * 1e-3);
  %   p = pistonfield_pressure(array, grid, 'frequency', 2.5e6, 'weights', w);
  %
  %   % To a file and back.
  %   pistonfield_array(array, 'save', 'elements.csv', 'weights', w);
  %   [array, w] = pistonfield_array('table', 'file', 'elements.csv');
  %
  %   % A look at a bowl of 256 elements.
  %   pistonfield_array('bowl', 'radius', 100e-3, 'aperture', 100e-3, 'elements', 256, ...
  %                     'width', 3.5e-3, 'height', 3.5e-3);
  %
  %   % Eight rings of equal areas with a focus at 40 mm.
  %   array = pistonfield_array('annular', 'elements', 8, 'radius', 10e-3, 'kerf', 0.1e-3);
  %   w = pistonfield_focus(array, [0 0 40e-3], 'frequency', 2e6);
  %
  % See also: pistonfield_focus, pistonfield_piston, pistonfield_pressure, pistonfield_plot

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_array';
  require(nargin >= 1, caller, 'arguments', 'give the kind of an array and what it is made from');
  if isstruct(kind)
    require(nargout == 0, caller, 'outputs', 'an array that is saved has no outputs');
    save_array(caller, kind, varargin);
    return
  end
  require_module(caller);
  require_word(caller, 'kind', kind, {'line', 'matrix', 'convex', 'bowl', 'annular', ...
                                       'honeycomb', 'list', 'table', 'apodised', 'cap', 'cylinder'});
  [given, pose] = read_parameters(caller, varargin);
  outlines = [];
  switch kind
    case 'table'
      [columns, outlines] = columns_of_table(caller, given);
    case 'list'
      [columns, outlines] = columns_of_list(caller, given);
    case 'apodised'
      [columns, given.error] = columns_of_apodised(caller, given);
    case {'cap', 'cylinder'}
      [columns, given.error] = columns_of_curved(caller, kind, given);
    otherwise
      [columns, outlines] = columns_of_kind(caller, kind, given);
  end
  [array, weights] = array_of_table(columns, outlines);
  array = moved(array, pose);
  array.kind = kind;
  array.description = given;
  if strcmp(kind, 'table')
    warn_of_overlaps(caller, array);
  end
  if nargout == 0
    pistonfield_plot(array);
    clear array;
  end
end

% The parameters, and where the array goes.
function [given, pose] = read_parameters(caller, pairs)
  require(mod(numel(pairs), 2) == 0, caller, 'options', ...
          ['options come in pairs of a name and a value, as in ''width'', 1e-3; ', ...
           'one is without the other']);
  given = struct();
  pose = struct('center', zeros(3, 1), 'orientation', eye(3));
  for i = 1:2:numel(pairs)
    name = pairs{i};
    require(ischar(name) && isvarname(name), caller, 'options', ...
            'argument %d must be a name, such as ''width''', i + 1);
    given.(name) = pairs{i + 1};
    if isfield(pose, name)
      pose.(name) = pairs{i + 1};
    end
  end
  require(is_finite_real(pose.center) && numel(pose.center) == 3, caller, 'center', ...
          'center must be three real, finite numbers');
  require(is_rotation(pose.orientation), caller, 'orientation', ...
          ['orientation must be a 3 by 3 rotation: columns of length 1, at right angles, the third ', ...
           'the cross product of the others']);
end

% The table of outlines is empty where the elements are rectangles.
function [columns, outlines] = columns_of_table(caller, given)
  others = setdiff(fieldnames(given), {'file', 'center', 'orientation'});
  require(isempty(others), caller, 'options', ...
          '''%s'' says nothing about an array of a table; there are: file', [others{1:min(1, end)}]);
  require(isfield(given, 'file') && ischar(given.file) && ~isempty(given.file), caller, 'file', ...
          'file must be the name of a table');
  names = struct('elements', 'file');
  columns = ask_module(caller, names, 'array_of_table', given.file);
  outlines = ask_module(caller, names, 'outlines_of_table', given.file);
end

% Tiles with their weights, and the estimated error of their field.
function [columns, error] = columns_of_apodised(caller, given)
  numbers = {'width', 'height', 'wavelength', 'distance', 'tolerance'};
  profiles = {'along_x', 'along_y'};
  require_known(caller, given, 'apodised', [numbers(1:2), profiles, numbers(3:5)]);
  given = with_default(with_default(given, 'along_x', 1), 'along_y', 1);
  given = with_default(given, 'tolerance', 1e-2);
  given = require_positive_options(caller, with_all(given, numbers), numbers);
  along = cellfun(@(name) profile_of(caller, name, given.(name)), profiles, 'UniformOutput', false);
  columns = ask_module(caller, struct('wavenumber', 'wavelength'), 'apodised', given.width, ...
                       given.height, along{1}{:}, along{2}{:}, 2 * pi / given.wavelength, ...
                       given.distance, given.tolerance);
  error = columns(17, 1);
end

% A word and numbers: a polynomial's coefficients, or a window and its parameter.
function words = profile_of(caller, name, value)
  if isnumeric(value) && isreal(value)
    words = {'polynomial', double(full(value(:)))};
    return
  end
  if ischar(value)
    value = {value};
  end
  require(iscell(value) && any(numel(value) == [1 2]) && ischar(value{1}) && ...
          all(cellfun(@(one) isnumeric(one) && isscalar(one), value(2:end))), caller, name, ...
          ['%s must be the coefficients of a polynomial, a window''s name, or a cell array of the ', ...
           'name and its parameter'], name);
  words = {value{1}, double([value{2:end}])};
end

% Tiles, and the estimated error of their field.
function [columns, error] = columns_of_curved(caller, kind, given)
  sides = struct('cap', {{'radius', 'aperture', 'hole'}}, ...
                 'cylinder', {{'radius', 'width', 'height'}});
  names = [sides.(kind), {'wavelength', 'fraction'}];
  require_known(caller, given, kind, names);
  given = with_default(with_default(given, 'fraction', 1 / 32), 'hole', 0);
  positive = setdiff(names, {'hole'});
  given = require_positive_options(caller, with_all(given, positive), positive);
  pairs = cellfun(@(name) {name, double(given.(name))}, setdiff(names, {'wavelength'}), ...
                  'UniformOutput', false);
  pairs = [pairs{:}];
  columns = ask_module(caller, struct('wavenumber', 'wavelength'), 'curved', kind, ...
                       2 * pi / given.wavelength, pairs{:});
  error = sum(columns(15:16, 1));
  columns = columns(1:14, :);
end

function require_known(caller, given, kind, names)
  others = setdiff(fieldnames(given), [names, {'center', 'orientation'}]);
  require(isempty(others), caller, 'options', ...
          '''%s'' says nothing about the array %s; there are: %s', ...
          [others{1:min(1, end)}], kind, strjoin(names, ', '));
end

function given = with_default(given, name, value)
  if ~isfield(given, name)
    given.(name) = value;
  end
end

% With what is missing empty, which is refused.
function given = with_all(given, names)
  for name = names
    given = with_default(given, name{1}, []);
  end
end

% The table of outlines is empty where the elements are rectangles.
function [columns, outlines] = columns_of_kind(caller, kind, given)
  pairs = {};
  for name = setdiff(fieldnames(given).', {'center', 'orientation'})
    value = given.(name{1});
    require(isnumeric(value) && isreal(value), caller, name{1}, '%s must be real numbers', name{1});
    value = double(full(value));
    if any(strcmp(name{1}, {'angle', 'opening_angle'}))
      value = value * pi / 180;
    end
    pairs = [pairs, {name{1}, value}]; %#ok<AGROW>
  end
  names = struct('openingAngle', 'opening_angle', 'columns', 'elements', 'rows', 'elements', ...
                 'pitchX', 'pitch', 'pitchY', 'pitch', 'kerfX', 'kerf', 'kerfY', 'kerf');
  columns = ask_module(caller, names, 'array', kind, pairs{:});
  outlines = [];
  if any(strcmp(kind, {'annular', 'honeycomb'}))
    outlines = ask_module(caller, names, 'array_outlines', kind, pairs{:});
  end
end

% Pistons that are equal but for their places share an outline.
function [columns, outlines] = columns_of_list(caller, given)
  known = {'pistons', 'centers', 'orientations', 'center', 'orientation'};
  others = setdiff(fieldnames(given), known);
  require(isempty(others), caller, 'options', ...
          '''%s'' says nothing about an array of a list; there are: %s', ...
          [others{1:min(1, end)}], strjoin(known(1:3), ', '));
  require(isfield(given, 'pistons') && ~isempty(given.pistons) && ...
          (isstruct(given.pistons) || iscell(given.pistons)), caller, 'pistons', ...
          'pistons must be a piston or a cell array of them, as pistonfield_piston makes them');
  pistons = given.pistons;
  if isstruct(pistons)
    pistons = num2cell(pistons);
  end
  pistons = placed(caller, pistons(:).', given);
  outlines = zeros(8, 0);
  numbers = containers.Map();
  columns = zeros(14, numel(pistons));
  for i = 1:numel(pistons)
    table = outline_of_piston(caller, pistons{i});
    key = sprintf('%.17g ', table);
    if ~isKey(numbers, key)
      numbers(key) = double(numbers.Count) + 1;
      table(1, :) = numbers(key);
      outlines = [outlines, table]; %#ok<AGROW>
    end
    pose = read_source(caller, pistons{i});
    columns(:, i) = [0; numbers(key); pose.center; pose.orientation(:)];
  end
end

% One piston at several places, or each in its own.
function pistons = placed(caller, pistons, given)
  if ~isfield(given, 'centers')
    require(~isfield(given, 'orientations'), caller, 'orientations', ...
            'orientations go with centers');
    return
  end
  require(isscalar(pistons), caller, 'centers', 'centers go with one piston: give each its center');
  centers = given.centers;
  require(is_finite_real(centers) && ismatrix(centers) && size(centers, 1) == 3 && ...
          ~isempty(centers), caller, 'centers', ...
          'centers must be 3 by N real, finite numbers: a column for each element');
  count = size(centers, 2);
  turns = [];
  if isfield(given, 'orientations')
    turns = given.orientations;
    require(is_finite_real(turns) && size(turns, 1) == 3 && size(turns, 2) == 3 && ...
            any(numel(turns) == 9 * [1, count]), caller, 'orientations', ...
            'orientations must be 3 by 3 by %d, or one rotation for all', count);
  end
  pistons = repmat(pistons, 1, count);
  for i = 1:count
    pistons{i}.center = centers(:, i);
    if ~isempty(turns)
      pistons{i}.orientation = turns(:, :, min(i, end));
    end
  end
end

function table = outline_of_piston(caller, piston)
  require(isstruct(piston) && isscalar(piston) && ~is_array(piston), caller, 'pistons', ...
          'each of the pistons must be a struct as pistonfield_piston makes it');
  piston = read_source(caller, piston);
  if isfield(piston, 'outlines')
    table = piston.outlines;
  else
    half = [piston.width, piston.height] / 2;
    corners = bsxfun(@times, half(:), [-1 1 1 -1; -1 -1 1 1]);
    table = pistonfield_internal('outline', 'polygon', 'corners', corners);
  end
end

function array = moved(array, pose)
  turn = double(pose.orientation);
  array.center = bsxfun(@plus, turn * array.center, double(pose.center(:)));
  array.orientation = reshape(turn * reshape(array.orientation, 3, []), 3, 3, []);
  % The normals have the bits that a table's have, whose directions are those of the sides.
  array.orientation(:, 3, :) = cross(array.orientation(:, 1, :), array.orientation(:, 2, :), 1);
end

% Tables may say anything; what is built does not overlap.
function warn_of_overlaps(caller, array)
  array = read_array(caller, array);
  found = ask_module(caller, struct('elements', 'file'), 'array_overlaps', array.width, ...
                     array.height, array.center, array.orientation);
  if found(1) > 0
    others = '';
    if found(1) > 1
      others = sprintf(', and %d more pairs', found(1) - 1);
    end
    warning('pistonfield:overlap', 'the elements %d and %d overlap%s', found(2), found(3), others);
  end
end

function save_array(caller, given, pairs)
  require(is_array(given), caller, 'array', ...
          'array, which comes first, must be a struct made by pistonfield_array');
  array = read_array(caller, given);
  defaults = struct('save', '', 'weights', [], 'overwrite', false);
  options = read_options(caller, defaults, pairs);
  require(ischar(options.save) && isrow(options.save), caller, 'save', ...
          'give ''save'' and the name of a file for the array');
  require_flag(caller, 'overwrite', options.overwrite);
  if ~isempty(options.weights)
    options.weights = read_weights(caller, options.weights, array.count);
  end
  % The module refuses what is no element.
  ask_module(caller, struct('elements', 'array'), 'array_overlaps', array.width, array.height, ...
             array.center, array.orientation);
  text = table_of_array(caller, array, options.weights);
  require_new(caller, options.save, options.overwrite);
  write_text(caller, options.save, text);
end

%!shared line, parts
%! line = @(varargin) pistonfield_array('line', 'elements', 5, 'width', 1e-3, 'height', 4e-3, ...
%!                                      varargin{:});
%! parts = {'width', 1e-3, 'height', 2e-3};

%!test % a line along x, centred on the origin
%! array = line('pitch', 1.5e-3);
%! assert(array.width == 1e-3 && array.height == 4e-3);
%! assert(array.center, [(-2:2) * 1.5e-3; zeros(2, 5)], 1e-15);
%! assert(array.orientation, repmat(eye(3), [1 1 5]));
%! assert(array.kind, 'line');
%! assert(array.description, struct('elements', 5, 'width', 1e-3, 'height', 4e-3, 'pitch', 1.5e-3));
%! assert(line('kerf', 0.5e-3).center, array.center, 1e-15);

%!test % a matrix counts along x first, with a pitch or kerf for both directions or each
%! array = pistonfield_array('matrix', 'elements', [3 2], parts{:}, 'pitch', 3e-3);
%! assert(array.center, [-3 0 3 -3 0 3; -1.5 -1.5 -1.5 1.5 1.5 1.5; zeros(1, 6)] * 1e-3, 1e-15);
%! array = pistonfield_array('matrix', 'elements', [3 2], parts{:}, 'pitch', [1.5 4] * 1e-3);
%! assert(array.center(1:2, :), [-1.5 0 1.5 -1.5 0 1.5; -2 -2 -2 2 2 2] * 1e-3, 1e-15);
%! array = pistonfield_array('matrix', 'elements', [3 2], parts{:}, 'kerf', [0.5 1] * 1e-3);
%! assert(array.center(1:2, :), [-1.5 0 1.5 -1.5 0 1.5; -1.5 -1.5 -1.5 1.5 1.5 1.5] * 1e-3, 1e-15);

%!test % a convex array is a part of a cylinder; angles are in degrees
%! array = pistonfield_array('convex', 'elements', 7, 'radius', 40e-3, parts{:}, 'angle', 2);
%! angles = (-3:3) * 2;
%! assert(array.center, 40e-3 * [sind(angles); zeros(1, 7); cosd(angles) - 1], 1e-15);
%! assert(squeeze(array.orientation(:, 3, :)), [sind(angles); zeros(1, 7); cosd(angles)], 1e-15);
%! arc = pistonfield_array('convex', 'elements', 7, 'radius', 40e-3, parts{:}, ...
%!                         'pitch', 40e-3 * 2 * pi / 180);
%! assert(arc.center, array.center, 1e-15);

%!test % all elements of a bowl point at its focus, and keep within its aperture
%! spiral = pistonfield_array('bowl', 'radius', 50e-3, 'aperture', 40e-3, 'elements', 64, parts{:});
%! rings = pistonfield_array('bowl', 'radius', 50e-3, 'aperture', 40e-3, 'pitch', 3e-3, parts{:});
%! counted = pistonfield_array('bowl', 'radius', 50e-3, 'aperture', 40e-3, 'counts', [1 6 12], ...
%!                             parts{:});
%! for array = {spiral, rings, counted}
%!   away = [0; 0; 50e-3] - array{1}.center;
%!   assert(norm(away, 2, 'columns'), 50e-3 * ones(1, columns(away)), 1e-12);
%!   assert(squeeze(array{1}.orientation(:, 3, :)), away / 50e-3, 1e-12);
%!   assert(max(norm(array{1}.center(1:2, :), 2, 'columns')) < 20e-3);
%! end
%! assert([columns(spiral.center), columns(counted.center)], [64 19]);
%! angle = 2 * asind(20 / 50);
%! assert(pistonfield_array('bowl', 'radius', 50e-3, 'opening_angle', angle, 'elements', 64, ...
%!                          parts{:}).center, spiral.center, 1e-12);
%! hole = pistonfield_array('bowl', 'radius', 50e-3, 'aperture', 40e-3, 'hole', 10e-3, ...
%!                          'pitch', 3e-3, parts{:});
%! assert(min(norm(hole.center(1:2, :), 2, 'columns')) > 5e-3);

%!test % 'center' and 'orientation' move and turn the whole array
%! turn = [cosd(30) 0 sind(30); 0 1 0; -sind(30) 0 cosd(30)];
%! array = line('pitch', 2e-3, 'center', [1 2 3] * 1e-3, 'orientation', turn);
%! assert(array.center, [1; 2; 3] * 1e-3 + turn * [(-2:2) * 2e-3; zeros(2, 5)], 1e-15);
%! assert(array.orientation, repmat(turn, [1 1 5]), 1e-15);
%! grid = pistonfield_grid((-3:3) * 1e-3, 0, (5:9) * 1e-3);
%! own = [grid.transform(:, 1:3) * turn.' + [zeros(3); [1 2 3] * 1e-3], grid.transform(:, 4)];
%! moved = struct('transform', own, 'sizes', grid.sizes);
%! p = pistonfield_pressure(line('pitch', 2e-3), grid, 'frequency', 1e6, 'tolerance', 1e-10);
%! assert(pistonfield_pressure(array, moved, 'frequency', 1e6, 'tolerance', 1e-10), p, ...
%!        1e-9 * max(abs(p(:))));

%!function name = write_table(varargin)
%!  name = [tempname(), '.csv'];
%!  file = fopen(name, 'w');
%!  fprintf(file, '%s\n', varargin{:});
%!  fclose(file);
%!endfunction

%!test % a table has elements of any kind, and may have their weights
%! name = write_table('x [mm], y [mm], width [mm], height [cm], normal x, normal y, normal z', ...
%!                    '1, 2, 3, 0.4, 0, 0, 1', '-1, 0, 3, 0.5, 0.6, 0, 0.8');
%! [array, w] = pistonfield_array('table', 'file', name);
%! unlink(name);
%! assert(array.width == 3e-3 && isequal(array.kind, 'table') && isempty(w));
%! assert(array.height, [4 5] * 1e-3, 1e-15);
%! assert(array.center, [1 -1; 2 0; 0 0] * 1e-3, 1e-15);
%! assert(squeeze(array.orientation(:, 3, :)), [0 0.6; 0 0; 1 0.8], 1e-12);
%! name = write_table('x [mm], y [mm], width [mm], height [mm], re, im', '1, 2, 3, 4, 5, -6');
%! [~, w] = pistonfield_array('table', 'file', name);
%! unlink(name);
%! assert(w, 5 - 6i);

%!test % elements of a table that overlap are warned of
%! name = write_table('x [mm], y [mm], width [mm], height [mm]', '0, 0, 2, 2', '1, 0, 2, 2', '9, 0, 2, 2');
%! remove = onCleanup(@() unlink(name));
%! fail('pistonfield_array("table", "file", name);', 'warning', 'the elements 1 and 2 overlap$');
%! lastwarn('', '');
%! name2 = write_table('x [mm], y [mm], width [mm], height [mm]', '0, 0, 2, 2', '2, 0, 2, 2');
%! remove2 = onCleanup(@() unlink(name2));
%! pistonfield_array('table', 'file', name2);
%! assert(lastwarn(), '');

%!function name = new_name()
%!  name = [tempname(), '.csv'];
%!endfunction

%!test % an array goes to a file and back with all its bits, and so do its weights
%! turn = [cosd(31) 0 sind(31); 0 1 0; -sind(31) 0 cosd(31)] * ...
%!        [1 0 0; 0 cosd(13) -sind(13); 0 sind(13) cosd(13)];
%! pose = {'center', [1 -2 3] / 7, 'orientation', turn};
%! bowl = pistonfield_array('bowl', 'radius', 50e-3, 'aperture', 40e-3, 'elements', 64, parts{:}, ...
%!                          pose{:});
%! mixed = line('pitch', 0.1 / 3, pose{:});
%! mixed.width = [1 2 3 4 5] / 300;
%! for array = {bowl, mixed}
%!   name = new_name();
%!   remove = onCleanup(@() unlink(name));
%!   count = columns(array{1}.center);
%!   w = exp(1i * (1:count).') ./ (1:count).';
%!   for weights = {[], w, real(w)}
%!     pistonfield_array(array{1}, 'save', name, 'weights', weights{1}, 'overwrite', true);
%!     [back, found] = pistonfield_array('table', 'file', name);
%!     for field = {'width', 'height', 'center', 'orientation'}
%!       assert(back.(field{1}), array{1}.(field{1}));
%!     end
%!     assert(found, weights{1});
%!   end
%!   clear remove;
%! end

%!test % and so does one whose elements have outlines
%! rings = pistonfield_array('annular', 'elements', 4, 'radius', 10e-3 / 3, 'kerf', 0.1e-3);
%! square = [-1 -1; 1 -1; 1 1; -1 1] / 300;
%! list = pistonfield_array('list', 'pistons', {pistonfield_piston('disc', 'radius', 1e-3 / 3), ...
%!   pistonfield_piston('polygon', 'corners', square, 'holes', {square / 7}, 'center', [0.1 0 0]), ...
%!   struct('width', 1e-3, 'height', 2e-3, 'center', [0 0.1 0]), ...
%!   pistonfield_piston('disc', 'radius', 1e-3 / 3, 'center', [0 0 0.1])});
%! for array = {rings, list}
%!   name = new_name();
%!   remove = onCleanup(@() unlink(name));
%!   w = exp(1i * (1:columns(array{1}.center)).') / 3;
%!   for weights = {[], w}
%!     pistonfield_array(array{1}, 'save', name, 'weights', weights{1}, 'overwrite', true);
%!     [back, found] = pistonfield_array('table', 'file', name);
%!     for field = {'outlines', 'outline', 'center', 'orientation'}
%!       assert(back.(field{1}), array{1}.(field{1}));
%!     end
%!     assert(found, weights{1});
%!   end
%!   clear remove;
%! end
%! name = write_table('x [m],y [m],width [m],height [m],outline [m]', '0,0,1,1,', ...
%!                    '9,0,0,0,0 0 1 0 7');
%! fail('pistonfield_array("table", "file", name)', 'some are rectangles and others have outlines');
%! unlink(name);

%!test % a file that exists is kept, and nothing is left of what cannot be saved
%! name = write_table('mine');
%! remove = onCleanup(@() unlink(name));
%! array = line('pitch', 2e-3);
%! fail('pistonfield_array(array, "save", name)', 'exists; the option .overwrite., true replaces it');
%! assert(fileread(name), sprintf('mine\n'));
%! fail('pistonfield_array(array, "save", name, "overwrite", true, "weights", [1; NaN; 1; 1; 1])', ...
%!      'weights, which are finite');
%! fail('pistonfield_array(array, "save", "/nowhere/a.csv")', '/nowhere/a.csv cannot be written');
%! assert(fileread(name), sprintf('mine\n'));

%!error <'wights' is no option; there are: save, weights, overwrite>
%! pistonfield_array(line('pitch', 2e-3), 'save', 'a.csv', 'wights', 1);
%!error id=pistonfield:pistonfield_array:save pistonfield_array(line('pitch', 2e-3))
%!error id=pistonfield:pistonfield_array:save pistonfield_array(line('pitch', 2e-3), 'save', 7)
%!error id=pistonfield:pistonfield_array:outputs a = pistonfield_array(line('pitch', 2e-3), 'save', 'a.csv')
%!error id=pistonfield:pistonfield_array:save pistonfield_array(line('pitch', 2e-3), 'save', '')
%!error <must be a struct made by pistonfield_array>
%! pistonfield_array(struct(parts{:}), 'save', 'a.csv');
%!error <weights are 1 by 5, where the array has 5 elements: a row for each; give them transposed>
%! pistonfield_array(line('pitch', 2e-3), 'save', 'a.csv', 'weights', ones(1, 5));
%!error <a table has one column of weights>
%! pistonfield_array(line('pitch', 2e-3), 'save', 'a.csv', 'weights', ones(5, 2));
%!error <array: element 1: its directions must be|array: .*orientation>
%! array = line('pitch', 2e-3);  array.orientation(:, :, 1) = ones(3);
%! pistonfield_array(array, 'save', 'a.csv');
%!error id=pistonfield:pistonfield_array:array
%! array = line('pitch', 2e-3);  array.width = -1;
%! pistonfield_array(array, 'save', 'a.csv');

%!test % an apodised piston has the mean velocity of each tile
%! [array, w] = pistonfield_array('apodised', 'width', 6e-3, 'height', 4e-3, 'along_x', 'hann', ...
%!                                'along_y', [1 0 -1], 'wavelength', 1e-3, 'distance', 2e-3, ...
%!                                'tolerance', 3e-3);
%! assert(array.description.error < 3e-3 && array.description.error > 1e-3);
%! assert(numel(w), size(array.center, 2));
%! assert(sum(w) * array.width * array.height, 6e-3 / 2 * 4e-3 * 2 / 3, 1e-15);
%! [x, y] = ndgrid(((1:240) - 120.5) / 240 * 6e-3, ((1:160) - 80.5) / 160 * 4e-3);
%! u = (1 + cos(pi * x / 3e-3)) / 2 .* (1 - (y / 2e-3) .^ 2);
%! for point = [0 1e-3; 0 -2e-3; 2e-3 12e-3]
%!   R = sqrt((x - point(1)) .^ 2 + (y - point(2)) .^ 2 + point(3) ^ 2);
%!   expected = 1i * 1e3 * sum((u .* exp(-2e3i * pi * R) ./ R)(:)) * 25e-6 ^ 2;
%!   p = pistonfield_pressure(array, point.', 'frequency', 1.482e6, 'weights', w, 'density', 1, ...
%!                            'velocity', 1 / 1482, 'tolerance', 1e-6);
%!   scale = min(1, 24e-6 / 1e-3 / max(norm(point), sqrt(24e-6) / 4));
%!   assert(abs(p - expected) < array.description.error * scale);
%! end
%! [~, v] = pistonfield_array('apodised', 'width', 6e-3, 'height', 4e-3, 'along_x', {'kaiser', 5}, ...
%!                            'wavelength', 1e-3, 'distance', 2e-3);
%! assert(v, flipud(v), 1e-12);

%!test % a cap has the gain of its focus, and a bent rectangle its area
%! cap = pistonfield_array('cap', 'radius', 20e-3, 'aperture', 20e-3, 'wavelength', 1.482e-3);
%! p = pistonfield_pressure(cap, [0 0 20e-3], 'frequency', 1e6, 'density', 1, ...
%!                          'velocity', 1 / 1482);
%! gain = 2 * pi / 1.482e-3 * (20e-3 - sqrt(300) * 1e-3);
%! assert(abs(p), gain, cap.description.error * gain);
%! assert(cap.description.error < 0.4);
%! hole = pistonfield_array('cap', 'radius', 20e-3, 'aperture', 20e-3, 'hole', 8e-3, ...
%!                          'wavelength', 1.482e-3);
%! assert(min(norm(hole.center(1:2, :), 2, 'columns')) > 4e-3);
%! bent = pistonfield_array('cylinder', 'radius', 30e-3, 'width', 12e-3, 'height', 8e-3, ...
%!                          'wavelength', 1.482e-3, 'fraction', 1 / 100);
%! assert(bent.description.error <= 2 * pi / 100);
%! assert(bent.width * bent.height * size(bent.center, 2), 96e-6, 1e-12);

%!test % nothing is printed, and without an output the array is drawn
%! set(0, 'defaultfigurevisible', 'off');
%! restore = onCleanup(@() set(0, 'defaultfigurevisible', 'on'));
%! before = numel(get(0, 'children'));
%! assert(evalc('array = line(''pitch'', 2e-3);'), '');
%! assert(numel(get(0, 'children')), before);
%! assert(evalc('line(''pitch'', 2e-3);'), '');
%! assert(numel(get(0, 'children')), before + 1);
%! close(gcf());

%!function area = areas_of(table, number)
%!  % Of arcs about the origin, and of straight edges.
%!  edges = table(:, table(1, :) == number);
%!  area = sum(edges(3, :) .* edges(6, :) .^ 2 .* edges(8, :)) / 2 + ...
%!         sum((1 - edges(3, :)) .* (edges(4, :) .* edges(7, :) - edges(5, :) .* edges(6, :))) / 2;
%!endfunction

%!test % rings: between radii, with a gap, or of equal areas
%! area = @(array) arrayfun(@(i) areas_of(array.outlines, i), 1:columns(array.center));
%! between = @(radii) pi * diff(radii .^ 2);
%! array = pistonfield_array('annular', 'radii', [0 2 3 5] * 1e-3);
%! assert(array.outline, 1:3);
%! assert(array.center, zeros(3));
%! assert(array.orientation, repmat(eye(3), [1 1 3]));
%! assert(area(array), between([0 2 3 5] * 1e-3), 1e-15);
%! gaps = pistonfield_array('annular', 'radii', [1 2 3 5] * 1e-3, 'kerf', 0.2e-3);
%! assert(area(gaps), pi * ([1.9 2.9 5] .^ 2 - [1 2.1 3.1] .^ 2) * 1e-6, 1e-15);
%! equal = pistonfield_array('annular', 'elements', 8, 'radius', 10e-3);
%! assert(area(equal), pi * 1e-4 / 8 * ones(1, 8), 1e-15);
%! for inner = [0 3e-3]
%!   equal = pistonfield_array('annular', 'elements', 5, 'radius', 10e-3, 'inner', inner, ...
%!                             'kerf', 0.3e-3);
%!   found = area(equal);
%!   assert(found, mean(found) * ones(1, 5), 1e-12 * mean(found));
%!   radii = sort(equal.outlines(6, :));
%!   assert(max(radii), 10e-3, 1e-15);
%!   assert(min(radii) == inner || inner == 0);
%! end

%!test % a honeycomb: hexagons in rings, each as far from its neighbours as the pitch
%! array = pistonfield_array('honeycomb', 'rings', 3, 'width', 2e-3, 'kerf', 0.5e-3);
%! assert(size(array.center), [3 37]);
%! assert(array.outline, 1);
%! assert(areas_of(array.outlines, 1), sqrt(3) / 2 * 4e-6, 1e-15);
%! apart = hypot(array.center(1, :).' - array.center(1, :), ...
%!               array.center(2, :).' - array.center(2, :)) + 1e3 * eye(37);
%! assert(min(apart), 2.5e-3 * ones(1, 37), 1e-12);
%! assert(sum(apart(:, 1) < 2.6e-3), 6);
%! assert(pistonfield_array('honeycomb', 'rings', 3, 'width', 2e-3, 'pitch', 2.5e-3).center, ...
%!        array.center, 1e-15);

%!test % a list: pistons of any shape, each in its place; equal ones share their outline
%! turn = [cosd(20) 0 sind(20); 0 1 0; -sind(20) 0 cosd(20)];
%! disc = pistonfield_piston('disc', 'radius', 1e-3, 'center', [-3 0 0] * 1e-3);
%! other = setfield(disc, 'center', [3 0 0] * 1e-3);
%! plate = struct('width', 1e-3, 'height', 2e-3, 'orientation', turn);
%! array = pistonfield_array('list', 'pistons', {disc, plate, other});
%! assert(array.outline, [1 2 1]);
%! assert(array.center, [-3 0 3; 0 0 0; 0 0 0] * 1e-3);
%! assert(array.orientation, cat(3, eye(3), turn, eye(3)));
%! w = [1; 2i; -0.5];
%! at = [1 2 9] * 1e-3;
%! field = @(source, varargin) pistonfield_pressure(source, at, 'frequency', 1e6, ...
%!                                                  'tolerance', 1e-10, varargin{:});
%! p = field(array, 'weights', w);
%! wanted = field(disc) + 2i * field(plate) - 0.5 * field(other);
%! assert(p, wanted, 1e-9 * abs(wanted));
%! turned = pistonfield_array('list', 'pistons', {disc, plate, other}, 'center', [0 0 0.1], ...
%!                            'orientation', turn);
%! assert(turned.center, [0; 0; 0.1] + turn * array.center, 1e-15);
%! places = [1 2 3; 4 5 6; 7 8 9] * 1e-3;
%! one = pistonfield_array('list', 'pistons', disc, 'centers', places);
%! assert(one.center, places);
%! assert(one.outline, 1);
%! one = pistonfield_array('list', 'pistons', disc, 'centers', places, 'orientations', turn);
%! assert(one.orientation, repmat(turn, [1 1 3]));

%!test % arrays of shapes are focused and drawn as others are
%! for array = {pistonfield_array('annular', 'elements', 6, 'radius', 8e-3), ...
%!              pistonfield_array('honeycomb', 'rings', 1, 'width', 3e-3, 'pitch', 3e-3)}
%!   [w, info] = pistonfield_focus(array{1}, [0 0 30e-3], 'frequency', 1e6);
%!   assert(abs(w), ones(numel(w), 1), 1e-12);
%!   p = pistonfield_pressure(array{1}, [0 0 30e-3], 'frequency', 1e6, 'weights', w, ...
%!                            'tolerance', 1e-9);
%!   own = pistonfield_pressure(array{1}, [0 0 30e-3], 'frequency', 1e6, 'tolerance', 1e-9, ...
%!                              'weights', eye(numel(w)));
%!   assert(abs(p), sum(abs(own(:))), 1e-6 * abs(p));
%!   assert(info.pressures, p, 1e-6 * abs(p));
%! end

%!error <radii: must be two or more> pistonfield_array('annular', 'radii', 1e-3)
%!error <radii: must rise, by more than the kerf: ring 2> pistonfield_array('annular', 'radii', [0 2 1])
%!error <radii: must rise, by more than the kerf: ring 1>
%! pistonfield_array('annular', 'radii', [0 1 2], 'kerf', 3);
%!error <radii: must be a length, or 0> pistonfield_array('annular', 'radii', [-1 2])
%!error <radii: must be a length above 0> pistonfield_array('annular', 'radii', [0 NaN])
%!error <radii: give them, or elements and the radius, not both>
%! pistonfield_array('annular', 'radii', [0 1], 'radius', 2);
%!error <elements: is missing; or give radii> pistonfield_array('annular', 'radius', 2)
%!error <radius: is missing> pistonfield_array('annular', 'elements', 2)
%!error <inner: must be less than the radius>
%! pistonfield_array('annular', 'elements', 2, 'radius', 1, 'inner', 1);
%!error <kerf: leaves no room> pistonfield_array('annular', 'elements', 3, 'radius', 1, 'kerf', 0.5)
%!error <elements: 1025 is not within 1 to 1024> pistonfield_array('annular', 'elements', 1025, ...
%!                                                                 'radius', 1)
%!error <'pitch' says nothing about the array annular>
%! pistonfield_array('annular', 'elements', 2, 'radius', 1, 'pitch', 1);
%!error <rings: -1 is not within 0 to 576> pistonfield_array('honeycomb', 'rings', -1, 'width', 1)
%!error <rings: is missing> pistonfield_array('honeycomb', 'width', 1, 'pitch', 1)
%!error <pitch: elements overlap> pistonfield_array('honeycomb', 'rings', 1, 'width', 1, 'pitch', 0.9)
%!error <pitch: one of pitch, kerf> pistonfield_array('honeycomb', 'rings', 1, 'width', 1)
%!error <pistons must be a piston or a cell array> pistonfield_array('list')
%!error <pistons must be a piston or a cell array> pistonfield_array('list', 'pistons', {})
%!error <pistons must be a piston or a cell array> pistonfield_array('list', 'pistons', 7)
%!error <each of the pistons must be a struct> pistonfield_array('list', 'pistons', {7})
%!error <piston.radius: is missing> pistonfield_array('list', 'pistons', {struct('shape', 'disc')})
%!error id=pistonfield:pistonfield_array:piston
%! pistonfield_array('list', 'pistons', {struct('shape', 'disc')});
%!error <'pitch' says nothing about an array of a list; there are: pistons, centers, orientations>
%! pistonfield_array('list', 'pitch', 1);
%!error <centers go with one piston>
%! pistonfield_array('list', 'pistons', {struct(parts{:}), struct(parts{:})}, 'centers', [1; 2; 3]);
%!error <centers must be 3 by N>
%! pistonfield_array('list', 'pistons', struct(parts{:}), 'centers', [1 2 3]);
%!error <orientations go with centers>
%! pistonfield_array('list', 'pistons', struct(parts{:}), 'orientations', eye(3));
%!error <orientations must be 3 by 3 by 2>
%! pistonfield_array('list', 'pistons', struct(parts{:}), 'centers', ones(3, 2), ...
%!                   'orientations', ones(3, 3, 3));

%!test % there may be one element, which is no piston for all that
%! one = pistonfield_array('line', 'elements', 1, parts{:});
%! [p, info] = pistonfield_pressure(one, [0 0 0.01], 'frequency', 1e6);
%! assert(info.engine(1:3), 'sum');
%! assert(p, pistonfield_pressure(struct(parts{:}), [0 0 0.01], 'frequency', 1e6), 2e-4 * abs(p));

%!error id=pistonfield:pistonfield_array:arguments pistonfield_array()
%!error <kind must be one of: line, matrix, convex, bowl, annular, honeycomb, list, table, apodised, cap, cylinder> pistonfield_array('ring')
%!error id=pistonfield:pistonfield_array:kind pistonfield_array(7)
%!error <options come in pairs> line('pitch')
%!error <argument 8 must be a name> line(7, 8)
%!error <options: 'pich' says nothing about the array line; there are: elements, width, height, pitch>
%! line('pitch', 2e-3, 'pich', 3e-3);
%!error <options: 'pich' says nothing about the array line; there are: elements, width, height, pitch>
%! line('pich', 3e-3);
%!error <'apperture' says nothing about the array bowl with a number of elements; there are: radius,>
%! pistonfield_array('bowl', 'radius', 1, 'apperture', 1, 'elements', 9, parts{:});
%!error id=pistonfield:pistonfield_array:options line('pitch', 2e-3, 'radius', 3e-3)
%!error <says nothing about the array bowl with a number of elements; there are: radius, aperture,>
%! pistonfield_array('bowl', 'radius', 50e-3, 'aperture', 40e-3, 'elements', 64, parts{:}, 'kerf', 1);
%!error <elements: is missing> pistonfield_array('line', parts{:}, 'pitch', 2e-3)
%!error <height: is missing> pistonfield_array('line', 'elements', 5, 'width', 1e-3, 'pitch', 2e-3)
%!error <width: must be one number> line('pitch', 2e-3, 'width', [1 2])
%!error <width: must be a length above 0> line('pitch', 2e-3, 'width', -1)
%!error <elements: must be whole> line('pitch', 2e-3, 'elements', 2.5)
%!error <elements: 0 is not within 1 to 1000000> line('pitch', 2e-3, 'elements', 0)
%!error <pitch must be real numbers> line('pitch', 'wide')
%!error id=pistonfield:pistonfield_array:pitch line('pitch', {})
%!error <pitch: elements overlap unless it is the width or more> line('pitch', 0.9e-3)
%!error <pitch: one of pitch, kerf says how far .* not none> line()
%!error <pitch: one of pitch, kerf says how far .* not several> line('pitch', 2e-3, 'kerf', 1e-3)
%!error <elements: must be two numbers, of columns and of rows>
%! pistonfield_array('matrix', 'elements', 9, parts{:}, 'pitch', 2e-3);
%!error <pitch: must be one number or two, along x and y>
%! pistonfield_array('matrix', 'elements', [3 3], parts{:}, 'pitch', [2 2 2]);
%!error <pistonfield_array: pitch: one of pitch, kerf says>
%! pistonfield_array('matrix', 'elements', [3 3], parts{:});
%!error id=pistonfield:pistonfield_array:pitch
%! pistonfield_array('matrix', 'elements', [3 3], parts{:}, 'pitch', [2e-3 1e-4]);
%!error id=pistonfield:pistonfield_array:radius
%! pistonfield_array('convex', 'elements', 3, parts{:}, 'angle', 2);
%!error id=pistonfield:pistonfield_array:opening_angle
%! pistonfield_array('bowl', 'radius', 1, 'opening_angle', 200, 'elements', 3, parts{:});
%!error id=pistonfield:pistonfield_array:aperture
%! pistonfield_array('bowl', 'radius', 1, 'elements', 3, parts{:});
%!error <elements: 1 and 2 overlap>
%! pistonfield_array('bowl', 'radius', 10e-3, 'aperture', 10e-3, 'elements', 300, parts{:});
%!error <center must be three real, finite numbers> line('pitch', 2e-3, 'center', [0 0])
%!error <orientation must be a 3 by 3 rotation> line('pitch', 2e-3, 'orientation', -eye(3))
%!error <distance must be a real, finite number above 0>
%! pistonfield_array('apodised', parts{:}, 'wavelength', 1e-3);
%!error <along_x must be the coefficients of a polynomial, a window's name>
%! pistonfield_array('apodised', parts{:}, 'wavelength', 1e-3, 'distance', 1, 'along_x', {});
%!error <window: 'none' is none of>
%! pistonfield_array('apodised', parts{:}, 'wavelength', 1e-3, 'distance', 1, 'along_x', 'none');
%!error <aperture: must be at most twice the radius>
%! pistonfield_array('cap', 'radius', 1e-2, 'aperture', 3e-2, 'wavelength', 1e-3);
%!error <fraction: must be above 0 and at most 1/8>
%! pistonfield_array('cylinder', 'radius', 1e-2, parts{:}, 'wavelength', 1e-3, 'fraction', 1);
%!error <wavelength must be a real, finite number above 0>
%! pistonfield_array('cap', 'radius', 1e-2, 'aperture', 1e-2);
%!error <file must be the name of a table> pistonfield_array('table')
%!error <file: /nowhere.csv: it cannot be read> pistonfield_array('table', 'file', '/nowhere.csv')
%!error id=pistonfield:pistonfield_array:file pistonfield_array('table', 'file', '/nowhere.csv')
%!error <'pitch' says nothing about an array of a table; there are: file>
%! pistonfield_array('table', 'file', 'x', 'pitch', 1);

%!test % help tells of every parameter
%! rest = {'elements', 5, 'radius', 1, 'none', 1};
%! for kind = {{'line'}, {'matrix', 'elements', [1 1]}, {'convex'}, {'bowl'}, ...
%!             {'bowl', 'elements', []}, {'annular'}, {'honeycomb', 'rings', 1, 'pitch', 9}, ...
%!             {'table'}, {'apodised'}, {'cap'}, {'cylinder'}}
%!   try
%!     pistonfield_array(kind{1}{1}, parts{:}, rest{:}, kind{1}{2:end});
%!   catch failure
%!     names = strsplit(regexp(failure.message, 'there are: (.*)$', 'tokens', 'once'){1}, ', ');
%!   end
%!   told = cellfun(@(name) ~isempty(strfind(help('pistonfield_array'), ["'", name, "' "])), names);
%!   assert(all(told), 'not in help: %s', strjoin(names(~told), ' '));
%! end
%! for name = {'center', 'orientation'}
%!   assert(~isempty(strfind(help('pistonfield_array'), ["'", name{1}, "' "])));
%! end
