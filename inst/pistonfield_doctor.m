function report = pistonfield_doctor()
  % pistonfield_doctor: tells whether the module works here, and what to do if not.
  %
  % DESCRIPTION
  %   Looks for the module, asks it for its build, has it compute a pressure that is known, in every
  %   mode, does the same with the module that the functions use, pistonfield_internal, and to a
  %   tolerance as well, and takes the time of a small field. Each failure comes with what to do about it. An installation that is
  %   broken makes checks fail, never this function.
  %
  %   The module has no call that tells its backend or its instruction set. The backend is what the
  %   build has written into the module's help, pistonfield.m, which lies beside the module. The
  %   instruction set is the one that the module chooses on a processor such as this one. The module
  %   pistonfield prints marks on standard output as it computes, which come before the report.
  %
  %   The known value is that of a piston of 7.5 mm by 5 mm at a wavelength of 1.5 mm, on its axis
  %   at 10 mm. In polar coordinates about the axis the integral over R has a closed form, and a
  %   single integral over the angle t is left, with the distance b(t) from the axis to the rim:
  %
  %     p = -j*exp(-j*k*z) + j/(2*pi) * integral of exp(-j*k*sqrt(z^2 + b(t)^2)) from 0 to 2*pi
  %
  %   It was evaluated with 40 digits, and with 20 as the surface integral. The pressure is without
  %   unit, as the module gives it.
  %
  % USAGE
  %   pistonfield_doctor
  %   report = pistonfield_doctor()
  %
  % INPUTS
  %   none
  %
  % OPTIONAL INPUTS
  %   none
  %
  % OUTPUTS
  %   report - struct; without it, a text is printed. Its fields, empty or NaN where unknown:
  %              host            the program and its version
  %              module          the module's file
  %              compiled        when it was compiled
  %              revision        from which revision
  %              backend         'emulated' (the GPU modes run on the CPU) or 'NVIDIA'
  %              instructionSet  'x86-64', 'x86-64-v3' or 'x86-64-v4'
  %              devices         cell array, the NVIDIA GPUs of the machine
  %              timePerPoint    struct with the time in mode 'cpu' and in mode 'cuda' [s]
  %              checks          struct array: name, passed, finding, advice
  %              healthy         whether all checks passed
  %
  % EXAMPLES
  %   pistonfield_doctor
  %   report = pistonfield_doctor();
  %   report.checks(~[report.checks.passed]).advice
  %
  % See also: pistonfield, pistonfield_pressure, pistonfield_plot

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  found = struct('host', or_else(@host, ''), 'module', or_else(@module_file, ''), ...
                 'compiled', '', 'revision', '', 'backend', '', ...
                 'instructionSet', or_else(@instruction_set, ''), ...
                 'devices', {or_else(@devices, {})}, ...
                 'timePerPoint', struct('cpu', NaN, 'cuda', NaN));
  found.backend = or_else(@() backend_of(found.module), '');

  checks = check('the module is found', @find_module);
  loads = false;
  if ~isempty(found.module)
    checks = [checks, check('it is the only one on the path', @find_others), ...
              check('it loads and tells its build', @read_build)];
    loads = checks(end).passed;
  end
  if loads
    build = read_build_lines();
    found.compiled = build{1};
    found.revision = build{2};
    modes = {'cpu', 'cpudp', 'cpusp', 'cuda', 'cudadp'};
    for i = 1:numel(modes)
      checks(end + 1) = check(['the value in mode ''', modes{i}, ''''], ...
                              @() compare_value(modes{i})); %#ok<AGROW>
    end
    checks(end + 1) = check('the functions have their module', @() try_internal(modes));
    found.timePerPoint.cpu = or_else(@() time_per_point('cpu'), NaN);
    found.timePerPoint.cuda = or_else(@() time_per_point('cuda'), NaN);
  end
  found.checks = checks;
  found.healthy = all([checks.passed]);

  if nargout > 0
    report = found;
  else
    print_report(found);
  end
end

function value = or_else(find, fallback)
  try
    value = find();
  catch
    value = fallback;
  end
end

% A check's body returns what it found, and raises an error if that is bad.
function result = check(name, body)
  result = struct('name', name, 'passed', true, 'finding', '', 'advice', '');
  try
    result.finding = body();
  catch failure
    result.passed = false;
    result.finding = strtrim(failure.message);
    result.advice = advice_for([failure.identifier, ' ', failure.message]);
  end
end

function fail(reason, varargin)
  error(['pistonfield:pistonfield_doctor:', reason], varargin{:});
end

% The first row whose pattern is in an error's identifier or text tells what to do.
function advice = advice_for(failure)
  table = {
    'doctor:missing', how_to_get_the_module()
    'doctor:internal', ['It comes with the module. ', how_to_get_the_module()]
    'doctor:shadowed', 'Take the folder of that file off the path with rmpath, or rename the file.'
    'doctor:several', 'Keep one: take the folders of the others off the path with rmpath.'
    'doctor:build', ['Something else answers to the name pistonfield. Look at which ', ...
                     'pistonfield, and put the folder of the module first on the path.']
    'doctor:value', ['Do not use this mode: it computes wrong values here. Build the module ', ...
                     'again from a clean folder and run its tests.']
    'GLIBC|CXXABI', ['The libraries of this program are older than those that the module was ', ...
                     'built with. Build it again with the compiler that fits this program, or ', ...
                     'start the program with LD_PRELOAD set to the system''s libstdc++.so.6.']
    'cannot open shared object', ['A library that the module needs is missing: run ldd on the ', ...
                                  'module''s file and install what is not found.']
    'undefined symbol', ['The module was built for another version of this program. ', ...
                         'Build it again with the development files of this version.']
    'assertion failure|CUDA|device', ...
    ['The module is built for NVIDIA GPUs and cannot use one: run nvidia-smi, and install or ', ...
     'update the driver. The module of the preset "default" needs no GPU.']
    'memory', 'Close other programs, or clear large variables.'
    '', ['The module cannot be used. Build it again for this program and this processor.', ...
         where_messages_are()]};
  for i = 1:size(table, 1)
    if isempty(table{i, 1}) || ~isempty(regexp(failure, table{i, 1}, 'once'))
      advice = table{i, 2};
      return
    end
  end
end

% In the project's folder; an installed package has no such page.
function text = where_messages_are()
  page = fullfile(fileparts(fileparts(mfilename('fullpath'))), 'docs', 'usage.md');
  text = '';
  if exist(page, 'file')
    text = [' Messages are explained in ', page, '.'];
  end
end

% In the project's folder by building, which an installed package has no script for.
function text = how_to_get_the_module()
  project = fileparts(fileparts(mfilename('fullpath')));
  if exist(fullfile(project, 'demo.sh'), 'file')
    text = ['Build the module, for instance with ./demo.sh in ', project, ...
            ', and put its folder on the path: addpath(''', ...
            fullfile(project, 'build', 'octave'), ''')'];
  else
    text = ['Install the package again with pkg install, and load it with pkg load pistonfield; ', ...
            'or put the module''s folder on the path with addpath.'];
  end
end

function text = host()
  if is_octave()
    text = sprintf('GNU Octave %s, %s', version(), computer());
  else
    text = sprintf('MATLAB %s, %s', version(), computer());
  end
end

% The build writes it into the file beside the module.
function name = backend_of(file)
  [folder, ~, kind] = fileparts(file);
  if strcmp(kind, ['.', mexext()])
    help_text = fileread(fullfile(folder, 'pistonfield.m'));
    built = regexp(help_text, 'built with the backend (\w+)', 'tokens', 'once');
    names = struct('emulated', 'emulated', 'toolkit', 'NVIDIA');
    name = names.(built{1});
  else
    name = '';
  end
end

% From the processor's flags, by the module's rule.
function name = instruction_set()
  line = regexp(fileread('/proc/cpuinfo'), 'flags\s*:([^\n]*)', 'tokens', 'once');
  flags = strsplit(strtrim(line{1}));
  name = 'x86-64';
  if all(ismember({'avx2', 'fma', 'bmi1', 'bmi2'}, flags))
    name = 'x86-64-v3';
    if all(ismember({'avx512f', 'avx512bw', 'avx512cd', 'avx512dq', 'avx512vl'}, flags))
      name = 'x86-64-v4';
    end
  end
end

function names = devices()
  [status, text] = system('nvidia-smi -L 2>&1');
  names = {};
  if status == 0
    names = regexp(strtrim(text), '\n', 'split');
  end
end

function finding = find_module()
  finding = module_file();
  isMexFile = 3;
  if isempty(finding)
    fail('missing', 'there is no pistonfield.%s on the path', mexext());
  elseif or_else(@() exist('pistonfield'), isMexFile) ~= isMexFile %#ok<EXIST>
    fail('shadowed', 'pistonfield is not the module, but %s', finding);
  end
end

% What answers to the module's name, also if it cannot be loaded.
function file = module_file()
  file = or_else(@() which('pistonfield'), '');
  files = module_files();
  if isempty(file) && ~isempty(files)
    file = files{1};
  end
end

% The modules on the path, the one that is used first.
function files = module_files()
  folders = regexp(path(), pathsep(), 'split');
  folders(strcmp(folders, '.')) = {pwd()};
  files = cellfun(@(folder) fullfile(folder, ['pistonfield.', mexext()]), folders, ...
                  'uniformoutput', false);
  files = unique(files(cellfun(@(file) exist(file, 'file') ~= 0, files)), 'stable');
end

function finding = find_others()
  files = module_files();
  finding = '';
  if numel(files) > 1
    fail('several', 'there are several: %s', strjoin(files, ', '));
  end
end

function finding = read_build()
  lines = read_build_lines();
  finding = sprintf('revision %s, compiled on %s', lines{2}, lines{1});
end

% When it was compiled and from what, out of the lines of "pistonfield info".
function lines = read_build_lines()
  text = evalc('pistonfield(''info'')');
  lines = regexp(text, 'Compiled on ([^\n]+)\n.*\$Revision: (\S+) \$', 'tokens', 'once');
  if numel(lines) ~= 2
    fail('build', 'pistonfield info does not print its build, but "%s"', strtrim(text));
  end
end

function finding = compare_value(mode)
  [place, k] = known_case();
  p = [];
  evalc('p = pistonfield(place, [1 1 1], 5e-3, 7.5e-3, k, mode, 32);');
  finding = require_known(p, allowed_in(mode), '');
end

function finding = try_internal(modes)
  isMexFile = 3;
  file = which('pistonfield_internal');
  if isempty(file)
    fail('internal', 'there is no pistonfield_internal.%s on the path', mexext());
  elseif exist('pistonfield_internal') ~= isMexFile %#ok<EXIST>
    fail('shadowed', 'pistonfield_internal is not the module, but %s', file);
  end
  [place, k] = known_case();
  for i = 1:numel(modes)
    p = internal_field(place, [1 1 1], k, modes{i});
    require_known(p, allowed_in(modes{i}), ['mode ', modes{i}, ': ']);
  end
  ways = {'cpu', 1e-10, 'double'; 'cpusp', 1e-4, 'single'};
  for i = 1:size(ways, 1)
    [mode, tolerance, precision] = ways{i, :};
    p = pistonfield_internal('field_within', place, [1 1 1], 7.5e-3, 5e-3, k, mode, tolerance, ...
                             'largest', [0 0 0], [1 1 1], 0);
    require_known(p, tolerance * abs(p), ['a tolerance in ', precision, ' precision: ']);
  end
  finding = 'its values are right in every mode, and to a tolerance';
end

function [place, k] = known_case()
  place = eye(4);
  place(4, 3) = 10e-3;
  k = 2 * pi / 1.5e-3;
end

function p = internal_field(place, sizes, k, mode)
  p = pistonfield_internal('field', place, sizes, 7.5e-3, 5e-3, k, mode, 32, [0 0 0], sizes, 0);
end

% What rounding in a mode may do to the known value.
function allowed = allowed_in(mode)
  allowed = 1e-13;  % a few hundred roundings
  if ~any(strcmp(mode, {'cpu', 'cpudp'}))
    % Phases in single precision, up to k * R = 46 here, which each of eight edge integrals has.
    allowed = 46 * eps('single');
  end
end

% How far a computed value is from the known one; an error where that is too far begins with a text.
function finding = require_known(p, allowed, where)
  known = 1.0713258273120091 + 1.1278700539190497i;
  off = abs(p - known);
  finding = sprintf('off by %.1e, allowed %.1e', off, allowed);
  if ~(off <= allowed)
    fail('value', '%s%.10g %+.10gi, %s', where, real(p), imag(p), finding);
  end
end

function seconds = time_per_point(mode)
  sizes = [101, 1, 100];
  place = diag([0.3e-3, 1, 0.5e-3, 1]);
  place(4, 1:3) = [-15e-3, 0, 0.5e-3];
  seconds = Inf;
  for i = 1:3
    start = tic();
    internal_field(place, sizes, 2 * pi / 1.5e-3, mode);
    seconds = min(seconds, toc(start) / prod(sizes));
  end
end

function print_report(found)
  backends = struct('emulated', 'emulation device: the GPU modes run on the CPU', ...
                    'NVIDIA', 'NVIDIA GPU', 'unknown', 'unknown');
  shown = {
    'host', found.host
    'module', found.module
    'compiled', found.compiled
    'revision', found.revision
    'backend', backends.(text_or(found.backend, 'unknown'))
    'instruction set', [text_or(found.instructionSet, 'unknown'), ', the best of this processor']
    'NVIDIA GPUs', text_or(strjoin(found.devices, ', '), 'none found')
    'time per point', times_as_text(found.timePerPoint)};
  fprintf('\n');
  for i = 1:size(shown, 1)
    fprintf('%-16s %s\n', shown{i, 1}, text_or(shown{i, 2}, 'unknown'));
  end
  fprintf('\n');
  marks = {'FAILED', 'ok'};
  for i = 1:numel(found.checks)
    one = found.checks(i);
    fprintf('%-7s %s: %s\n', marks{1 + one.passed}, one.name, text_or(one.finding, 'yes'));
    if ~one.passed
      fprintf('        %s\n', one.advice);
    end
  end
  verdicts = {'Something is wrong: see FAILED above.', 'Everything is in order.'};
  fprintf('\n%s\n', verdicts{1 + found.healthy});
end

function text = times_as_text(time)
  text = '';
  if ~isnan(time.cpu) && ~isnan(time.cuda)
    text = sprintf('%.3f us in mode cpu, %.3f us in mode cuda (10100 points, order 32)', ...
                   time.cpu * 1e6, time.cuda * 1e6);
  end
end

function text = text_or(text, fallback)
  if isempty(text)
    text = fallback;
  end
end

%!function visit = leave_for(folder) % the current folder comes before the path
%!  before = pwd();
%!  visit = onCleanup(@() cd(before));
%!  cd(folder);
%!endfunction
%!function folder = put_first(name, text)
%!  folder = tempname();
%!  mkdir(folder);
%!  file = fopen(fullfile(folder, name), 'w');
%!  fputs(file, text);
%!  fclose(file);
%!  addpath(folder);
%!endfunction
%!function take_away(folder)
%!  rmpath(folder);
%!  confirm_recursive_rmdir(false, 'local');
%!  rmdir(folder, 's');
%!endfunction
%!function names = failed(report)
%!  names = {report.checks(~[report.checks.passed]).name};
%!endfunction

%!test % an installation in order passes every check
%! report = pistonfield_doctor();
%! assert(isempty(failed(report)));
%! assert(report.healthy);
%! assert(numel(report.checks), 9);
%! assert(report.module, which('pistonfield'));
%! assert(~isempty(strfind(report.host, version())));
%! assert(report.timePerPoint.cpu > 0 && report.timePerPoint.cpu < 1e-3);
%! assert(report.timePerPoint.cuda > 0);
%! assert(any(strcmp(report.backend, {'emulated', 'NVIDIA'})));
%! assert(any(strcmp(report.instructionSet, {'x86-64', 'x86-64-v3', 'x86-64-v4'})));
%! assert(~isempty(report.compiled) && ~isempty(report.revision));

%!test % the known value is the single integral over the angle, and the surface integral
%! known = 1.0713258273120091 + 1.1278700539190497i;
%! l = 5e-3;  s = 7.5e-3;  z = 10e-3;  k = 2 * pi / 1.5e-3;
%! rim = @(t) min(l / 2 ./ abs(sin(t)), s / 2 ./ abs(cos(t)));
%! corner = atan2(l, s);
%! wave = @(t) exp(-1i * k * sqrt(z ^ 2 + rim(t) .^ 2));
%! quarter = quadgk(wave, 0, corner, 'abstol', 1e-14) + ...
%!           quadgk(wave, corner, pi / 2, 'abstol', 1e-14);
%! assert(-1i * exp(-1i * k * z) + 1i / (2 * pi) * 4 * quarter, known, 1e-13);
%! distance = @(x, y) sqrt(x .^ 2 + y .^ 2 + z ^ 2);
%! wave = @(x, y) exp(-1i * k * distance(x, y)) ./ distance(x, y);
%! p = k / (2 * pi) * integral2(wave, -s / 2, s / 2, -l / 2, l / 2, 'abstol', 1e-11, ...
%!                             'reltol', 1e-11);
%! assert(p, known, 1e-9);

%!test % the printed report ends with the verdict
%! text = evalc('pistonfield_doctor()');
%! assert(~isempty(regexp(text, 'Everything is in order\.\n$', 'once')));
%! assert(~isempty(strfind(text, which('pistonfield'))));

%!test % without the module, the report tells where to get it
%! folder = fileparts(which('pistonfield'));
%! if strcmp(folder, fileparts(which('pistonfield_doctor')))
%!   return % an installed package has both in one folder: neither goes without the other
%! end
%! visit = leave_for(tempdir());
%! rmpath(folder);
%! restore = onCleanup(@() addpath(folder));
%! report = pistonfield_doctor();
%! assert(failed(report), {'the module is found'});
%! assert(~isempty(strfind(report.checks(1).advice, 'addpath')));
%! assert(isnan(report.timePerPoint.cpu));
%! text = evalc('pistonfield_doctor()');
%! assert(~isempty(strfind(text, 'FAILED  the module is found: there is no pistonfield.mex')));
%! assert(~isempty(regexp(text, '\ntime per point +unknown\n', 'once')));
%! assert(isempty(strfind(text, 'NaN')));

%!test % away from the project's folder the report names nothing of it
%! folder = fileparts(which('pistonfield'));
%! if strcmp(folder, fileparts(which('pistonfield_doctor')))
%!   return % an installed package has both in one folder: neither goes without the other
%! end
%! visit = leave_for(tempdir());
%! elsewhere = put_first('pistonfield_doctor.m', fileread(which('pistonfield_doctor')));
%! takeAway = onCleanup(@() take_away(elsewhere));
%! rmpath(folder);
%! restore = onCleanup(@() addpath(folder));
%! report = pistonfield_doctor();
%! assert(~isempty(strfind(report.checks(1).advice, 'pkg load')));
%! assert(isempty(regexp(report.checks(1).advice, 'demo\.sh|docs', 'once')));
%! broken = put_first('pistonfield.mex', 'no module');
%! takeAwayToo = onCleanup(@() take_away(broken));
%! report = pistonfield_doctor();
%! assert(report.checks(end).advice, ...
%!        'The module cannot be used. Build it again for this program and this processor.');

%!test % the backend is what stands beside the module, whatever is in the module
%! visit = leave_for(tempdir());
%! words = {'emulated', 'toolkit', 'else'};
%! names = {'emulated', 'NVIDIA', ''};
%! for i = 1:3
%!   folder = put_first('pistonfield.mex', 'libcuda.so');
%!   file = fopen(fullfile(folder, 'pistonfield.m'), 'w');
%!   fprintf(file, '%% It was built with the backend %s.\n', words{i});
%!   fclose(file);
%!   report = pistonfield_doctor();
%!   take_away(folder);
%!   assert(report.backend, names{i});
%! end

%!test % a file that is no module is told from the module
%! visit = leave_for(tempdir());
%! folder = put_first('pistonfield.mex', 'no module');
%! restore = onCleanup(@() take_away(folder));
%! report = pistonfield_doctor();
%! assert(failed(report), {'it is the only one on the path', 'it loads and tells its build'});
%! assert(report.module, fullfile(folder, 'pistonfield.mex'));
%! assert(~isempty(strfind(report.checks(3).advice, 'Build it again')));
%! if exist(fullfile(fileparts(fileparts(which('pistonfield_doctor'))), 'docs', 'usage.md'), 'file')
%!   assert(~isempty(strfind(report.checks(3).advice, 'usage.md')));
%! end

%!test % a function that shadows the module, and wrong values, are found
%! visit = leave_for(tempdir());
%! folder = put_first('pistonfield.m', ["function p = pistonfield(varargin)\n" ...
%!   "  p = 1;\n" ...
%!   "  printf('Compiled on a day\\n$Revision: none $\\n');\n" ...
%!   "end\n"]);
%! restore = onCleanup(@() take_away(folder));
%! report = pistonfield_doctor();
%! names = failed(report);
%! assert(numel(names), 6);
%! assert(names([1, 2]), {'the module is found', 'the value in mode ''cpu'''});
%! assert(~isempty(strfind(report.checks(4).advice, 'Do not use this mode')));
%! assert(report.revision, 'none');

