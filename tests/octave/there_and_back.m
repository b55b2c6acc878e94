% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The way of a field from Octave to pistonfield-run and back: the lines of the documentation, one
% after the other, in a folder of their own.

1;

% The lines of code under a heading: those of the shell as calls of it.
function code = code_of(page, heading)
  text = regexp(fileread(page), ['\n## ', heading, '\n(.*?)\n## '], 'tokens', 'once'){1};
  lines = strsplit(text, "\n");
  lines = lines(strncmp(lines, '    ', 4));
  code = strjoin(regexprep(lines, '^ +pistonfield-run (.*)$', 'in_shell(''$1'');'), "\n");
end

function in_shell(arguments)
  [status, said] = system(['"', getenv('PISTONFIELD_RUN'), '" ', arguments, ' 2>&1']);
  expect(status == 0, '%s', said);
end

function remove(folder)
  confirm_recursive_rmdir(false, 'local');
  rmdir(folder, 's');
end

% What a slice across y shows: its values where they belong.
function expect_slice(h, p, grid, iy)
  [x, ~, z] = pistonfield_grid(grid, 'axes');
  at = h.graphics;
  shown = get(at, 'cdata');
  if size(shown, 1) ~= numel(x)
    shown = shown.';
  end
  wanted = squeeze(abs(p(:, iy, :)));
  expect_close(shown / max(shown(:)), wanted / max(wanted(:)), 4 * eps);
  ends = [get(at, 'xdata')(:); get(at, 'ydata')(:)];
  expect_close([min(ends), max(ends)], 1e3 * [min(x), max(z)], 1e-9);
end

function expect_picture_of(p, grid)
  close all
  h = pistonfield_plot(p, grid, 'across', 'y', 'at', [0, 0, 1e-3], 'show', 'magnitude');
  [~, y] = pistonfield_grid(grid, 'axes');
  expect_slice(h, p, grid, find(abs(y) < 1e-9));
end

function expect_pressure(p, wanted)
  expect(isequal(p, wanted), 'off by %g', max(abs(p(:) - wanted(:))));
end

% Parts of the same request, joined, and read as a box that lies in two of them.
function expect_parts(piston, wave, p)
  for part = 1:3
    in_shell(sprintf('--request request.toml --part %d/3 parts.h5', part));
  end
  in_shell('join parts.h5 parts.part-*.h5');
  [box, ~, grid] = pistonfield_read('parts.h5', [3, 5, 70], [90, 55, 30], ...
                                    'piston', piston, wave{:});
  expect_pressure(box, p(3:92, 5:59, 70:99));
  expect_picture_of(box, grid);
  [part, ~, grid] = pistonfield_read('parts.part-2-of-3.h5', 'piston', piston, wave{:});
  expect_pressure(part, p(:, :, 81:160));
  [~, ~, z] = pistonfield_grid(grid, 'axes');
  expect_close(z, (81:160) * 0.5e-3, 1e-15);
end

function expect_kept(p, exact, tolerance)
  off = max(abs(p(:) - exact(:))) / max(abs(exact(:)));
  expect(off <= tolerance, 'off by %g of the largest, not %g', off, tolerance);
end

function expect_told(request, tolerance)
  expect_same({request.tolerance, request.relative, request.precision}, ...
              {tolerance, 'largest', 'double'});
  expect(isempty(request.order), 'an order beside a tolerance');
  expect(request.error_points > 0 && request.evaluations > 0, 'nothing was measured');
  expect(request.error <= request.error_bound && request.error_bound <= tolerance, ...
         'error %g, bound %g', request.error, request.error_bound);
end

% With options of its own in between.
function [p, request] = there_and_back(piston, grid, options)
  pistonfield_request('other.toml', piston, grid, options{:}, 'overwrite', true);
  in_shell('--request other.toml --overwrite other.h5');
  [p, request] = pistonfield_read('other.h5', 'piston', piston, options{:});
end

function expect_way_of_a_mode(piston, grid, wave)
  options = [wave, {'mode', 'cpu'}];
  [p, request] = there_and_back(piston, grid, options);
  expect_same({request.mode, request.order}, {'cpu', pistonfield_order(piston, grid, wave{:})});
  expect(isempty(request.tolerance), 'a tolerance beside an order');
  expect_pressure(p, pistonfield_pressure(piston, grid, options{:}));
end

function expect_way_of_a_tolerance(piston, grid, wave, exact)
  for tolerance = [1e-2, 1e-8]
    options = [wave, {'tolerance', tolerance}];
    [p, request] = there_and_back(piston, grid, options);
    expect_pressure(p, pistonfield_pressure(piston, grid, options{:}));
    expect_kept(p, exact, tolerance);
    expect_told(request, tolerance);
  end
end

graphics_toolkit('gnuplot');
set(0, 'DefaultFigureVisible', 'off');
project = fileparts(fileparts(fileparts(mfilename('fullpath'))));
folder = tempname();
mkdir(folder);
cleaning = onCleanup(@() remove(folder));
before = cd(folder);
eval(code_of(fullfile(project, 'docs', 'run.md'), 'From Octave and back'));
made = pistonfield_grid((-15:0.3:15) * 1e-3, (-9:0.3:9) * 1e-3, (0.5:0.5:120) * 1e-3);
wanted = pistonfield_pressure(piston, made, wave{:});

it('brings the pressure in Pa to the bit', @() expect_pressure(p, wanted));
it('brings the grid as it was made', @() expect_same(grid, made));
it('draws the field', @() expect(numel(get(0, 'children')) == 1, 'no figure'));
it('draws every value where it belongs', @() expect_picture_of(p, grid));
exact = pistonfield_pressure(piston, made, wave{:}, 'order', 400);
it('keeps the usual tolerance', @() expect_kept(p, exact, 1e-4));
it('tells how exact it is', @() expect_told(request, 1e-4));
it('keeps other tolerances', @() expect_way_of_a_tolerance(piston, made, wave, exact));
it('computes the order that the tolerance takes in a mode', ...
   @() expect_way_of_a_mode(piston, made, wave));
it('does so in parts', @() expect_parts(piston, wave, wanted));
cd(before);
finish();
