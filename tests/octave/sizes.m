% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% Sizes that make no grid, or one too large: an error each time, and the session goes on.

1;

function refuse_without_points(sizes)
  it(sprintf('%s has no point', mat2str(sizes)), @() ...
     expect_refusal('pistonfield: The given grid must have at least one data point', ...
                    with(2, sizes){:}));
end

% No machine has the memory for these, wherever Octave notices.
function refuse_for_memory(sizes)
  it(sprintf('%s is beyond all memory', mat2str(sizes)), @() expect_memory_error(sizes));
end

function expect_memory_error(sizes)
  good = field(good_request(){:});
  raised = '';
  try
    field(with(2, sizes){:});
  catch failure
    raised = failure.message;
  end
  texts = '^out of memory|^pistonfield: failed to allocate \d+ bytes';
  expect(~isempty(regexp(raised, texts, 'once')), 'raised "%s"', raised);
  expect_same(field(good_request(){:}), good);
end

function bytes = address_space()
  file = fopen('/proc/self/statm');
  pages = fscanf(file, '%d', 1);
  fclose(file);
  bytes = pages * 4096;
end

% The mode is looked at when the result exists; each result has 2 * 1.7 MB.
function expect_nothing_kept(request, raises)
  for i = 1:60
    try
      field(request{:});
      raised = false;
    catch
      raised = true;
    end
    expect(raised == raises, 'the call ended the other way');
    if i == 10
      before = address_space();
    end
  end
  grown = address_space() - before;
  expect(grown < 5 * 2 * 1.7e6, 'the process grew by %g MB', grown / 1e6);
end

% Points of a rule of one abscissa, so that the call is short.
function request = large_request(mode)
  request = with(2, [60, 60, 60]);
  request(6:7) = {mode, 1};
end

for sizes = {[0, 1, 1], [1, 0, 1], [1, 1, 0], [0, 0, 0], [0.9, 1, 1], [1, 1, -0.5], [-1, 1, 1], ...
             [-1, -1, 1], [-3, -3, -3], [NaN, 1, 1], [1, NaN, 1], [1, 1, NaN], [NaN, NaN, NaN], ...
             [-Inf, 1, 1], [Inf, 1, 0], [Inf, NaN, 1], [1, 1e10, 0], [-1e300, 1, 1]}
  refuse_without_points(sizes{1});
end
for sizes = {[Inf, 1, 1], [1, Inf, 1], [1, 1, Inf], [Inf, Inf, Inf], [1e300, 1, 1], ...
             [2^31, 1, 1], [1, 2^32, 1], [2^32 + 1, 1, 1], [2^33, 2^33, 1], [1e6, 1e6, 1e6], ...
             [65536, 65536, 65536], [1e9, 1e9, 1e9], [1e18, 1e18, 1e18], [2^63, 1, 1], [2^64, 1, 1]}
  refuse_for_memory(sizes{1});
end
it('a negative order is beyond all memory', @() ...
   expect_refusal('out of memory or dimension too large for Octave''s index type', with(7, -5){:}));
it('refused calls keep no memory', @() expect_nothing_kept(large_request('none'), true));
it('answered calls keep no memory', @() expect_nothing_kept(large_request('cpusp'), false));

finish();
