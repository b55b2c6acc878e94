% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% printed_numbers(output, pattern): a row of numbers for every match, one for each of the pattern's
% groups.
function numbers = printed_numbers(output, pattern)
  matches = regexp(output, pattern, 'tokens', 'lineanchors');
  expect(~isempty(matches), 'there is no %s in "%s"', pattern, output);
  numbers = cell2mat(cellfun(@str2double, matches(:), 'UniformOutput', false));
end
