function [p, request, grid, array, weights] = pistonfield_read(file, varargin)
  % pistonfield_read: the field in a file of pistonfield-run, all of it or a box, and its grid.
  %
  % DESCRIPTION
  %   Reads the complex pressure, particle velocity or intensity that the program pistonfield-run has
  %   computed into an HDF5 file, the request that it was computed from, and the grid that the values
  %   lie on, as pistonfield_plot takes it.
  %
  %   The file has the values that the module pistonfield would return, without unit, and the grid
  %   as the piston sees it, which lies in z = 0 around the origin. With the piston and the
  %   frequency, as pistonfield_request was given them, the grid lies where it was made, before that
  %   piston, and the pressure is in Pa. What is given has to fit the file.
  %
  %   MATLAB reads the file itself. Octave cannot: it has no h5read, and its load reads the complex
  %   numbers of such a file as zeros, without a word. There the program pistonfield-run extracts
  %   them, to a temporary file of the size of what is read. It is looked for in the option
  %   'program', the environment variable PISTONFIELD_RUN, the folders of PATH, and build-run/run
  %   and build/run beside the folder of this function.
  %
  %   A file that is not complete is refused: `pistonfield-run --resume` completes it.
  %
  % USAGE
  %   p = pistonfield_read(file)
  %   p = pistonfield_read(file, first, count)
  %   [p, request, grid] = pistonfield_read(...)
  %   [p, request, grid, array, weights] = pistonfield_read(...)
  %   [p, request, grid] = pistonfield_read(..., 'piston', piston, 'frequency', f, name, value, ...)
  %
  % INPUTS
  %   file       - the file's name
  %   first      - the first point to read, [ix iy iz], counted from 1; default [1 1 1]
  %   count      - how many points to read along each direction; default all. Inf reads to the end.
  %
  % OPTIONAL INPUTS (names and values)
  %   'piston'   - the piston that radiates, as pistonfield_pressure takes it. The file has its
  %                sides, or its outline, which is not compared, and neither its center nor its
  %                orientation. Or the array, of as many elements as the file's
  %   'frequency', 'speed', 'density', 'velocity', 'power'
  %              - as for pistonfield_pressure, with the same values when left out. They scale the
  %                field to Pa, once there is a frequency; lengths in the file are then in m. The
  %                other options of pistonfield_pressure are taken and ignored.
  %   'attenuation', 'exponent', 'nepers', 'dispersion', 'dispersionfrequency', 'baffle', 'quantity'
  %              - as for pistonfield_request. They have to fit the file; with dispersion they are
  %                needed once there is a frequency
  %   'weights'  - the array's, which are taken for 'power' alone
  %   'program'  - pistonfield-run, with its folder; MATLAB does without
  %
  % OUTPUTS
  %   p          - the pressure, complex, single in the modes of single precision, of the size
  %                count: [Pa] with a frequency; else without unit, as the module gives it, and
  %                times 1i*rho*c*u0 it is in Pa. Of a file with the velocity [m/s] or the intensity
  %                [W/m^2] its three components, in a last dimension, along the axes of the frame
  %                in which the piston is given
  %   request    - struct with the fields
  %                  transform    4 by 4: the point (ix, iy, iz), counted from 0, of the whole
  %                               lattice lies at transform * [ix; iy; iz; 1]. The module takes
  %                               the transpose.
  %                  sizes        1 by 3, the points of the whole lattice
  %                  l, s, k      the piston's sides along y and x, and the wavenumber
  %                  mode         'cpu', 'cpusp', 'cuda' or 'cudadp'
  %                               'cpu' or 'cpusp' where there is a tolerance
  %                  order        the order of the quadrature rule, or empty where there is a
  %                               tolerance
  %                  table        its abscissas and weights, order by 2, or empty where the rule is
  %                               that of Gauss and Legendre
  %                  first_point  1 by 3, the point of the lattice, counted from 0, that is
  %                               the first of the file: not 0, 0, 0 in a file of a part
  %                  complete     whether all values are there
  %                  host         the machine of the last run
  %                  started, finished  of the first run and of the last, in UTC
  %                  seconds      the time that all runs took [s]
  %                  processes    how many there were in the last run
  %                  peak_memory  of the process that took most [bytes]
  %                and, of a field with a tolerance, which are empty otherwise,
  %                  tolerance    the largest error that was asked for
  %                  relative     what it is relative to: 'largest' or 'local', as for
  %                               pistonfield_pressure
  %                  precision    'double' or 'single'
  %                  device       'cpu' or 'gpu', what computed
  %                  behind       whether points behind the piston were asked for
  %                  error_bound  no value is further off
  %                  error        the largest error that was measured, at error_points points
  %                  error_points
  %                  evaluations  of the integrand at a point, on average
  %                and, with losses, in another baffle than a rigid one, or of a piston that is no
  %                rectangle, whose l and s are 0,
  %                  attenuation  losses, in Np per unit of length
  %                  baffle       'rigid', 'soft' or 'free'
  %                  quantity     'pressure', 'velocity' or 'intensity', of every field
  %                and, of the field of an array, whose l and s are 0,
  %                  elements     how many there are; empty where there is one piston
  %                  engine       the name of what computed, such as 'sum'
  %   grid       - the points of p, as pistonfield_grid makes them, in the file's unit of length: m
  %                where the request was in SI units
  %   array      - of the field of an array its elements, as pistonfield_array makes them, and
  %   weights      theirs, N by 1; empty where there is one piston
  %
  % EXAMPLES
  %   [p, request, grid] = pistonfield_read('field.h5', [1 50 1], [Inf 1 Inf]);
  %   pistonfield_plot(p, grid, 'unit', '');
  %
  %   % In Pa, where pistonfield_request was given the same piston and wave.
  %   piston = struct('width', 7.5e-3, 'height', 5e-3, 'center', [-10e-3, 0, 0]);
  %   wave = {'frequency', 1e6, 'velocity', 0.01};
  %   [p, request, grid] = pistonfield_read('field.h5', 'piston', piston, wave{:});
  %   pistonfield_plot(p, grid, 'piston', piston);
  %
  % See also: pistonfield_request, pistonfield_plot, pistonfield_pressure

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_read';
  require(nargin > 0, caller, 'arguments', 'give a file; and what to read of it, first and count');
  require(ischar(file) && isrow(file), caller, 'file', 'file must be the name of a file');
  require(exist(file, 'file') == 2, caller, 'file', 'there is no file %s', file);
  [first, count, given] = split_box(caller, varargin);
  options = read_field_options(caller, given);

  if is_octave()
    source = field_by_program(caller, file, options.program);
  else
    source = field_by_matlab(caller, file);
  end
  request = source.request;
  require(request.complete, caller, 'incomplete', ...
          '%s is not complete: pistonfield-run --resume completes it', file);
  count = check_box(caller, first, count, source.points);
  require(isempty(options.quantity) || isequal(options.quantity, request.quantity), caller, ...
          'quantity', 'the file has the %s', request.quantity);
  require(isempty(options.baffle) || isequal(options.baffle, baffle_of(request)), caller, ...
          'baffle', 'the baffle is %s in the file', baffle_of(request));
  require(isempty(options.nepers) || is_near(options.nepers, max([0, request.attenuation])), ...
          caller, 'nepers', 'the losses are %.9g Np/m in the file', max([0, request.attenuation]));
  unit = unit_of(caller, request, options);
  piston = piston_of(caller, request, options);
  grid = grid_of(request, piston, double(first(:)'), count);
  p = source.read(first, count);
  if ~isempty(unit)
    p = unit * p;
  end
  components = components_of_request(request);
  if components > 1
    p = reshape(turn_components(reshape(p, [], components), piston.orientation), [count, components]);
  end
  array = [];
  weights = [];
  if nargout > 3 && ~isempty(request.elements)
    [array, weights] = source.array();
    array.kind = 'table';
    array.description = struct('file', file);
  end
end

% Where no option of pistonfield_pressure is there, none has to be.
function options = read_field_options(caller, given)
  own = struct('program', '', 'piston', [], 'weights', [], 'quantity', [], 'attenuation', [], ...
               'exponent', [], 'nepers', [], 'dispersion', [], 'dispersionfrequency', [], ...
               'baffle', []);
  isOwn = @(name) ischar(name) && isfield(own, name);
  if all(cellfun(isOwn, given(1:2:end)))
    options = read_options(caller, own, given);
    options.frequency = [];
  else
    options = read_pressure_options(caller, given, own);
  end
end

% What gives the values in the file their unit, or nothing where that is not asked for.
function unit = unit_of(caller, request, options)
  unit = [];
  if isempty(options.frequency)
    return
  end
  wave = read_wave(caller, options);
  k = wave.wavenumber;
  require(is_near(k, request.k), caller, 'frequency', ...
          ['the wavenumber is %.9g in the file; the frequency %g Hz and the speed %g m/s make ', ...
           'it %.9g rad/m'], request.k, options.frequency, options.speed, k);
  hasLosses = ~isempty(options.attenuation) || ~isempty(options.nepers);
  found = max([0, request.attenuation]);
  require(~hasLosses || is_near(wave.attenuation, found), caller, 'attenuation', ...
          'the losses are %.9g Np/m in the file, and %.9g by what is given', found, wave.attenuation);
  unit = unit_of_quantity(request.quantity, options.density * wave.speed, ...
                          velocity_of(caller, request, k, options));
end

% The amplitude of the velocity, which for an array is what its weights are relative to.
function velocity = velocity_of(caller, request, k, options)
  require(isempty(request.baffle) || ~isempty(options.velocity), caller, 'power', ...
          ['the power of a file with losses, another baffle or another shape is not found; give ', ...
           'the velocity']);
  if isempty(request.elements)
    sides = struct('width', request.s, 'height', request.l);
    velocity = velocity_and_power(sides, k, options);
    return
  end
  if ~isempty(options.velocity)
    velocity = options.velocity;
    return
  end
  require(is_array(options.piston), caller, 'power', ...
          'the power of an array takes the array, in the option ''piston'', and its weights');
  array = read_array(caller, options.piston);
  array.weights = read_weights(caller, options.weights, array.count);
  require(size(array.weights, 2) == 1, caller, 'weights', ...
          'weights must be one column, as the file has one field');
  velocity = drive_of(caller, array, k, options);
end

% The piston of the file, where it lies.
function piston = piston_of(caller, request, options)
  if isempty(options.piston)
    piston = struct('center', zeros(3, 1), 'orientation', eye(3));
    return
  end
  if is_array(options.piston)
    array = read_array(caller, options.piston);
    require(isequal(request.elements, array.count), caller, 'piston', ...
            'the file has the field of %s, and not of an array of %d elements', ...
            name_of(request), array.count);
    % The file's grid is in the array's frame.
    piston = struct('center', zeros(3, 1), 'orientation', eye(3));
    return
  end
  require(isempty(request.elements), caller, 'piston', ...
          'the file has the field of %s, and of no piston', name_of(request));
  piston = read_source(caller, options.piston);
  isShaped = isfield(piston, 'outlines');
  require(isShaped == (request.l == 0), caller, 'piston', ...
          'of the piston in the file and the one that is given, one is a rectangle and one is not');
  if isShaped
    return
  end
  require(is_near(piston.width, request.s) && is_near(piston.height, request.l), ...
          caller, 'piston', ['the piston in the file measures %.9g by %.9g (x by y), and the ', ...
          'one that is given %.9g by %.9g m'], request.s, request.l, piston.width, piston.height);
end

% A file with none has a rigid one.
function baffle = baffle_of(request)
  baffle = request.baffle;
  if isempty(baffle)
    baffle = 'rigid';
  end
end

function text = name_of(request)
  text = 'a piston';
  if ~isempty(request.elements)
    text = sprintf('an array of %d elements', request.elements);
  end
end

% Requests that are written by hand have rounded numbers.
function yes = is_near(a, b)
  yes = abs(a - b) <= 1e-6 * abs(b);
end

% The points from the first of the file on, in the frame in which the piston lies.
function grid = grid_of(request, piston, first, count)
  place = request.transform.' / request.transform(4, 4);
  place(:, 1:3) = place(:, 1:3) * piston.orientation.';
  place(4, 1:3) = place(4, 1:3) + piston.center.';
  at = request.first_point + first - 1;
  % The order of additions is the module's.
  place(4, 1:3) = ((place(4, 1:3) + at(1) * place(1, 1:3)) + at(2) * place(2, 1:3)) + ...
                  at(3) * place(3, 1:3);
  grid = struct('transform', place, 'sizes', count);
end

% Box and options among the arguments after the file.
function [first, count, given] = split_box(caller, given)
  first = [1 1 1];
  count = [Inf Inf Inf];
  if isempty(given) || ischar(given{1})
    return
  end
  require(numel(given) > 1, caller, 'arguments', 'give first and count together');
  first = given{1};
  count = given{2};
  given = given(3:end);
end

function count = check_box(caller, first, count, points)
  require(is_three_whole(first) && all(first(:)' >= 1 & first(:)' <= points), caller, 'first', ...
          'first must be three whole numbers from 1 to %d, %d, %d', points);
  left = points - double(first(:)') + 1;
  require(isnumeric(count) && numel(count) == 3, caller, 'count', 'count must be three numbers');
  count = double(count(:)');
  count(count == Inf) = left(count == Inf);
  require(is_three_whole(count) && all(count >= 1 & count <= left), caller, 'count', ...
          'count must be three whole numbers from 1 to %d, %d, %d, or Inf', left);
end

function yes = is_three_whole(values)
  yes = is_finite_real(values) && numel(values) == 3 && all(values(:) == fix(values(:)));
end

%!shared folder, file, place
%! folder = tempname();
%! mkdir(folder);
%! file = fullfile(folder, 'it''s a field.h5');
%! place = [1e-4 0 0 -1/3; 0.1 1e-4 0 -4e-3; 0 0 2e-4 1e-3; 0 0 0 1];

%!function compute(file, place, varargin)
%!  % Has the program compute 6 x 5 x 4 points.
%!  numbers = sprintf(' %.17g', place.');
%!  command = ['"', getenv('PISTONFIELD_RUN'), '" --transform', numbers, ' --sizes 6 5 4', ...
%!             ' -l 5e-3 -s 7.7e-3 -k 4188.79 ', strjoin(varargin, ' '), ' "', file, '" 2>&1'];
%!  [status, text] = system(command);
%!  if status ~= 0
%!    error("%s", text);
%!  end
%!endfunction

%!function p = module_values(place, varargin)
%!  [~, p] = evalc('pistonfield(place.'', [6 5 4], 5e-3, 7.7e-3, 4188.79, varargin{:})');
%!endfunction

%!function id = refusal(varargin)
%!  try
%!    pistonfield_read(varargin{:});
%!    id = 'none';
%!  catch reason
%!    id = strrep(reason.identifier, 'pistonfield:pistonfield_read:', '');
%!  end
%!endfunction

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % the values are the module's, each in its place
%! compute(file, place, '--order 12');
%! p = pistonfield_read(file);
%! assert(class(p), 'double');
%! assert(p, module_values(place, 'cpu', 12));

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % a box is that of the array
%! p = pistonfield_read(file);
%! assert(pistonfield_read(file, [2 3 1], [4 2 3]), p(2:5, 3:4, 1:3));
%! assert(pistonfield_read(file, [6 5 4], [1 1 1]), p(6, 5, 4));
%! assert(pistonfield_read(file, [2; 1; 3], [Inf 1 Inf]), p(2:6, 1, 3:4));

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % the request reads back as it was given
%! [~, request] = pistonfield_read(file, [1 1 1], [1 1 1]);
%! assert(request.transform, place);
%! assert(request.sizes, [6 5 4]);
%! assert([request.l, request.s, request.k], [5e-3, 7.7e-3, 4188.79]);
%! assert({request.mode, request.order, request.table}, {'cpu', 12, []});
%! assert(request.first_point, [0 0 0]);
%! assert(request.complete);
%! assert(request.processes, 1);
%! assert(request.host, gethostname());
%! assert(regexp(request.started, '^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$'), 1);
%! assert(request.seconds > 0 && request.peak_memory > 1e6);

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % single precision stays single
%! single_file = fullfile(folder, 'single.h5');
%! compute(single_file, place, '--mode cpusp');
%! p = pistonfield_read(single_file);
%! assert(class(p), 'single');
%! assert(double(p), module_values(place, 'cpusp'));

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % a tolerance comes back, and what was measured
%! tolerant = fullfile(folder, 'tolerant.h5');
%! compute(tolerant, place, '--tolerance 1e-7 --relative local --behind');
%! [p, request] = pistonfield_read(tolerant);
%! assert(p, module_values(place, 'cpu', 200), 1e-5 * max(abs(p(:))));
%! assert({request.tolerance, request.relative, request.behind}, {1e-7, 'local', true});
%! assert({request.precision, request.mode, request.order}, {'double', 'cpu', []});
%! assert(0 <= request.error && request.error <= request.error_bound);
%! assert(request.error_bound <= 1e-7 && request.error_points > 0 && request.evaluations > 0);
%! compute(fullfile(folder, 'coarse.h5'), place, '--tolerance 1e-3 --precision single --behind');
%! [p, request] = pistonfield_read(fullfile(folder, 'coarse.h5'));
%! assert({class(p), request.precision, request.relative}, {'single', 'single', 'largest'});
%! [~, request] = pistonfield_read(file);
%! assert(isempty(request.tolerance) && isempty(request.relative) && isempty(request.error));

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % the field of an array comes with their number
%! id = fopen(fullfile(folder, 'array.toml'), 'w');
%! fprintf(id, 'frequency = 1e6\ntolerance = 1e-6\n[medium]\nspeed = 1500\n');
%! fprintf(id, '[grid]\nx = [-2e-3, 1e-3, 5]\ny = 0\nz = [5e-3, 2e-3, 3]\n');
%! fprintf(id, '[array]\nkind = "line"\nelements = 2\npitch = 3e-3\n');
%! fprintf(id, 'width = 2e-3\nheight = 5e-3\n');
%! fclose(id);
%! array_file = fullfile(folder, 'array.h5');
%! [status, text] = system(sprintf('cd "%s" && "%s" --request array.toml array.h5 2>&1', folder, ...
%!                                 getenv('PISTONFIELD_RUN')));
%! assert(status, 0, text);
%! [p, request, grid] = pistonfield_read(array_file);
%! assert({request.elements, request.tolerance}, {2, 1e-6});
%! assert(ischar(request.engine) && ~isempty(request.engine));
%! assert([request.l, request.s], [0, 0]);
%! assert(isempty(request.table));
%! expected = 0;
%! for x = [-1.5e-3, 1.5e-3]
%!   moved = grid.transform.';
%!   moved(1, 4) = moved(1, 4) - x;
%!   [~, one] = evalc('pistonfield(moved.'', [5 1 3], 5e-3, 2e-3, request.k, ''cpu'', 100)');
%!   expected = expected + one;
%! end
%! assert(size(p), [5 1 3]);
%! assert(p, expected, 1e-6 * max(abs(expected(:))));
%! wave = {'frequency', 1e6, 'speed', 1500, 'density', 900, 'velocity', 0.1};
%! assert(pistonfield_read(array_file, wave{:}), 1i * 900 * 1500 * 0.1 * p);
%! two = pistonfield_array('line', 'elements', 2, 'pitch', 3e-3, 'width', 2e-3, 'height', 5e-3);
%! [pa, ~, same] = pistonfield_read(array_file, 'piston', two, 'weights', [1; 1], wave{:});
%! assert({pa, same}, {1i * 900 * 1500 * 0.1 * p, grid});
%! [~, info] = pistonfield_pressure(two, [0 0 1e-2], wave{1:6}, 'power', 2);
%! assert(pistonfield_read(array_file, 'piston', two, wave{1:6}, 'power', 2), ...
%!        1i * 900 * 1500 * info.velocity * p);
%! assert(refusal(array_file, wave{1:4}, 'power', 1), 'power');
%! assert(refusal(array_file, 'piston', two, 'weights', ones(2), wave{1:4}, 'power', 1), 'weights');
%! [~, ~, ~, array, w] = pistonfield_read(array_file, [1 1 1], [1 1 1]);
%! assert(w, [1; 1]);
%! assert({array.width, array.height, array.kind}, {2e-3, 5e-3, 'table'});
%! assert({array.center, array.orientation}, {two.center, two.orientation});
%! [~, ~, ~, array, w] = pistonfield_read(file, [1 1 1], [1 1 1]);
%! assert({array, w}, {[], []});
%! three = pistonfield_array('line', 'elements', 3, 'pitch', 3e-3, 'width', 2e-3, 'height', 5e-3);
%! assert(refusal(array_file, 'piston', three), 'piston');
%! assert(refusal(file, 'piston', two), 'piston');
%! assert(refusal(array_file, 'piston', struct('width', 2e-3, 'height', 5e-3)), 'piston');
%! [~, request] = pistonfield_read(file);
%! assert(isempty(request.elements) && isempty(request.engine));

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % the field of a piston that is no rectangle
%! id = fopen(fullfile(folder, 'disc.toml'), 'w');
%! fprintf(id, 'frequency = 1e6\ntolerance = 1e-6\n[medium]\nspeed = 1500\n');
%! fprintf(id, '[grid]\nx = 0\ny = 0\nz = [5e-3, 2e-3, 3]\n');
%! fprintf(id, '[piston]\nshape = "disc"\nradius = 4e-3\n');
%! fclose(id);
%! [status, text] = system(sprintf('cd "%s" && "%s" --request disc.toml disc.h5 2>&1', folder, ...
%!                                 getenv('PISTONFIELD_RUN')));
%! assert(status, 0, text);
%! [p, request] = pistonfield_read(fullfile(folder, 'disc.h5'));
%! z = [5e-3 7e-3 9e-3];
%! expected = 1i * (exp(-1i * request.k * hypot(z, 4e-3)) - exp(-1i * request.k * z));
%! assert(p(:).', expected, 1e-6 * max(abs(expected)));
%! assert([request.l, request.s], [0, 0]);
%! assert(isempty(request.elements) && strcmp(request.engine, 'contours'));
%! assert({request.attenuation, request.baffle}, {0, 'rigid'});
%! wave = {'frequency', 1e6, 'speed', 1500, 'density', 900};
%! pa = pistonfield_read(fullfile(folder, 'disc.h5'), wave{:}, 'velocity', 0.1);
%! assert(pa, 1i * 900 * 1500 * 0.1 * p);
%! assert(refusal(fullfile(folder, 'disc.h5'), wave{:}, 'power', 1), 'power');

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % a table comes back, and its field
%! rule = [-0.5 0.9; 0.1 0.6; 1/3 0.5];
%! rule_file = fullfile(folder, 'rule.txt');
%! id = fopen(rule_file, 'w');
%! fprintf(id, '%.17g %.17g\n', rule.');
%! fclose(id);
%! table_file = fullfile(folder, 'table.h5');
%! compute(table_file, place, '--table', rule_file);
%! [p, request] = pistonfield_read(table_file);
%! assert(request.table, rule);
%! assert(request.order, 3);
%! assert(p, module_values(place, 'cpu', reshape(rule.', [], 2)));

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % a part counts its points from its first one
%! compute(fullfile(folder, 'cut.h5'), place, '--order 12 --part 2/2');
%! [p, request] = pistonfield_read(fullfile(folder, 'cut.part-2-of-2.h5'));
%! whole = pistonfield_read(file);
%! assert(request.first_point, [0 0 2]);
%! assert(request.sizes, [6 5 4]);
%! assert(p, whole(:, :, 3:4));
%! assert(pistonfield_read(fullfile(folder, 'cut.part-2-of-2.h5'), [2 1 2], [1 2 1]), ...
%!        whole(2, 1:2, 4));

%!function [x, y, z] = positions_of(place, first, count)
%!  % In the lattice that is computed, from a point on that is counted from 0.
%!  [ix, iy, iz] = ndgrid(first(1) + (0:count(1) - 1), first(2) + (0:count(2) - 1), ...
%!                        first(3) + (0:count(3) - 1));
%!  at = place * [ix(:), iy(:), iz(:), ones(numel(ix), 1)].' / place(4, 4);
%!  [x, y, z] = deal(reshape(at(1, :), count), reshape(at(2, :), count), reshape(at(3, :), count));
%!endfunction

%!function expect_points(grid, place, first, count)
%!  assert(grid.sizes, count);
%!  found = cell(1, 3);  wanted = cell(1, 3);
%!  [found{:}] = pistonfield_grid(grid, 'positions');
%!  [wanted{:}] = positions_of(place, first, count);
%!  assert(found, wanted, 4 * eps(1));
%!endfunction

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % the grid is that of what is read
%! [~, ~, grid] = pistonfield_read(file);
%! assert(grid, struct('transform', place.', 'sizes', [6 5 4]));
%! [~, ~, grid] = pistonfield_read(file, [2 3 1], [4 2 Inf]);
%! expect_points(grid, place, [1 2 0], [4 2 4]);
%! [p, ~, grid] = pistonfield_read(fullfile(folder, 'cut.part-2-of-2.h5'), [3; 1; 2], [2; 5; 1]);
%! expect_points(grid, place, [2 0 3], [2 5 1]);
%! assert(size(p), [2 5]);

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % what positions are divided by is in the grid
%! halved = place;  halved(4, 4) = 2;
%! halved_file = fullfile(folder, 'halved.h5');
%! compute(halved_file, halved, '');
%! [~, ~, grid] = pistonfield_read(halved_file, [1 2 3], [6 4 2]);
%! expect_points(grid, halved, [0 1 2], [6 4 2]);

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % in Pa, before a piston elsewhere
%! piston = struct('width', 7.7e-3, 'height', 5e-3, 'center', [1 2 3], ...
%!                 'orientation', [0 0 1; 1 0 0; 0 1 0]);
%! % The wavenumber of the request has seven digits; other options have no part in it.
%! wave = {'frequency', 4188.79 * 1500 / (2 * pi) * (1 + 4e-7), 'speed', 1500, ...
%!         'density', 900, 'velocity', 0.1, 'order', 7, 'threads', 1};
%! [p, ~, grid] = pistonfield_read(file, 'piston', piston, wave{:});
%! [raw, ~, seen] = pistonfield_read(file);
%! assert(p, 1i * 900 * 1500 * 0.1 * raw);
%! [x, y, z] = pistonfield_grid(seen, 'positions');
%! [x1, y1, z1] = pistonfield_grid(grid, 'positions');
%! assert({x1, y1, z1}, {z + 1, x + 2, y + 3}, 4 * eps(4));
%! [same, ~, before] = pistonfield_read(file, wave{:});
%! assert({same, before}, {p, seen});
%! [same, ~, before] = pistonfield_read(file, 'piston', piston);
%! assert({same, before}, {raw, grid});

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % another piston or wave than the file's is refused
%! piston = struct('width', 7.7e-3, 'height', 5e-3);
%! turned = struct('width', 5e-3, 'height', 7.7e-3);
%! frequency = 4188.79 * 1500 / (2 * pi);
%! wave = {'frequency', frequency, 'speed', 1500};
%! assert(refusal(file, 'piston', piston, wave{:}), 'none');
%! assert(refusal(file, 'piston', turned, wave{:}), 'piston');
%! assert(refusal(file, 'piston', 7, wave{:}), 'piston');
%! assert(refusal(file, 'frequency', frequency), 'frequency');
%! assert(refusal(file, 'frequency', 1.00001 * frequency, 'speed', 1500), 'frequency');
%! assert(refusal(file, 'velocity', 0.1), 'frequency');
%! assert(refusal(file, wave{:}, 'velocity', 0.1, 'power', 1), 'power');

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % nothing stays in the temporary folder
%! temporary = fullfile(folder, 'temporary');
%! mkdir(temporary);
%! before = getenv('TMPDIR');
%! setenv('TMPDIR', temporary);
%! pistonfield_read(file);
%! setenv('TMPDIR', before);
%! assert(numel(dir(temporary)), 2);  % . and ..

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % a file that is not complete is refused
%! work = ' --sizes 100 100 100 --order 16383 --slab 100 --part 1/1 "';  % minutes
%! begun = fullfile(folder, 'b.part-1-of-1.h5');
%! [~, ~] = system(['"', getenv('PISTONFIELD_RUN'), '" --transform 1 0 0 0  0 1 0 0  0 0 1 1  ', ...
%!                  '0 0 0 1 -l 5 -s 7 -k 4', work, fullfile(folder, 'b.h5'), '" 2>&1 & run=$!; ', ...
%!                  'for i in $(seq 600); do [ -e "', begun, '" ] && break; sleep 0.1; done; ', ...
%!                  'kill $run; wait $run']);
%! assert(exist(begun, 'file'), 2);
%! assert(refusal(begun), 'incomplete');

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % a box beyond the field is refused
%! assert(refusal(file, [0 1 1], [1 1 1]), 'first');
%! assert(refusal(file, [1 1 5], [1 1 1]), 'first');
%! assert(refusal(file, [1.5 1 1], [1 1 1]), 'first');
%! assert(refusal(file, [1 1], [1 1 1]), 'first');
%! assert(refusal(file, [2 1 1], [6 1 1]), 'count');
%! assert(refusal(file, [1 1 1], [1 0 1]), 'count');
%! assert(refusal(file, [1 1 1], [NaN 1 1]), 'count');
%! assert(refusal(file, [1 1 1], 'all'), 'count');

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % what is no field is refused in the program's words
%! fail('pistonfield_read(which("pistonfield_read"))', 'cannot be opened as HDF5');
%! assert(refusal(which('pistonfield_read')), 'file');

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % the program may be named, or be on the PATH
%! program = getenv('PISTONFIELD_RUN');
%! path = getenv('PATH');
%! whole = pistonfield_read(file);
%! unwind_protect
%!   setenv('PISTONFIELD_RUN', '/nowhere/pistonfield-run');
%!   assert(refusal(file), 'program');
%!   assert(pistonfield_read(file, 'program', program), whole);
%!   setenv('PISTONFIELD_RUN', '');
%!   setenv('PATH', [fileparts(program), ':', path]);
%!   assert(pistonfield_read(file), whole);
%! unwind_protect_cleanup
%!   setenv('PISTONFIELD_RUN', program);
%!   setenv('PATH', path);
%! end_unwind_protect

%!test
%! confirm_recursive_rmdir(false, 'local');
%! rmdir(folder, 's');

%!error id=pistonfield:pistonfield_read:arguments pistonfield_read()
%!error id=pistonfield:pistonfield_read:file pistonfield_read(7)
%!error <there is no file nowhere.h5> pistonfield_read('nowhere.h5')
%!error id=pistonfield:pistonfield_read:arguments
%! pistonfield_read(which('pistonfield_read'), [1 1 1]);
%!error id=pistonfield:pistonfield_read:options
%! pistonfield_read(which('pistonfield_read'), 'folder', '.');
%!error id=pistonfield:pistonfield_read:program
%! pistonfield_read(which('pistonfield_read'), 'program', 7);
%!error <there is no program /nowhere>
%! pistonfield_read(which('pistonfield_read'), 'program', '/nowhere');
