% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% Every refusal, in the order in which the arguments are looked at; a case that says "before" also
% holds a fault that is looked for later.

1;

function refuse(sentence, message, request)
  it(sentence, @() expect_refusal(['pistonfield: ', message], request{:}));
end

function expect_output_count(count)
  request = good_request();
  raised = '';
  try
    if count == 0
      pistonfield(request{:});
    else
      [a, b] = pistonfield(request{:});
    end
  catch failure
    raised = failure.message;
  end
  expect_same(raised, 'pistonfield: Must have one output arguments');
end

function printed = console_before_error(request)
  printed = evalc('try, p = pistonfield(request{:}); catch, end');
end

usage = ['Must have five or six input arguments: ([4x4 transform], [sx, sy, sz], l, s, k, ' ...
         '[''cuda''|''cudadp''|''cpu''|''cpusp''|''cpudp''], [nabscissas])'];
notPlain = 'Input must be real, full, and nonstring';
notARule = 'abscissas must be a number or a 2D matrix containing abscissas and weights.';
notThree = 'Size information (argument 2) must be three dimensional.';
notSixteen = 'Size information (argument 1) must contain sixteen values.';
noPoints = 'The given grid must have at least one data point';
modeNotText = 'Input 5 must be a character string and either be ''cuda'' or ''cpu''';
unknownMode = 'Input 5 must either be ''cuda'' or ''cpu[sp,dp]''';

good = good_request();
transform = good{1};
sizes = good{2};

refuse('a call without arguments', usage, {});
refuse('four arguments', usage, good(1:4));
refuse('eight arguments', usage, [good, {1}]);
refuse('eight arguments, before the kind of the transform', usage, [{'text'}, good(2:7), {1}]);
refuse('"info" with an output', usage, {'info'});
refuse('"INFO" with an output', usage, {'INFO'});

it('no output', @() expect_output_count(0));
it('two outputs', @() expect_output_count(2));

refuse('a complex transform', notPlain, with(1, complex(transform, 1)));
refuse('a complex transform whose imaginary part is zero', notPlain, ...
       with(1, complex(transform, 0)));
refuse('a sparse transform', notPlain, with(1, sparse(transform)));
refuse('a text as the transform', notPlain, with(1, repmat('x', 4, 4)));
refuse('a complex transform, before all sizes', notPlain, ...
       {[1i, 2], [1, 2], 1, 1, 1, 'none', [1, 2, 3]});

refuse('three abscissas in a column', notARule, with(7, [1; 2; 3]));
refuse('three abscissas in a row', notARule, with(7, [1, 2, 3]));
refuse('empty abscissas', notARule, with(7, []));
refuse('a page of abscissas and weights behind another', notARule, with(7, ones(2, 2, 2)));
refuse('an unreadable rule, before the sizes', notARule, {transform, [1, 2], 1, 1, 1, 'none', []});

refuse('two sizes', notThree, with(2, [2, 3]));
refuse('four sizes', notThree, with(2, [2, 3, 4, 5]));
refuse('no sizes', notThree, with(2, []));
refuse('two sizes, before the number of values of the transform', notThree, ...
       {eye(3), [2, 3], 1, 1, 1, 'none'});

refuse('a 3 by 3 transform', notSixteen, with(1, eye(3)));
refuse('a 4 by 5 transform', notSixteen, with(1, ones(4, 5)));
refuse('an empty transform', notSixteen, with(1, []));
refuse('a 3 by 3 transform, before the number of points', notSixteen, ...
       {eye(3), [0, 1, 1], 1, 1, 1, 'none'});

refuse('a grid without points', noPoints, with(2, [0, 5, 5]));
refuse('a grid without points, before the mode', noPoints, {transform, [5, 0, 5], 1, 1, 1, 'none'});
refuse('a grid without points, before the kind of the mode', noPoints, ...
       {transform, [5, 5, 0], 1, 1, 1, 7});
refuse('a grid without points when no mode is given', noPoints, {transform, [0, 5, 5], 1, 1, 1});

refuse('a number as the mode', modeNotText, with(6, 1));
refuse('a cell as the mode', modeNotText, with(6, {'cpu'}));
refuse('an unknown mode', unknownMode, with(6, 'gpu'));
refuse('a mode in capitals', unknownMode, with(6, 'CPU'));
refuse('a mode with a blank after it', unknownMode, with(6, 'cpu '));
refuse('the beginning of a mode', unknownMode, with(6, 'cp'));
refuse('an empty text as the mode', unknownMode, with(6, ''));

it('l, s and k are shown before the sizes are refused', @() ...
   expect_same(console_before_error({eye(4), [2, 3], 1, 2, 3, 'cpu'}), ...
               sprintf('l=1.000000, s=2.000000, k=3.000000\n')));
it('l, s and k are shown before a grid without points is refused', @() ...
   expect_same(console_before_error({eye(4), [0, 5, 5], 1, 2, 3, 'cpu'}), ...
               sprintf('l=1.000000, s=2.000000, k=3.000000\n')));
it('nothing is shown before an unreadable rule is refused', @() ...
   expect_same(console_before_error({eye(4), [2, 3], 1, 2, 3, 'cpu', []}), ''));

finish();
