% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% What the modes that compute on the GPU print, on the emulation device: a GPU may add lines of its own.

1;

% At (0, 0, 0) and (0, 0, 1), of a piston with sides of 1 and k = 1.
function expect_marks(arguments, wanted)
  call = sprintf('pistonfield(eye(4), [1 1 2], 1, 1, 1%s)', strrep(arguments, '''', '"'));
  code = strrep(sprintf('[t, p] = evalc(''%s'');', call), '"', '\"');
  [status, output, errors] = run_octave(code);
  expect_same({status, output, errors}, {0, strjoin([wanted, {''}], "\n"), ''});
end

function expect_console(mode)
  request = {eye(4), [1, 1, 2], 5e-3, 7.5e-3, 1234.5678901, mode, 4};
  printed = evalc('p = pistonfield(request{:});');
  expect_same(printed, sprintf('l=0.005000, s=0.007500, k=1234.567890\n'));
end

computed = {'setting order 8elements: 4', 'set weights double', '-0.96029', 'set weights float', ...
            '-0.96029', 'symbol: "global_RectangularPiston_float_x"'};
single_ = {'computeCuda', 'type cast to float', 'allocating 8 bytes'};
ten = {'setting order 10elements: 5', 'set weights double', '-0.973907', 'set weights float', ...
       '-0.973907', 'symbol: "global_RectangularPiston_float_x"'};
table = ', ones(5, 2) / 4';
singleTable = {'using 5 abscissas.', '3', 'set weights float', '0.25', ...
               'symbol: "global_RectangularPiston_float_x"'};
doubleTable = {'using 5 abscissas.', '1', 'set weights double', '0.25', 'computeCudaDouble 2'};

it('cuda marks its path on standard output', @() ...
   expect_marks(', ''cuda'', 8', [{'4'}, computed, single_]));
it('cudadp marks its path on standard output', @() ...
   expect_marks(', ''cudadp'', 8', [{'2'}, computed, {'computeCudaDouble 2'}]));
it('a call without a mode marks the path of cuda', @() ...
   expect_marks('', [{'4'}, ten, single_]));
it('cuda marks a table on standard output', @() ...
   expect_marks([', ''cuda''', table], [singleTable, single_]));
it('cudadp marks a table on standard output', @() ...
   expect_marks([', ''cudadp''', table], doubleTable));
for modes = {'cuda', 'cudadp'}
  mode = modes{1};
  it([mode, ' shows the request on the console and no more'], @() expect_console(mode));
end

finish();
