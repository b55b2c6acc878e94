% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The error that pistonfield_pressure tells of itself, in random cases and all modes: the true error
% over the whole grid against info.estimate. FIELD_ESTIMATE_CASES says how many cases. They are those
% of random_field, the grid of every third moved up to 1000 wavelengths away from the piston, where
% the modes of single precision lose their digits. In half of them the tolerance is demanded.

1;

function c = random_case(number)
  c = random_field(number);
  modes = {'cpu', 'cpudp', 'cpusp', 'cuda', 'cudadp'};
  c.mode = modes{mod(number, 5) + 1};
  c.demanded = rand() < 0.5;
  if mod(number, 3) == 0
    c.grid.transform(4, 3) += 1000 ^ rand() * c.speed / c.frequency;
  end
end

% The true error and the estimate; the text of a refusal.
function [off, estimate, refused] = try_case(number)
  c = random_case(number);
  off = NaN;
  estimate = NaN;
  refused = '';
  options = {};
  if c.demanded
    options = {'tolerance', c.tolerance};
  end
  warning('off', 'pistonfield:rounding');
  try
    [p, info] = pistonfield_pressure(c.piston, c.grid, 'frequency', c.frequency, 'speed', c.speed, ...
                                     'density', 1, 'mode', c.mode, options{:});
  catch problem
    refused = problem.message;
    expect(any(strcmp(problem.identifier, {'pistonfield:pistonfield_pressure:tolerance', ...
                                           'pistonfield:pistonfield_pressure:order'})), refused);
    expect(c.demanded || ! isempty(strfind(refused, 'up to 4096')) || ...
           ! isempty(strfind(refused, 'more than the 512')), refused);
    return
  end
  exact = converged_field(c);
  p = p / (1i * c.speed);
  top = max(abs(exact(:)));
  off = max(abs(p(:) - exact(:))) / top;
  % What the field that is compared with may itself be off by rounding: 4 * u * (1 + k*R) at most.
  [x, y, z] = pistonfield_grid(c.grid, 'positions');
  reach = max(sqrt(x(:) .^ 2 + y(:) .^ 2 + z(:) .^ 2)) + norm([c.piston.width, c.piston.height]) / 2;
  estimate = info.estimate;
  off = off - 2 * eps * (1 + info.wavenumber * reach) / top;
  if off > estimate || (! c.demanded && estimate > 1e-4)
    report('case %d, %s: error %.2e, estimate %.2e, order %d, %d x %d x %d points', ...
           number, c.mode, off, estimate, info.order, c.grid.sizes);
  end
end

cases = str2double(getenv('FIELD_ESTIMATE_CASES'));
off = NaN(1, cases);
estimate = NaN(1, cases);
refused = 0;
for i = 1:cases
  [off(i), estimate(i), text] = try_case(i);
  if ! isempty(text)
    refused++;
    report('case %d: %s', i, text);
  end
end

computed = ! isnan(off);
report('%d cases: %d refused; error below the estimate in %d of %d; above 1e-2 in %d', cases, ...
       refused, sum(off(computed) <= estimate(computed)), sum(computed), sum(off > 1e-2));
ratio = off(computed & off > 1e-13) ./ estimate(computed & off > 1e-13);
report('error in parts of the estimate: median %.2f, largest %.2f', median(ratio), max(ratio));
expect(all(off(computed) <= estimate(computed)), 'an error exceeds its estimate');
