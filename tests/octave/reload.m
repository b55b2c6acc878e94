% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% One session, many calls: the module keeps nothing from call to call and can be cleared anytime.

1;

function yes = is_loaded()
  yes = any(strfind(fileread('/proc/self/maps'), 'pistonfield.mex'));
end

% The field of the valid call.
function p = reference()
  [l, s, k] = piston();
  [x, y, z] = ndgrid([1e-3, 2e-3], [2e-3, 3e-3, 4e-3], [5e-3, 6e-3]);
  [nodes, weights] = gauss_rule(16);
  p = arrayfun(@(x, y, z) edge_integrals([x, y, z], l, s, k, nodes, weights), x, y, z);
end

function expect_same_many_times(wanted)
  for i = 1:500
    expect_same(field(good_request(){:}), wanted);
  end
end

function expect_independence_of_order(wanted)
  for order = [1, 100, 3, 64, 2]
    request = with(7, order);
    request{6} = 'cpusp';
    field(request{:});
    expect_same(field(good_request(){:}), wanted);
  end
end

function expect_correct_after_reload(wanted)
  for i = 1:20
    clear pistonfield
    expect(~is_loaded(), 'still loaded after clear number %d', i);
    expect_same(field(good_request(){:}), wanted);
    expect(is_loaded(), 'computed by something else');
  end
end

function expect_correct_after_reload_with_error(wanted)
  for i = 1:20
    clear pistonfield
    expect_refusal('pistonfield: Size information (argument 2) must be three dimensional.', ...
                   with(2, [1, 1]){:});
    expect_same(field(good_request(){:}), wanted);
  end
end

wanted = field(good_request(){:});

it('the first call is right', @() expect_close(wanted, reference(), 1e-13));
it('500 calls in a row give the same', @() expect_same_many_times(wanted));
it('a call does not depend on the rule of the call before', @() ...
   expect_independence_of_order(wanted));
it('a module cleared 20 times computes the same each time', @() ...
   expect_correct_after_reload(wanted));
it('a module whose first call is refused computes the same', @() ...
   expect_correct_after_reload_with_error(wanted));

finish();
