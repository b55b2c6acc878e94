% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The first page of the documentation: its lines of code, one after the other, in the project's
% folder.

1;

function code = code_of(page)
  lines = strsplit(fileread(page), "\n");
  code = strjoin(lines(strncmp(lines, '    ', 4)), "\n");
end

graphics_toolkit('gnuplot');
set(0, 'DefaultFigureVisible', 'off');
cd(fileparts(fileparts(fileparts(mfilename('fullpath')))));
code = strrep(code_of('docs/start.md'), 'addpath build/octave inst', 'addpath inst');
eval(code);

it('computes the field that it speaks of', @() expect(isequal(size(p), [101, 1, 240]) && ...
   all(isfinite(p(:))), 'p is %s', mat2str(size(p))));
it('counts its lines along x and y as the arrays have them', @() expect_close( ...
   z(10), 5e-3, 1e-12));
it('draws a slice and a profile', @() expect(numel(get(0, 'children')) == 2, ...
   '%d figures', numel(get(0, 'children'))));
finish();
