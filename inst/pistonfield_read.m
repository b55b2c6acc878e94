function [p, request] = pistonfield_read(file, varargin)
  % pistonfield_read: the field in a file of pistonfield-run, all of it or a box.
  %
  % DESCRIPTION
  %   Reads the complex pressure that the program pistonfield-run has computed into an HDF5 file, as
  %   the module pistonfield would return it, and the request that it was computed from.
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
  %   [p, request] = pistonfield_read(...)
  %   [p, request] = pistonfield_read(..., 'program', program)
  %
  % INPUTS
  %   file       - the file's name
  %   first      - the first point to read, [ix iy iz], counted from 1; default [1 1 1]
  %   count      - how many points to read along each direction; default all. Inf reads to the end.
  %
  % OPTIONAL INPUTS (names and values)
  %   'program'  - pistonfield-run, with its folder; MATLAB does without
  %
  % OUTPUTS
  %   p          - the pressure, without unit, as the module gives it; times 1i*rho*c*u0 it is in Pa.
  %                Complex, single in the modes of single precision, of the size count.
  %   request    - struct with the fields
  %                  transform    4 by 4: the point (ix, iy, iz), counted from 0, of the whole
  %                               lattice lies at transform * [ix; iy; iz; 1]. The module takes
  %                               the transpose.
  %                  sizes        1 by 3, the points of the whole lattice
  %                  l, s, k      the piston's sides along y and x, and the wavenumber
  %                  mode         'cpu', 'cpusp' or 'cuda'
  %                  order        the order of the quadrature rule
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
  %
  % EXAMPLES
  %   [p, request] = pistonfield_read('field.h5');
  %   plane = pistonfield_read('field.h5', [1 50 1], [Inf 1 Inf]);
  %   imagesc(abs(squeeze(plane)));
  %
  % See also: pistonfield, pistonfield_pressure

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_read';
  require(nargin > 0, caller, 'arguments', 'give a file; and what to read of it, first and count');
  require(ischar(file) && isrow(file), caller, 'file', 'file must be the name of a file');
  require(exist(file, 'file') == 2, caller, 'file', 'there is no file %s', file);
  [first, count, given] = split_box(caller, varargin);
  options = read_options(caller, struct('program', ''), given);

  if is_octave()
    source = field_by_program(caller, file, options.program);
  else
    source = field_by_matlab(caller, file);
  end
  request = source.request;
  require(request.complete, caller, 'incomplete', ...
          '%s is not complete: pistonfield-run --resume completes it', file);
  count = check_box(caller, first, count, source.points);
  p = source.read(first, count);
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

%!testif ; ! isempty(getenv('PISTONFIELD_RUN')) % nothing stays in the temporary folder
%! temporary = fullfile(folder, 'temporary');
%! mkdir(temporary);
%! before = getenv('TMPDIR');
%! setenv('TMPDIR', temporary);
%! pistonfield_read(file);
%! setenv('TMPDIR', before);
%! assert(numel(dir(temporary)), 2);  % . and ..

%!function id = refusal(varargin)
%!  try
%!    pistonfield_read(varargin{:});
%!    id = 'none';
%!  catch reason
%!    id = strrep(reason.identifier, 'pistonfield:pistonfield_read:', '');
%!  end
%!endfunction

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
