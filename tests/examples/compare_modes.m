% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The example that compares the modes, as a user runs it.

1;

% The table's rows: mode, difference and microseconds.
function rows = table_of_example()
  output = run_example('example2_compare_modes');
  pattern = '^(\w+) +(\d\.\de[-+]\d+|0\.0e\+00) +(\d+\.\d{3}) us$';
  rows = regexp(output, pattern, 'tokens', 'lineanchors');
end

% Single precision holds the phase k R, up to 510 rad here, to about 6e-8 of itself.
function expect_table(rows)
  names = cellfun(@(row) row{1}, rows, 'UniformOutput', false);
  expect_same(names, {'cpu', 'cpudp', 'cpusp', 'cuda', 'cudadp'});
  differences = cellfun(@(row) str2double(row{2}), rows);
  expect_same(differences(1:2), [0, 0]);
  single_ = differences(3:5);
  expect(all(single_ > 1e-8) && all(single_ < 510 * eps('single')), 'differences: %s', ...
         mat2str(differences));
  times = cellfun(@(row) str2double(row{3}), rows);
  expect(all(times > 0), 'times: %s', mat2str(times));
end

rows = table_of_example();
it('the example compares the five modes in a table', @() expect_table(rows));

finish();