%!test % without the module of the functions, the report tells where to get it
%! folder = fileparts(which('pistonfield'));
%! if strcmp(folder, fileparts(which('pistonfield_doctor')))
%!   return % an installed package has both in one folder: neither goes without the other
%! end
%! visit = leave_for(tempdir());
%! alone = tempname();
%! mkdir(alone);
%! copyfile(fullfile(folder, 'pistonfield.m*'), alone);
%! addpath(alone);
%! takeAway = onCleanup(@() take_away(alone));
%! rmpath(folder);
%! restore = onCleanup(@() addpath(folder));
%! report = pistonfield_doctor();
%! assert(failed(report), {'the functions have their module'});
%! assert(~isempty(strfind(report.checks(end).finding, 'there is no pistonfield_internal.mex')));
%! assert(~isempty(strfind(report.checks(end).advice, 'addpath')));
%! assert(isnan(report.timePerPoint.cpu));

%!test % a function that shadows the module of the functions is found
%! visit = leave_for(tempdir());
%! folder = put_first('pistonfield_internal.m', "function p = pistonfield_internal(varargin)\nend\n");
%! restore = onCleanup(@() take_away(folder));
%! report = pistonfield_doctor();
%! assert(failed(report), {'the functions have their module'});
%! assert(~isempty(strfind(report.checks(end).finding, folder)));
%! assert(~isempty(strfind(report.checks(end).advice, 'rmpath')));

