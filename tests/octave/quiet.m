% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The module that the functions in inst/ use: it prints nothing, answers with boxes and limits, says
% what is wrong with which argument, and can be cleared anytime.

1;

% The fields of the elements of an array, in an Octave of its own: what the library writes there is on
% the standard output of the process, which evalc does not see.
function print_nothing(name, value)
  [status, output, errors] = run_octave(sprintf([ ...
    'addpath %s; p = 0; grid = pistonfield_grid((-2:2) * 1e-3, 0, (20:22) * 1e-3); ', ...
    'for x = ((1:64) - 32.5) * 0.4e-3, ', ...
    'element = struct(''width'', 0.3e-3, ''height'', 5e-3, ''center'', [x 0 0]); ', ...
    'p = p + pistonfield_pressure(element, grid, ''frequency'', 1e6, ''%s'', ''%s'', ', ...
    '''tolerance'', 1e-3); pistonfield_order(element, grid, ''frequency'', 1e6); end'], ...
    fileparts(which('pistonfield_pressure')), name, value));
  expect(status == 0, '%s', errors);
  expect_same([output, errors], '');
end

function request = box_request(first, count, mode)
  [l, s, k] = piston();
  place = [9 1 2 0; -1 8 3 0; 2 -3 7 0; -30 -60 90 30000] / 30000;
  request = {'field', place, [7 9 11], s, l, k, mode, 12, first, count, 2};
end

function expect_boxes_of_the_field(mode)
  [l, s, k] = piston();
  request = box_request([0 0 0], [7 9 11], mode);
  whole = field(request{2}, [7 9 11], l, s, k, mode, 12);
  expect_same(pistonfield_internal(request{:}), whole);
  expect_same(pistonfield_internal(box_request([2 3 4], [5 2 7], mode){:}), whole(3:7, 4:5, 5:11));
  expect_same(pistonfield_internal(box_request([6 8 10], [1 1 1], mode){:}), whole(end));
end

% The question about a field within a tolerance, and that about its accuracy.
function request = box_within(first, count, mode, relative)
  [l, s, k] = piston();
  place = [9 1 2 0; -1 8 3 0; 2 -3 7 0; -30 -60 90 30000] / 30000;
  request = {'field_within', place, [7 9 11], s, l, k, mode, 1e-3, relative, first, count, 2};
end

function request = accuracy_request(mode, relative)
  request = box_within([0 0 0], [7 9 11], mode, relative);
  request{1} = 'accuracy';
  request(10:11) = [];
end

function expect_boxes_within_a_tolerance(mode, relative)
  [l, s, k] = piston();
  request = box_within([0 0 0], [7 9 11], mode, relative);
  whole = pistonfield_internal(request{:});
  expect_same(pistonfield_internal(box_within([2 3 4], [5 2 7], mode, relative){:}), ...
              whole(3:7, 4:5, 5:11));
  expect_same(pistonfield_internal(box_within([6 8 10], [1 1 1], mode, relative){:}), whole(end));
  accuracy = pistonfield_internal(accuracy_request(mode, relative){:});
  expect_same(size(accuracy), [1 3]);
  expect(accuracy(2) <= accuracy(1) && accuracy(1) <= 1e-3 && accuracy(3) >= 4, '%s', ...
         disp(accuracy));
  exact = field(request{2}, [7 9 11], l, s, k, 'cpu', 500);
  top = max(abs(exact(:)));
  if strcmp(relative, 'largest')
    expect_close(whole / top, exact / top, accuracy(1) + 1e-9);
  end
end

function refuses_what_is_wrong_with_a_tolerance()
  wrong = {8, 0, 'tolerance', 'tolerance: must be above 0 and below 1'
           8, 'all', 'tolerance', ['tolerance: must be full, real and of class double, with 1 ', ...
                                   'elements']
           9, 'far', 'relative', 'relative: ''far'' is none of largest, local'
           9, 1, 'relative', 'relative: must be a text'};
  for i = 1:rows(wrong)
    [at, value, identifier, message] = wrong{i, :};
    for request = {box_within([0 0 0], [7 9 11], 'cpu', 'local'), accuracy_request('cpu', 'local')}
      asked = request{1};
      asked{at} = value;
      expect_error(identifier, message, asked);
    end
  end
  request = box_within([0 0 1], [7 9 11], 'cpu', 'local');
  expect_error('box', ['11 points from 1 on do not lie within the lattice''s 11 along its ', ...
                       'direction z'], request);
  expect_error('arguments', 'arguments: 11 in the place of 12', request(1:11));
  expect_error('arguments', 'arguments: 1 in the place of 10', {'accuracy'});
end

function expect_error(identifier, message, request)
  try
    pistonfield_internal(request{:});
  catch failure
    expect_same(failure.identifier, ['pistonfield:pistonfield_internal:', identifier]);
    expect_same(failure.message, ['pistonfield_internal: ', message]);
    return
  end
  expect(false, 'was not refused: %s', message);
end

function expect_refused(position, value, identifier, message)
  request = box_request([0 0 0], [7 9 11], 'cuda');
  request{position} = value;
  expect_error(identifier, message, request);
end

function refuses_what_is_wrong()
  numbers = @(count) sprintf('must be full, real and of class double, with %d elements', count);
  expect_refused(1, 'fields', 'question', 'question: ''fields'' is none');
  expect_refused(1, 3, 'question', 'question: must be a text');
  expect_refused(2, eye(3), 'transform', ['transform: ', numbers(16)]);
  expect_refused(2, NaN(4), 'transform', 'transform: every number must be finite');
  expect_refused(3, single([7 9 11]), 'sizes', ['sizes: ', numbers(3)]);
  expect_refused(3, [7 9 1.5], 'sizes', 'sizes: must be whole');
  expect_refused(3, [7 9 NaN], 'sizes', 'sizes: must be whole');
  expect_refused(3, [7 9 1e17], 'sizes', 'sizes: must be whole');
  expect_refused(3, [7 9 0], 'sizes', 'sizes: each must be 1 or more');
  expect_refused(3, [7 9 2e7], 'sizes', ['sizes: 20000000 points in a row are more than the ', ...
                                         '16777216 of the mode cuda']);
  expect_refused(4, 0, 'width', 'width: must be a length above 0');
  expect_refused(4, 1i, 'width', ['width: ', numbers(1)]);
  expect_refused(5, sparse(1), 'height', ['height: ', numbers(1)]);
  expect_refused(6, [], 'wavenumber', ['wavenumber: ', numbers(1)]);
  expect_refused(7, 'gpu', 'mode', 'mode: ''gpu'' is none of cpu, cpudp, cpusp, cuda, cudadp');
  expect_refused(7, 5, 'mode', 'mode: must be a text');
  expect_refused(8, 513, 'order', 'order: must be from 1 to 512');
  expect_refused(8, 0, 'order', 'order: must be from 1 to 512');
  expect_refused(9, [0 0 1], 'box', ['11 points from 1 on do not lie within the lattice''s 11 ', ...
                                     'along its direction z']);
  expect_refused(10, [7 0 11], 'box', ['0 points from 0 on do not lie within the lattice''s 9 ', ...
                                       'along its direction y']);
  expect_refused(11, -1, 'threads', 'threads: must be from 0 to 1024');
  expect_refused(11, 1025, 'threads', 'threads: must be from 0 to 1024');
  expect_error('question', 'question: there is none', {});
  expect_error('arguments', 'arguments: 1 in the place of 11', {'field'});
  expect_error('arguments', 'arguments: 3 in the place of 2', {'largest_order', 'cpu', 1});
  expect_error('arguments', 'arguments: 2 in the place of 1', {'most_threads', 'cpu'});
  expect_error('mode', 'mode: ''gpu'' is none of cpu, cpudp, cpusp, cuda, cudadp', ...
               {'largest_order', 'gpu'});
end

function obeys_the_environment()
  before = getenv('PISTONFIELD_THREADS');
  restore = onCleanup(@() setenv('PISTONFIELD_THREADS', before));
  setenv('PISTONFIELD_THREADS', 'none');
  for mode = {'cpu', 'cpusp'}
    request = {'field', eye(4), [100 100 10], 1, 1, 1, mode{1}, 100, [0 0 0], [100 100 10], 0};
    expect_error('environment', ...
                 'PISTONFIELD_THREADS: ''none'' is no whole number from 1 to 1024', request);
    request{end} = 2;
    expect_same(size(pistonfield_internal(request{:})), [100 100 10]);
  end
end

function knows_limits()
  expect_same(pistonfield_internal('largest_order', 'cpu'), 18000);
  expect_same(pistonfield_internal('largest_order', 'cpusp'), 18000);
  expect_same(pistonfield_internal('largest_order', 'cuda'), 512);
  expect_same(pistonfield_internal('largest_order', 'cudadp'), 512);
  expect_same(pistonfield_internal('most_points_in_a_row', 'cpudp'), 2 ^ 53);
  expect_same(pistonfield_internal('most_points_in_a_row', 'cuda'), 2 ^ 24);
  expect_same(pistonfield_internal('most_threads'), 1024);
end

function yes = is_loaded()
  yes = any(strfind(fileread('/proc/self/maps'), 'pistonfield_internal.mex'));
end

function is_the_same_after_reload()
  for mode = {'cpu', 'cuda'}
    request = box_request([0 0 0], [7 9 11], mode{1});
    wanted = pistonfield_internal(request{:});
    for i = 1:20
      clear pistonfield_internal
      expect(~is_loaded(), 'still loaded after clear number %d', i);
      expect_error('question', 'question: there is none', {});
      expect_same(pistonfield_internal(request{:}), wanted);
    end
  end
end

for mode = {'cpu', 'cpusp', 'cuda', 'cudadp'}
  it(sprintf('an array in the mode %s prints nothing', mode{1}), ...
     @() print_nothing('mode', mode{1}));
  it(sprintf('boxes in the mode %s have the bits of the module pistonfield', mode{1}), ...
     @() expect_boxes_of_the_field(mode{1}));
end
for precision = {'double', 'single'}
  it(sprintf('an array by the tolerance engine in %s precision prints nothing', precision{1}), ...
     @() print_nothing('precision', precision{1}));
end
it('an array by the tolerance engine on a GPU prints nothing', ...
   @() print_nothing('device', 'gpu'));
for mode = {'cpu', 'cpusp', 'cuda', 'cudadp'}
  for relative = {'largest', 'local'}
    it(sprintf('boxes in the mode %s within a tolerance have its bits, %s', mode{1}, ...
               relative{1}), @() expect_boxes_within_a_tolerance(mode{1}, relative{1}));
  end
end
it('errors name the argument', @refuses_what_is_wrong);
it('errors name what is wrong with a tolerance', @refuses_what_is_wrong_with_a_tolerance);
it('the environment is obeyed where no threads are asked for', @obeys_the_environment);
it('limits are answered', @knows_limits);
it('cleared 20 times it computes the same each time', @is_the_same_after_reload);

finish();
