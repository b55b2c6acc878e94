% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% PISTONFIELD_CALLS calls with arguments at random: each returns a complex double field of the sizes
% asked for, or raises an error whose message is known; and the module goes on answering.

1;

% Values of every kind and shape; never an order that ends the process or takes minutes.
function value = any_value()
  shapes = {[0, 0], [0, 3], [1, 1], [1, 2], [2, 1], [1, 3], [3, 1], [4, 4], [1, 16], [5, 2], ...
            [0, 2], [2, 2, 4], [1, 1, 3]};
  shape = shapes{randi(numel(shapes))};
  switch randi(12)
    case {1, 2, 3}
      value = reshape(numbers(prod(shape)), shape);
    case 4
      value = single(1 + rand(shape));
    case 5
      classes = {@int8, @uint8, @int16, @uint16, @int32, @uint32, @int64, @uint64};
      value = classes{randi(8)}(randi(9, shape));
    case 6
      value = true(shape);
    case 7
      value = repmat('c', shape);
    case 8
      value = cell(shape);
    case 9
      value = repmat(struct('a', 1), shape);
    case 10
      value = sparse(ones(shape(1:2)));
    case 11
      value = complex(ones(shape), 1);
    case 12
      value = @sin;
  end
end

function values = numbers(count)
  special = [0, -0, 1, -1, 1.5, NaN, Inf, -Inf, realmin / 2^40, realmax, 2^31 - 1, 2^31, 2^32, ...
             2^53, 2^63, 46341, 65536, 1e-7];
  values = 4 * rand(1, count);
  wild = rand(1, count) < 0.2;
  values(wild) = special(randi(numel(special), 1, sum(wild)));
end

function value = likely_value(position)
  modes = {'cpu', 'cpusp', 'cpudp', 'cuda', 'cudadp', 'CPU', 'cpu ', 'gpu', ''};
  switch position
    case 1
      value = reshape(numbers(16), 4, 4);
    case 2
      value = randi(4, 1, 3);
      if rand() < 0.1
        value(randi(3)) = numbers(1);
      end
    case 6
      value = modes{min(randi(14), numel(modes))};
    case 7
      if rand() < 0.3
        value = reshape(numbers(8), 4, 2);
      else
        value = randi(12);
      end
    otherwise
      value = numbers(1);
  end
end

function request = any_request()
  count = 4 + randi(3);
  if rand() < 0.05
    count = randi(9) - 1;
  end
  request = cell(1, count);
  for position = 1:count
    if rand() < 0.08
      request{position} = any_value();
    else
      request{position} = likely_value(position);
    end
  end
  if count >= 7 && is_out_of_bounds(request{7})
    request{7} = 4;
  end
end

% Below 1 it would end the process on the CPU; beyond 600 it would rightly take long.
function is_out = is_out_of_bounds(order)
  is_out = isscalar(order) && (isnumeric(order) || ischar(order) || islogical(order)) && ...
           ~(order >= 1 && order <= 600);
end

% The sizes of a field without the last ones that are 1.
function sizes = shape_of(sizes)
  sizes = floor(real(sizes(:)'));
  if sizes(3) == 1
    sizes = sizes(1:2);
  end
end

% Where the computation fails, not the arguments: an order that a GPU does not take, no memory.
function is_known = is_known_failure(message)
  known = {'pistonfield: failed to allocate', 'out of memory or dimension too large for Octave''s index type', ...
           'condition failed: (N <= 512 && N>0).', 'condition failed: (order>0).'};
  is_known = any(cellfun(@(text) ~isempty(strfind(message, text)), known));
end

refusals = {['Must have five or six input arguments: ([4x4 transform], [sx, sy, sz], l, s, k, ' ...
             '[''cuda''|''cudadp''|''cpu''|''cpusp''|''cpudp''], [nabscissas])']
            'Must have one output arguments'
            'Input must be real, full, and nonstring'
            'abscissas must be a number or a 2D matrix containing abscissas and weights.'
            'abscissas and weights must be a full matrix of class double.'
            'abscissas must be a number or a matrix of class double.'
            'l must be a number.'
            's must be a number.'
            'k must be a number.'
            'Size information (argument 2) must be three dimensional.'
            'Size information (argument 1) must contain sixteen values.'
            'Size information (argument 2) must be full and of class double.'
            'The transform (argument 1) must be full and of class double.'
            'The given grid must have at least one data point'
            'Input 5 must be a character string and either be ''cuda'' or ''cpu'''
            'Input 5 must either be ''cuda'' or ''cpu[sp,dp]'''};
refusals = strcat('pistonfield:', {' '}, refusals);

calls = str2double(getenv('PISTONFIELD_CALLS'));
rand('twister', 1);
good = field(good_request(){:});
fields = 0;
failures = 0;
for i = 1:calls
  request = any_request();
  message = '';
  try
    p = field(request{:});
  catch failure
    message = failure.message;
  end
  if isempty(message)
    fields += 1;
    expect(isa(p, 'double') && isequal(size(p), shape_of(request{2})), ...
           'call %d returned a %s of %s', i, class(p), mat2str(size(p)));
  else
    failures += 1;
    expect(any(strcmp(message, refusals)) || is_known_failure(message), ...
           'call %d raised "%s"', i, message);
  end
  if mod(i, 1000) == 0
    expect_same(field(good_request(){:}), good);
  end
end
fprintf(stderr, '%d calls at random: %d fields, %d errors\n', calls, fields, failures);