%!test % what does not tell its build is not the module
%! visit = leave_for(tempdir());
%! folder = put_first('pistonfield.m', "function pistonfield(varargin)\nend\n");
%! restore = onCleanup(@() take_away(folder));
%! report = pistonfield_doctor();
%! assert(failed(report), {'the module is found', 'it loads and tells its build'});

%!test % a clash of libraries, a missing device and the like are told by their messages
%! visit = leave_for(tempdir());
%! messages = {'libstdc++.so.6: version `GLIBCXX_3.4.30'' not found', ...
%!             'libhdf5.so: cannot open shared object file', ...
%!             'pistonfield.mex: undefined symbol: mxGetPr', ...
%!             'condition failed: (no CUDA-capable device is detected)'};
%! cures = {'LD_PRELOAD', 'ldd', 'another version', 'nvidia-smi'};
%! for i = 1:numel(messages)
%!   folder = put_first('pistonfield.m', sprintf( ...
%!     "function pistonfield(varargin)\n  error('%s');\nend\n", strrep(messages{i}, "'", "''")));
%!   report = pistonfield_doctor();
%!   take_away(folder);
%!   assert(~isempty(strfind(report.checks(3).advice, cures{i})), messages{i});
%! end

%!error <called with too many inputs> pistonfield_doctor(1)
