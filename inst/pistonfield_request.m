function info = pistonfield_request(file, piston, grid, varargin)
  % pistonfield_request: writes the request file with which pistonfield-run computes a field.
  %
  % DESCRIPTION
  %   Takes what pistonfield_pressure takes, and in place of computing the field writes down what it
  %   is, for the program pistonfield-run: on a cluster, or where the field is too large for this
  %   machine. Then, in a shell,
  %
  %     pistonfield-run --request request.toml field.h5
  %
  %   computes it, and pistonfield_read reads it back. The file is a text in SI units that may be
  %   changed by hand. It has the tolerance, which the program keeps as pistonfield_pressure does;
  %   or, with 'mode' or 'order', the mode and the order that pistonfield_pressure would take. It has
  %   the velocity where a power is given.
  %
  %   A disc, a ring, a sector and a polygon are written as what they are, a polygon with holes edge by
  %   edge; losses, the baffle and the quantity as pistonfield_pressure, pistonfield_velocity and
  %   pistonfield_intensity take them.
  %
  %   The elements of an array, with their weights, go into a table beside the file, of its name with
  %   the ending .csv, which the file names: the two belong together.
  %
  %   With a mode and an order a point exactly over a corner of the piston, where the edge integrals
  %   have no value, is NaN in the program's field.
  %
  % USAGE
  %   pistonfield_request(file, piston, grid, 'frequency', f)
  %   pistonfield_request(file, array, grid, 'frequency', f, 'weights', w)
  %   info = pistonfield_request(file, piston, grid, 'frequency', f, name, value, ...)
  %
  % INPUTS
  %   file         - the name of the file to write, such as 'request.toml'
  %   piston       - struct with width and height [m], and optionally center [m] and orientation;
  %                  or one of another shape, made by pistonfield_piston; see pistonfield_pressure; or
  %                  an array, as it takes it
  %   grid         - the points [m], made by pistonfield_grid; none may lie behind the piston, or any
  %                  element, but with 'behind'
  %   'frequency'  - frequency [Hz]
  %
  % OPTIONAL INPUTS (names and values)
  %   'speed', 'density', 'velocity', 'power', 'tolerance', 'relative', 'precision', 'device',
  %   'behind', 'mode', 'order', 'attenuation', 'exponent', 'nepers', 'dispersion',
  %   'dispersionfrequency', 'baffle'
  %                - as for pistonfield_pressure, with the same values when left out. A grid that
  %                  touches the piston's plane aslant is written with 'behind', as rounding may put
  %                  its points there
  %   'quantity'   - 'pressure' (default), 'velocity' or 'intensity'
  %   'weights'    - of an array: one column, as for pistonfield_pressure
  %   'overwrite'  - true: replace files that exist, which is refused otherwise
  %   The other options of pistonfield_pressure are taken and ignored, so that one list of options
  %   serves both functions.
  %
  % OUTPUTS
  %   info         - struct with the fields
  %                    engine, tolerance, bound, error, evaluations, order, estimate
  %                                as pistonfield_pressure tells them
  %                    wavenumber  2*pi*frequency / speed [rad/m], of the phase
  %                    velocity    the amplitude of the piston's normal velocity, or what the
  %                                weights are relative to [m/s]
  %                    power       the radiated power [W]; NaN of an array, unless it was given
  %
  % EXAMPLES
  %   piston = struct('width', 7.5e-3, 'height', 5e-3);
  %   grid = pistonfield_grid((-20:0.1:20) * 1e-3, (-20:0.1:20) * 1e-3, (1:0.2:120) * 1e-3);
  %   wave = {'frequency', 1e6, 'velocity', 0.01};
  %   pistonfield_request('request.toml', piston, grid, wave{:});
  %
  %   % In a shell: mpirun -n 16 pistonfield-run --request request.toml field.h5
  %   [p, ~, grid] = pistonfield_read('field.h5', 'piston', piston, wave{:});
  %   pistonfield_plot(p, grid);
  %
  %   % An array: writes array.toml and array.csv.
  %   array = pistonfield_array('line', 'elements', 64, 'pitch', 0.3e-3, 'width', 0.27e-3, ...
  %                             'height', 10e-3);
  %   w = pistonfield_focus(array, [0 0 30e-3], 'frequency', 2.5e6);
  %   pistonfield_request('array.toml', array, grid, 'frequency', 2.5e6, 'weights', w);
  %
  % See also: pistonfield_read, pistonfield_pressure, pistonfield_grid

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_request';
  require(nargin >= 3, caller, 'arguments', 'give a file, a piston, a grid and the frequency');
  require_module(caller);
  require(ischar(file) && isrow(file) && ~isempty(file), caller, 'file', 'file must be the name of a file');
  source = read_source(caller, piston);
  require_grid(caller, grid);
  options = read_pressure_options(caller, varargin, struct('weights', [], 'overwrite', false, ...
                                                           'quantity', 'pressure', ...
                                                           'attenuation', [], 'exponent', [], ...
                                                           'nepers', [], 'dispersion', [], ...
                                                           'dispersionfrequency', [], ...
                                                           'baffle', []));
  require_flag(caller, 'overwrite', options.overwrite);
  require_word(caller, 'quantity', options.quantity, {'pressure', 'velocity', 'intensity'});
  [source, ~, fields] = with_weights(caller, source, options);
  require(fields == 1, caller, 'weights', 'a request has one column of weights, and not %d', fields);
  options.physics = read_physics(caller, options.quantity, source, options);
  require_rows(caller, grid.sizes, options.mode, options.arithmetic);
  isArray = isfield(source, 'weights');
  place = grid.transform;
  if ~isArray
    [place, options.behind] = place_before(caller, source, grid, options.behind);
  end
  require_new(caller, file, options.overwrite);
  if isArray
    table = table_beside(caller, file, options.overwrite);
    rows = table_of_array(caller, source, source.weights);
    % The program takes no larger one.
    require(numel(rows) <= 64e6, caller, 'array', ...
            'the table of %d elements has %d MB, more than the 64 MB of pistonfield-run', ...
            source.count, ceil(numel(rows) / 1e6));
  end

  k = options.physics.wavenumber;
  [velocity, power] = drive_of(caller, source, k, options);
  found = field_accuracy(caller, place, grid.sizes, source, k, options);
  options.velocity = velocity;
  options.order = found.order;
  if isArray
    write_text(caller, table, rows);
    radiating = array_text(table);
  else
    radiating = piston_text(piston, source);
  end
  write_text(caller, file, request_text(radiating, grid, options));
  if nargout > 0
    info = found;
    info.wavenumber = k;
    info.velocity = velocity;
    info.power = power;
  end
