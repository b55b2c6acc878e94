% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% Values of every kind in every argument: refused, or read as the number they hold. Never a crash.

1;

function kinds = values_without_number()
  kinds = {'a cell', {1, 2, 3}
           'a cell of 16', num2cell(eye(4))
           'a struct', struct('a', 1)
           'a row of three structs', struct('a', {1, 2, 3})
           'a function handle', @sin
           'a sparse number', sparse(3)
           'a sparse matrix', sparse(eye(4))
           'a sparse row', sparse([2, 2, 2])
           'a map', containers.Map()
           'an object', inputParser()
           'an empty matrix', []
           'an empty cell', {}
           'an empty text', ''};
end

function kinds = values_with_number()
  kinds = {'an int8', int8(3)
           'an int32', int32(3)
           'an uint64', uint64(3)
           'a single', single(3)
           'a row of int32', int32([3, 4, 5])
           'a logical', true
           'a row of logicals', [true, false, true]
           'a letter', 'a'
           'a complex number', 3 + 4i
           'a range', 3:5
           'an identity matrix', eye(4)};
end

% The beginning of the message that refuses a value without a number.
function message = refusal(position, value)
  switch position
    case 1
      if issparse(value) || ischar(value)
        message = 'Input must be real, full, and nonstring';
      elseif numel(value) == 16
        message = 'The transform (argument 1) must be full and of class double.';
      else
        message = 'Size information (argument 1) must contain sixteen values.';
      end
    case 2
      if numel(value) == 3
        message = 'Size information (argument 2) must be full and of class double.';
      else
        message = 'Size information (argument 2) must be three dimensional.';
      end
    case {3, 4, 5}
      message = sprintf('%s must be a number.', 'lsk'(position - 2));
    case 6
      if ischar(value)
        message = 'Input 5 must either be ''cuda'' or ''cpu[sp,dp]''';
      else
        message = 'Input 5 must be a character string and either be ''cuda'' or ''cpu''';
      end
    case 7
      if isequal(size_of(value), [1, 1])
        message = 'abscissas must be a number or a matrix of class double.';
      else
        message = 'abscissas must be a number or a 2D matrix containing abscissas and weights.';
      end
  end
end

% Objects count themselves in ways of their own; to the module each is one value.
function shape = size_of(value)
  if isobject(value)
    shape = [1, 1];
  else
    shape = size(value);
  end
end

function expect_refused_kind(position, value)
  expect_refusal(['pistonfield: ', refusal(position, value)], with(position, value){:});
end

function expect_read_as_double(position, value)
  expect_same(field(with(position, value){:}), field(with(position, double(real(value(1)))){:}));
end

function expect_integer_and_single_refused(position, message, value)
  for make = {@single, @int32, @logical}
    expect_refusal(['pistonfield: ', message], with(position, make{1}(value)){:});
  end
end

for kind = values_without_number()'
  for position = 1:7
    it(sprintf('%s as argument %d is refused', kind{1}, position), @() ...
       expect_refused_kind(position, kind{2}));
  end
end
for kind = values_with_number()'
  for position = 3:5
    it(sprintf('%s as argument %d is the number it begins with', kind{1}, position), @() ...
       expect_read_as_double(position, kind{2}));
  end
  if isscalar(kind{2})
    it(sprintf('%s as the order is its number', kind{1}), @() expect_read_as_double(7, kind{2}));
  end
end
it('a transform that is not of doubles is refused', @() expect_integer_and_single_refused( ...
   1, 'The transform (argument 1) must be full and of class double.', eye(4)));
it('sizes that are not doubles are refused', @() expect_integer_and_single_refused( ...
   2, 'Size information (argument 2) must be full and of class double.', [1, 1, 1]));
it('a table that is not of doubles is refused', @() expect_integer_and_single_refused( ...
   7, 'abscissas and weights must be a full matrix of class double.', [0, 1; 1, 1]));
it('a sparse table is refused', @() expect_refusal( ...
   'pistonfield: abscissas and weights must be a full matrix of class double.', ...
   with(7, sparse([0, 1; 1, 1])){:}));
it('complex sizes are their real parts', @() ...
   expect_same(size(field(with(2, [2 + 1i, 3, 4]){:})), [2, 3, 4]));
it('a range is sizes', @() expect_same(size(field(with(2, 2:4){:})), [2, 3, 4]));
it('a mode in a column is a mode', @() ...
   expect_same(field(with(6, ['c'; 'p'; 'u']){:}), field(good_request(){:})));

finish();
