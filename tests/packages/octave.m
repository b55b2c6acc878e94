% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The package for GNU Octave in use, all in the working folder: PISTONFIELD_TARBALL, from its
% installation to its removal; without that, the one that is unpacked in the folder `root` as
% Debian's package has it.

1;

function name = package()
  name = 'pistonfield';
end

function names = functions()
  described = pkg('describe', package());
  names = horzcat(described{1}.provides{1}.functions);
end

function expect_loaded()
  expect(isempty(which('pistonfield')), 'on the path before it is loaded');
  pkg('load', package());
  module = which('pistonfield');
  expect(strncmp(module, pwd(), numel(pwd())), 'is %s', module);
  expect(strcmp(module(end-3:end), '.mex'), 'is %s', module);
end

function expect_field()
  [l, s, k] = piston();
  evalc('p = pistonfield(grid_from([1e-3, 2e-3, 5e-3], 1e-3), [1, 1, 1], l, s, k, ''cpu'', 64);');
  expect_close(p, surface_integral(1e-3, 2e-3, 5e-3, l, s, k), 1e-9);
end

% By the functions, which have a module of their own.
function expect_pressure()
  p = pistonfield_pressure(struct('width', 7.5e-3, 'height', 5e-3), ...
                           pistonfield_grid(1e-3, 2e-3, 5e-3), 'frequency', 1e6, ...
                           'tolerance', 1e-9);
  wanted = surface_integral(1e-3, 2e-3, 5e-3, 5e-3, 7.5e-3, 2 * pi * 1e6 / 1482);
  expect_close(p, 1i * 998 * 1482 * wanted, 1e-8 * abs(p));
end

function expect_backend()
  expect_same(pistonfield_doctor().backend, 'emulated');
end

function expect_build_time()
  printed = evalc('pistonfield info');
  expect(strncmp(printed, "Compiled on Nov  5 2023 01:02:03\n", 33), 'printed "%s"', printed);
end

function expect_index()
  folders = strsplit(path(), pathsep());
  folders = folders(strncmp(folders, pwd(), numel(pwd())));
  files = cellfun(@(folder) {dir(fullfile(folder, '*.m')).name}, folders, ...
                  'UniformOutput', false);
  expect_same(sort(functions()), sort(strrep([files{:}], '.m', '')));
end

function expect_help(name)
  text = get_help_text(name);
  expect(~isempty(strfind(lower(text), name)) && isempty(strfind(text, 'SPDX')), ...
         'the help of %s is "%s"', name, text);
end

function expect_news()
  printed = evalc('news(package())');
  expect(~isempty(strfind(printed, 'pistonfield ')), 'printed "%s"', printed);
  expect(isempty(strfind(printed, '#')), 'printed "%s"', printed);
end

function expect_tests()
  printed = evalc('pkg(''test'', package())');
  passed = regexp(printed, 'PASS +(\d+)', 'tokens');
  failed = regexp(printed, 'FAIL +(\d+)', 'tokens');
  expect(~isempty(passed) && str2double(passed{1}{1}) >= 4, 'printed "%s"', printed);
  expect_same(regexp(fileread('fntests.log'), '\n!!!!! [^\n]*\n[^\n]*', 'match'), cell(1, 0));
  expect_same(failed{1}{1}, '0');
end

function expect_removed()
  folder = fileparts(which('pistonfield'));
  pkg('unload', package());
  expect(isempty(which('pistonfield')), 'on the path after it is unloaded');
  pkg('uninstall', '-local', package());
  expect(~isfolder(folder), '%s is still there', folder);
  expect(isempty(pkg('list', package())), 'still listed');
end

% Nothing of the machine's own packages is touched.
pkg('local_list', fullfile(pwd(), 'local_list'));
pkg('global_list', fullfile(pwd(), 'global_list'));
tarball = getenv('PISTONFIELD_TARBALL');
if isempty(tarball)
  % What Debian's Octave does when it has got a new package.
  libraries = strrep(__octave_config_info__('libdir'), '/usr/', '');
  folder = @(parent) fullfile(pwd(), 'root', 'usr', parent, 'octave', 'packages');
  pkg('prefix', folder('share'), folder(libraries));
  pkg('rebuild', '-global');
else
  pkg('prefix', fullfile(pwd(), 'packages'), fullfile(pwd(), 'packages'));
  it('pkg installs it', @() pkg('install', '-local', tarball));
end

it('pkg loads it', @expect_loaded);
it('a field is computed', @expect_field);
it('a pressure is computed', @expect_pressure);
it('the backend is known', @expect_backend);
if strcmp(getenv('SOURCE_DATE_EPOCH'), '1699146123')
  it('info tells the time that the compilation was given', @expect_build_time);
end
it('the index lists every function', @expect_index);
for name = functions()
  it(['help tells of ', name{1}], @() expect_help(name{1}));
end
it('news prints the changes as plain text', @expect_news);
if ~isempty(tarball)
  it('the tests of its functions pass', @expect_tests);
  it('pkg unloads and uninstalls it', @expect_removed);
end

finish();