end

% The table's file has the name of the request's, with another ending.
function table = table_beside(caller, file, overwrite)
  [folder, name, ending] = fileparts(file);
  require(~strcmp(ending, '.csv'), caller, 'file', ...
          'file must not end with .csv, as the table of the array does beside it');
  table = fullfile(folder, [name, '.csv']);
  require_new(caller, table, overwrite);
end

function text = array_text(table)
  [~, name, ending] = fileparts(table);
  name = regexprep([name, ending], '(["\\])', '\\$1');
  text = sprintf('%s\n', '[array]', '# Its elements and their weights, beside this file.', ...
                 ['table = "', name, '"']);
end

% given is the piston before it was read.
function text = piston_text(given, piston)
  lines = [
    {'[piston]'}
    shape_lines(given, piston)
    {['center = ', list(piston.center)]
     '# The columns are its x, its y and its normal.'
     ['orientation = ', list_of_rows(piston.orientation)]}];
  text = sprintf('%s\n', lines{:});
end

function lines = shape_lines(given, piston)
  if ~isfield(piston, 'outlines')
    lines = {['width = ', number(piston.width), '  # along its x']
             ['height = ', number(piston.height), '  # along its y']};
    return
  end
  names = struct('disc', {{'radius'}}, 'ring', {{'inner', 'outer'}}, ...
                 'sector', {{'inner', 'outer', 'angles'}}, 'polygon', {{'corners'}});
  if isfield(given, 'holes') && ~isempty(given.holes)
    lines = {'shape = "outline"'
             '# For each edge the number of its loop; a 0, x and y of both ends and a 0; or of an arc'
             '# a 1, x and y of its centre, its radius, the angle where it begins and its sweep.'
             ['edges = ', list_of_rows([piston.outlines(2, :) - 1; piston.outlines(3:8, :)].')]};
    return
  end
  lines = {['shape = "', given.shape, '"']};
  for name = names.(given.shape)
    if ~isfield(given, name{1})
      continue
    end
    value = double(full(given.(name{1})));
    switch name{1}
      case 'corners'
        line = ['corners = ', list_of_rows(value)];
      case 'angles'
        line = ['angles_degrees = ', list(value)];
      otherwise
        line = [name{1}, ' = ', number(value)];
    end
    lines{end + 1, 1} = line; %#ok<AGROW>
  end
end

% radiating is the table of what radiates.
function text = request_text(radiating, grid, options)
  lines = [
    {'# A field for pistonfield-run, in SI units: m, s, kg, Hz.'
     ['frequency = ', number(options.frequency)]
     ['velocity = ', number(options.velocity), '  # ', meaning_of_velocity(radiating)]
     exactness_text(options)}
    physics_lines(options)
    {''
     '[medium]'
     ['speed = ', number(options.speed)]
     ['density = ', number(options.density)]}
    losses_lines(options)
    {''
     radiating
     '[grid]'
     '# The rows are the steps along its three directions and the first point, as pistonfield_grid'
     '# has them.'
     ['transform = ', list_of_rows(grid.transform)]
     ['sizes = ', list(grid.sizes)]}];
  text = sprintf('%s\n', lines{:});
end

% What is not as it usually is.
function lines = physics_lines(options)
  lines = cell(0, 1);
  if ~strcmp(options.physics.baffle, 'rigid')
    lines{end + 1, 1} = ['baffle = "', options.physics.baffle, '"'];
  end
  if ~strcmp(options.quantity, 'pressure')
    lines{end + 1, 1} = ['quantity = "', options.quantity, '"'];
  end
end

function lines = losses_lines(options)
  lines = cell(0, 1);
  for name = {'attenuation', 'exponent', 'nepers'}
    if ~isempty(options.(name{1}))
      lines{end + 1, 1} = [name{1}, ' = ', number(double(options.(name{1})))]; %#ok<AGROW>
    end
  end
  if ~isempty(options.physics.dispersionFrequency)
    lines{end + 1, 1} = ['dispersion_frequency = ', number(options.physics.dispersionFrequency)];
  end
end

function text = meaning_of_velocity(radiating)
  text = 'amplitude of the piston''s normal velocity';
  if strncmp(radiating, '[array]', 7)
    text = 'what the weights are relative to';
  end
end

% A mode and its order, or a tolerance. A grid that touches the piston's plane may have points behind
% it once the program has placed it.
function text = exactness_text(options)
  if options.byMode
    text = sprintf('mode = "%s"\norder = %s', options.mode, number(options.order));
    return
  end
  text = sprintf('tolerance = %s\nrelative = "%s"\nprecision = "%s"', ...
                 number(options.tolerance), options.relative, options.precision);
  if strcmp(options.device, 'gpu')
    text = sprintf('%s\ndevice = "gpu"', text);
  end
  if options.behind
    text = sprintf('%s\nbehind = true', text);
  end
end

function text = list(values)
  numbers = arrayfun(@number, values(:).', 'UniformOutput', false);
  text = ['[', strjoin(numbers, ', '), ']'];
end

function text = list_of_rows(matrix)
  lists = cellfun(@list, num2cell(matrix, 2), 'UniformOutput', false);
  text = sprintf('[\n    %s]', strjoin(lists.', sprintf(',\n    ')));
end

% As few digits as read back as this number.
function text = number(value)
  for digits = 15:17
    text = sprintf('%.*g', digits, value);
    if str2double(text) == value
      return
    end
  end
end

%!shared folder, file, piston, grid, wave
%! folder = tempname();
%! mkdir(folder);
%! file = fullfile(folder, 'it''s a request.toml');
%! piston = struct('width', 3e-3, 'height', 2e-3);
%! grid = pistonfield_grid((-3:3) * 0.7e-3, (-2:3) * 0.9e-3, (1:5) * 1.1e-3);
%! wave = {'frequency', 1e6, 'order', 16};

%!function report = run(varargin)
%!  % What the program prints.
%!  words = cellfun(@(word) ['"', word, '" '], varargin, 'UniformOutput', false);
%!  [status, report] = system(['"', getenv('PISTONFIELD_RUN'), '" ', words{:}, '2>&1']);
%!  if status ~= 0
%!    error("%s", report);
%!  end
%!endfunction

%!function [p, request, back] = there_and_back(folder, piston, grid, wave, varargin)
%!  % The field by the program, in Pa, and its grid.
%!  file = fullfile(folder, 'there.toml');
%!  pistonfield_request(file, piston, grid, wave{:}, 'overwrite', true);
%!  field = fullfile(folder, 'there.h5');
%!  run('--request', file, '--overwrite', varargin{:}, field);
%!  [p, request, back] = pistonfield_read(field, 'piston', piston, wave{:});
%!endfunction

%!test % the tolerance is that of pistonfield_pressure, and so is all that is told
%! drive = {'frequency', 0.8e6, 'speed', 1500, 'density', 900, 'power', 0.2, 'tolerance', 1e-6, ...
%!          'relative', 'local'};
%! info = pistonfield_request(file, piston, grid, drive{:});
%! [~, wanted] = pistonfield_pressure(piston, grid, drive{:});
%! assert(rmfield(wanted, {'elements', 'weightings', 'slabs', 'moved', 'seconds'}), info);
%! text = fileread(file);
%! lines = sprintf('\ntolerance = 1e-06\nrelative = "local"\nprecision = "double"\n\n');
%! assert(~isempty(strfind(text, lines)));
%! assert(~isempty(strfind(text, sprintf('\nspeed = 1500\ndensity = 900\n'))));
%! pistonfield_request(file, piston, grid, 'frequency', 1e6, 'precision', 'single', ...
%!                     'overwrite', true);
%! lines = sprintf('\ntolerance = 0.0001\nrelative = "largest"\nprecision = "single"\n\n');
%! assert(~isempty(strfind(fileread(file), lines)));

%!test % so is the device
%! info = pistonfield_request(file, piston, grid, 'frequency', 1e6, 'device', 'gpu', ...
%!                            'overwrite', true);
%! assert(info.engine, 'tolerance engine, double precision on a GPU');
%! lines = sprintf('\nprecision = "double"\ndevice = "gpu"\n\n');
%! assert(~isempty(strfind(fileread(file), lines)));

%!test % in a mode the order is that of pistonfield_pressure
%! drive = {'frequency', 0.8e6, 'mode', 'cpusp', 'tolerance', 1e-3, 'overwrite', true};
%! info = pistonfield_request(file, piston, grid, drive{:});
%! [~, wanted] = pistonfield_pressure(piston, grid, drive{1:6});
%! assert(rmfield(wanted, {'elements', 'weightings', 'slabs', 'moved', 'seconds'}), info);
%! text = fileread(file);
%! assert(~isempty(strfind(text, sprintf('\nmode = "cpusp"\norder = %d\n\n', wanted.order))));
%! assert(isempty(strfind(text, 'tolerance')));

%!function yes = says_behind(file, piston, grid, varargin)
%!  pistonfield_request(file, piston, grid, 'frequency', 1e6, 'overwrite', true, varargin{:});
%!  yes = ~isempty(strfind(fileread(file), sprintf('\nbehind = true\n')));
%!endfunction

%!test % points behind the piston are allowed where they are asked for, and where a grid touches it
%! z = (0:3) * 1e-3;
%! assert(says_behind(file, piston, pistonfield_grid(0, 0, -z), 'behind', true));
%! assert(! says_behind(file, piston, pistonfield_grid(0, 0, z)));
%! assert(! says_behind(file, piston, pistonfield_grid(0, 0, z + 1e-3)));
%! turned = piston;
%! turned.orientation = [cosd(20) 0 sind(20); 0 1 0; -sind(20) 0 cosd(20)];
%! steps = 1e-3 * turned.orientation;
%! assert(says_behind(file, turned, pistonfield_grid([-1 0 0] * steps.', steps, [4 3 2])));
%! assert(! says_behind(file, turned, pistonfield_grid([-1 0 0.1] * steps.', steps, [4 3 2])));

%!test % a file that exists stays as it is, unless it may be replaced
%! before = fileread(file);
%! try
%!   pistonfield_request(file, piston, grid, wave{:});
%!   identifier = 'none';
%! catch reason
%!   identifier = reason.identifier;
%! end
%! assert(identifier, 'pistonfield:pistonfield_request:file');
%! assert(fileread(file), before);
%! pistonfield_request(file, piston, grid, wave{:}, 'overwrite', true);
%! assert(~strcmp(fileread(file), before));
%! pistonfield_request(file, piston, grid, wave{:}, 'overwrite', true, 'memory', 1e6, ...
%!                     'threads', 1, 'progress', 'none');

%!test % a file of the path is no file of the folder
%! before = pwd();
%! unwind_protect
%!   cd(folder);
%!   pistonfield_request('pistonfield_request.m', piston, grid, wave{:});
%!   assert(exist(fullfile(folder, 'pistonfield_request.m'), 'file'), 2);
%!   fail('pistonfield_request("pistonfield_request.m", piston, grid, wave{:})', 'exists');
%!   delete('pistonfield_request.m');
%! unwind_protect_cleanup
%!   cd(before);
%! end_unwind_protect

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % the field is that of pistonfield_pressure
%! % The grid is aligned with the piston, so that nothing rounds on the way.
%! drive = {'frequency', 0.8e6, 'speed', 1510.3, 'density', 900, 'velocity', 0.3, 'order', 17};
%! [p, request, back] = there_and_back(folder, piston, grid, drive);
%! assert(p, pistonfield_pressure(piston, grid, drive{:}));
%! assert(back, grid);
%! assert({request.mode, request.order, request.tolerance}, {'cpu', 17, []});
%! assert([request.s, request.l, request.k], [3e-3, 2e-3, 2 * pi * 0.8e6 / 1510.3]);

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % with a power, and a part of the grid
%! drive = {'frequency', 1e6, 'power', 2, 'tolerance', 1e-3};
%! p = pistonfield_pressure(piston, grid, drive{:});
%! assert(there_and_back(folder, piston, grid, drive), p);
%! field = fullfile(folder, 'there.h5');
%! [box, ~, back] = pistonfield_read(field, [2 3 4], [5 Inf 2], 'piston', piston, drive{:});
%! assert(box, p(2:6, 3:6, 4:5));
%! [x, y, z] = pistonfield_grid(grid, 'axes');
%! [x1, y1, z1] = pistonfield_grid(back, 'axes');
%! assert({x1, y1, z1}, {x(2:6), y(3:6), z(4:5)}, 4 * eps(z(5)));

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % within a tolerance, in either precision
%! for relative = {'largest', 'local'}
%!   drive = {'frequency', 1e6, 'tolerance', 1e-5, 'relative', relative{1}};
%!   [p, request] = there_and_back(folder, piston, grid, drive);
%!   assert(p, pistonfield_pressure(piston, grid, drive{:}));
%!   assert({request.tolerance, request.relative}, {1e-5, relative{1}});
%!   assert({request.precision, request.behind, request.order}, {'double', false, []});
%!   assert(0 <= request.error && request.error <= request.error_bound);
%!   assert(request.error_bound <= 1e-5);
%!   assert(request.error_points > 0 && request.evaluations > 0);
%! end
%! drive = {'frequency', 1e6, 'tolerance', 1e-3, 'precision', 'single'};
%! [p, request] = there_and_back(folder, piston, grid, drive);
%! assert({class(p), request.precision}, {'single', 'single'});
%! wanted = pistonfield_pressure(piston, grid, drive{:});
%! % In Pa the values are rounded once more, which takes a product of three.
%! assert(double(p), wanted, 2 * eps('single') * max(abs(wanted(:))));

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % on a GPU
%! drive = {'frequency', 1e6, 'tolerance', 1e-5, 'device', 'gpu'};
%! [p, request] = there_and_back(folder, piston, grid, drive);
%! assert({request.device, request.precision, request.mode}, {'gpu', 'double', 'cudadp'});
%! assert(p, pistonfield_pressure(piston, grid, drive{:}));

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % behind the piston, where that is asked for
%! around = pistonfield_grid((-1:1) * 0.7e-3, 0, (-2:2) * 1.1e-3);
%! drive = {'frequency', 1e6, 'tolerance', 1e-5, 'behind', true};
%! [p, request] = there_and_back(folder, piston, around, drive);
%! assert(request.behind);
%! assert(p, pistonfield_pressure(piston, around, drive{:}));
%! assert(p(:, :, 1:2), p(:, :, 5:-1:4), 2e-5 * max(abs(p(:))));

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % on a grid that touches the piston's plane aslant
%! turned = piston;
%! turned.orientation = [cosd(20) 0 sind(20); 0 1 0; -sind(20) 0 cosd(20)] * ...
%!                      [1 0 0; 0 cosd(10) -sind(10); 0 sind(10) cosd(10)];
%! steps = 0.7e-3 * turned.orientation;
%! points = pistonfield_grid([-1.5 -2.5 0] * steps.', steps, [4 6 3]);
%! [p, request] = there_and_back(folder, turned, points, {'frequency', 1e6});
%! assert(request.behind);
%! wanted = pistonfield_pressure(turned, points, 'frequency', 1e6);
%! assert(p, wanted, 1e-4 * max(abs(wanted(:))));

%!function [p, request, array, w] = array_there_and_back(folder, array, w, grid, wave, varargin)
%!  % The field of an array by the program, in Pa, and the array as it was written.
%!  name = fullfile(folder, 'an "array" of it''s');
%!  pistonfield_request([name, '.toml'], array, grid, wave{:}, 'weights', w, 'overwrite', true);
%!  field = fullfile(folder, 'array.h5');
%!  run('--request', strrep([name, '.toml'], '"', '\"'), '--overwrite', varargin{:}, field);
%!  [p, request, ~, array, w] = pistonfield_read(field, 'piston', array, 'weights', w, wave{:});
%!  [same, found] = pistonfield_array('table', 'file', [name, '.csv']);
%!  assert({same.width, same.height, same.center, same.orientation, found}, ...
%!         {array.width, array.height, array.center, array.orientation, w});
%!endfunction

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % of an array the elements go into a table, all bits
%! turn = [cosd(20) 0 sind(20); 0 1 0; -sind(20) 0 cosd(20)];
%! array = pistonfield_array('convex', 'elements', 7, 'radius', 30e-3, 'pitch', 2e-3, ...
%!                           'width', 1.7e-3, 'height', 5e-3, 'center', [0 1 2] / 700, ...
%!                           'orientation', turn);
%! w = pistonfield_focus(array, [3e-3 0 30e-3], 'frequency', 1e6) .* (1:7).' / 3;
%! before = pistonfield_grid((-4:4) * 1e-3, 0, (20:5:40) * 1e-3);
%! drive = {'frequency', 1e6, 'speed', 1500, 'velocity', 0.2, 'tolerance', 1e-6};
%! [p, request, back, found] = array_there_and_back(folder, array, w, before, drive);
%! assert(p, pistonfield_pressure(array, before, drive{:}, 'weights', w));
%! assert({request.elements, request.tolerance}, {7, 1e-6});
%! assert({back.center, back.orientation, found}, {array.center, array.orientation, w});

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % with a power, in single precision, without weights
%! array = pistonfield_array('matrix', 'elements', [4 3], 'pitch', 2e-3, 'width', 1.7e-3, ...
%!                           'height', 1.9e-3);
%! before = pistonfield_grid((-4:4) * 1e-3, 0, (20:5:40) * 1e-3);
%! drive = {'frequency', 1e6, 'power', 3, 'tolerance', 1e-3, 'precision', 'single'};
%! p = array_there_and_back(folder, array, [], before, drive);
%! wanted = pistonfield_pressure(array, before, drive{:});
%! assert(double(p), wanted, 4 * eps('single') * max(abs(wanted(:))));

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % behind its elements, where that is asked for
%! array = pistonfield_array('line', 'elements', 3, 'pitch', 2e-3, 'width', 1e-3, 'height', 2e-3);
%! around = pistonfield_grid((-1:1) * 0.7e-3, 0, (-2:2) * 1.1e-3);
%! drive = {'frequency', 1e6, 'tolerance', 1e-5, 'behind', true};
%! [p, request] = array_there_and_back(folder, array, [], around, drive);
%! assert(request.behind);
%! assert(p, pistonfield_pressure(array, around, drive{:}));

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % losses, baffles and shapes keep all bits
%! square = [-1 -1; 1 -1; 1 1; -1 1];
%! shapes = {piston
%!           pistonfield_piston('disc', 'radius', 2e-3 / 3, 'center', [1e-3 0 0])
%!           pistonfield_piston('ring', 'inner', 1e-3, 'outer', 7e-3 / 3)
%!           pistonfield_piston('sector', 'outer', 2e-3, 'angles', [-20.1 70.7])
%!           pistonfield_piston('sector', 'inner', 1e-3, 'outer', 2e-3, 'angles', [10 100] / 7)
%!           pistonfield_piston('polygon', 'corners', 7e-3 / 3 * square([1 4 3 2], :))
%!           pistonfield_piston('polygon', 'corners', 7e-3 / 3 * square, 'holes', {1e-3 / 3 * square})};
%! losses = {{}, {'attenuation', 0.7 / 3}, {'nepers', 10 / 3, 'baffle', 'soft'}, ...
%!           {'attenuation', 0.5, 'exponent', 1.1, 'dispersion', true}, {'baffle', 'free'}, ...
%!           {'nepers', 1, 'dispersion', true, 'dispersionfrequency', 2e6}, {}};
%! for i = 1:numel(shapes)
%!   drive = [{'frequency', 0.8e6, 'velocity', 0.3, 'tolerance', 1e-5}, losses{i}];
%!   p = there_and_back(folder, shapes{i}, grid, drive);
%!   assert(p, pistonfield_pressure(shapes{i}, grid, drive{:}));
%! end

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % and so do velocities and intensities
%! disc = pistonfield_piston('disc', 'radius', 2e-3 / 3, 'center', [0 1e-3 0], ...
%!                           'orientation', [0 0 1; 0 -1 0; 1 0 0]);
%! aside = pistonfield_grid((1:4) * 0.7e-3, (-2:3) * 0.9e-3, (1:5) * 1.1e-3);
%! for source = {piston, disc}
%!   drive = {'frequency', 0.8e6, 'velocity', 0.3, 'density', 900, 'nepers', 3, 'tolerance', 1e-5};
%!   [v, request] = there_and_back(folder, source{1}, aside, [drive, {'quantity', 'velocity'}]);
%!   [x, y, z] = pistonfield_velocity(source{1}, aside, drive{:});
%!   assert(v, cat(4, x, y, z));
%!   assert(request.quantity, 'velocity');
%!   box = pistonfield_read(fullfile(folder, 'there.h5'), [2 3 1], [2 1 4], 'piston', source{1}, ...
%!                          drive{:});
%!   assert(box, v(2:3, 3, 1:4, :));
%!   s = there_and_back(folder, source{1}, aside, [drive, {'quantity', 'intensity'}]);
%!   [x, y, z] = pistonfield_intensity(source{1}, aside, drive{:});
%!   assert(s, cat(4, x, y, z));
%! end
%! field = fullfile(folder, 'there.h5');
%! fail('pistonfield_read(field, "quantity", "pressure")', 'the file has the intensity');
%! fail('pistonfield_read(field, "piston", piston)', 'one is a rectangle and one is not');
%! fail('pistonfield_read(field, "frequency", 0.8e6, "nepers", 2)', 'losses are 3 Np/m in the file');

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % and arrays in a medium with losses
%! array = pistonfield_array('line', 'elements', 3, 'pitch', 2e-3, 'width', 1e-3, 'height', 2e-3);
%! drive = {'frequency', 1e6, 'tolerance', 1e-5, 'attenuation', 0.5, 'exponent', 1.5};
%! p = array_there_and_back(folder, array, [1; 1i; 0.5], grid, drive);
%! assert(p, pistonfield_pressure(array, grid, drive{:}, 'weights', [1; 1i; 0.5]));

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % and arrays of other shapes
%! array = pistonfield_array('annular', 'elements', 3, 'radius', 10e-3 / 3, 'kerf', 0.1e-3);
%! w = [1; 1i; 0.5];
%! drive = {'frequency', 1e6, 'tolerance', 1e-5};
%! pistonfield_request(file, array, grid, drive{:}, 'weights', w, 'overwrite', true);
%! field = fullfile(folder, 'rings.h5');
%! run('--request', strrep(file, '"', '\"'), '--overwrite', field);
%! [p, request, ~, found, weights] = pistonfield_read(field, 'piston', array, drive{:});
%! assert(p, pistonfield_pressure(array, grid, drive{:}, 'weights', w));
%! assert({request.elements, weights}, {3, w});
%! assert({found.outlines, found.outline, found.center}, ...
%!        {array.outlines, array.outline, array.center});

%!test % what is told of an array is what pistonfield_pressure tells
%! array = pistonfield_array('line', 'elements', 3, 'pitch', 2e-3, 'width', 1e-3, 'height', 2e-3);
%! info = pistonfield_request(file, array, grid, 'frequency', 1e6, 'overwrite', true);
%! [~, wanted] = pistonfield_pressure(array, grid, 'frequency', 1e6);
%! assert(info, rmfield(wanted, {'elements', 'weightings', 'slabs', 'moved', 'seconds'}));
%! table = strrep(file, '.toml', '.csv');
%! text = fileread(file);
%! assert(~isempty(strfind(text, sprintf('\nvelocity = 1  # what the weights are relative to\n'))));
%! assert(~isempty(strfind(text, sprintf('\ntable = "it''s a request.csv"\n'))));
%! before = {text, fileread(table)};
%! fail('pistonfield_request(file, array, grid, "frequency", 2e6)', 'toml exists');
%! unlink(file);
%! fail('pistonfield_request(file, array, grid, "frequency", 2e6)', 'csv exists');
%! assert(exist(file, 'file'), 0);
%! assert(fileread(table), before{2});
%! unlink(table);
%! fail('pistonfield_request(file, array, grid, "frequency", 1e6, "weights", ones(3, 2))', ...
%!      'a request has one column of weights, and not 2');
%! fail('pistonfield_request("a.csv", array, grid, "frequency", 1e6)', 'must not end with .csv');
%! fail('pistonfield_request(file, array, grid, "frequency", 1e6, "order", 9)', 'takes no order');
%! fail('pistonfield_request(file, piston, grid, "frequency", 1e6, "weights", 1)', 'not a piston');
%! assert(exist(table, 'file') + exist(file, 'file'), 0);

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % before a piston that is moved and turned
%! turned = piston;
%! turned.center = [4e-3; -5e-3; 6e-3];
%! turned.orientation = [cosd(20) 0 sind(20); 0 1 0; -sind(20) 0 cosd(20)] * ...
%!                      [1 0 0; 0 cosd(10) -sind(10); 0 sind(10) cosd(10)];
%! steps = [0.7 0.1 0.2; -0.1 0.9 0; 0.3 -0.2 1.1] * 1e-3;
%! points = pistonfield_grid([1 -4 20] * 1e-3, steps, [7 6 5]);
%! [p, ~, back] = there_and_back(folder, turned, points, wave);
%! [wanted, info] = pistonfield_pressure(turned, points, wave{:});
%! % Positions are off by the rounding of three products and their sum, twice: 8 roundings of the
%! % 35 mm that they reach. The field changes with them as its phase does, and near the piston a
%! % few times as fast.
%! off = 8 * eps(35e-3);
%! assert(p, wanted, 4 * info.wavenumber * off * max(abs(wanted(:))));
%! assert(back.sizes, points.sizes);
%! assert(back.transform, points.transform, off);

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % in single precision values are single
%! drive = {'frequency', 1e6, 'order', 16, 'mode', 'cpusp'};
%! p = there_and_back(folder, piston, grid, drive);
%! assert(class(p), 'single');
%! wanted = pistonfield_pressure(piston, grid, drive{:});
%! % The values are the same; in Pa they are rounded once more, which takes a product of three.
%! assert(double(p), wanted, 2 * eps('single') * max(abs(wanted(:))));

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % in every mode
%! for mode = {'cpudp', 'cuda', 'cudadp'}
%!   drive = {'frequency', 1e6, 'order', 16, 'mode', mode{1}};
%!   p = there_and_back(folder, piston, grid, drive);
%!   wanted = pistonfield_pressure(piston, grid, drive{:});
%!   assert(double(p), wanted, 2 * eps('single') * max(abs(wanted(:))));
%! end

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % options of the program count before the file
%! [~, request] = there_and_back(folder, piston, grid, wave, '--order', '9', '--mode', 'cpusp');
%! assert({request.order, request.mode}, {9, 'cpusp'});

%!test
%! confirm_recursive_rmdir(false, 'local');
%! rmdir(folder, 's');

%!error id=pistonfield:pistonfield_request:arguments pistonfield_request('nowhere/r', struct())
%!error id=pistonfield:pistonfield_request:file pistonfield_request(7, piston, grid, wave{:})
%!error id=pistonfield:pistonfield_request:file pistonfield_request('', piston, grid, wave{:})
%!error <nowhere/r cannot be written> pistonfield_request('nowhere/r', piston, grid, wave{:})
%!error <request: grid must be a struct made by pistonfield_grid; pistonfield_pressure alone takes a>
%! pistonfield_request('nowhere/r', piston, [0 0 1e-3], wave{:});
%!error id=pistonfield:pistonfield_request:piston
%! pistonfield_request('nowhere/r', struct('width', 1), grid, wave{:});
%!error id=pistonfield:pistonfield_request:grid
%! pistonfield_request('nowhere/r', piston, 3, wave{:});
%!error <the grid reaches 0.004 m behind>
%! pistonfield_request('nowhere/r', piston, pistonfield_grid(0, 0, (-4:3) * 1e-3), wave{:});
%!error <frequency is missing> pistonfield_request('nowhere/r', piston, grid)
%!error id=pistonfield:pistonfield_request:mode
%! pistonfield_request('nowhere/r', piston, grid, wave{:}, 'mode', 'gpu');
%!test % names are names: no pattern, and nothing for a shell
%! place = tempname();
%! mkdir(place);
%! bystander = fullfile(place, 'a1.toml.new');
%! fclose(fopen(bystander, 'w'));
%! odd = {'a*.toml', 'b[1].toml', 'c?.toml', 'd$(touch e).toml', '-f', 'g";touch h;".toml'};
%! before = pwd();
%! unwind_protect
%!   cd(place);
%!   for name = odd
%!     pistonfield_request(name{1}, piston, grid, wave{:});
%!     assert(~isempty(stat(name{1})) && isempty(stat([name{1}, '.new'])));
%!   end
%!   assert(isempty(stat('e')) && isempty(stat('h')) && ~isempty(stat(bystander)));
%! unwind_protect_cleanup
%!   cd(before);
%!   confirm_recursive_rmdir(false, 'local');
%!   rmdir(place, 's');
%! end_unwind_protect
%!test % a folder is not replaced, and nothing is left in it
%! inner = tempname();
%! mkdir(inner);
%! reason = '';
%! try
%!   pistonfield_request(inner, piston, grid, wave{:}, 'overwrite', true);
%! catch error
%!   reason = error.message;
%! end_try_catch
%! assert(~isempty(strfind(reason, 'cannot be written')));
%! assert(numel(readdir(inner)), 2);
%! assert(isempty(stat([inner, '.new'])));
%! rmdir(inner);
%!error <overwrite must be true or false>
%! pistonfield_request('nowhere/r', piston, grid, wave{:}, 'overwrite', 'yes');
%!error <overwrite must be true or false>
%! pistonfield_request('nowhere/r', piston, grid, wave{:}, 'overwrite', NaN);
%!error <'colour' is no option> pistonfield_request('nowhere/r', piston, grid, wave{:}, 'colour', 1)
%!error <give tolerance or order, not both>
%! pistonfield_request('nowhere/r', piston, grid, wave{:}, 'tolerance', 1e-3);
