function [order, estimate] = pistonfield_order(piston, grid, varargin)
  % pistonfield_order: the order of the Gauss-Legendre rule that a field needs.
  %
  % DESCRIPTION
  %   Finds the smallest order whose sums over the piston's edges are accurate to a tolerance on a
  %   grid. The error of an order is the largest |p - p converged| over the grid, divided by the
  %   largest |p| over the grid; that of a weak point may be large in parts of its own pressure. It
  %   counts what rounding does to p in the mode that is used; p converged is of 'cpu'.
  %
  %   The error is measured, not predicted: orders are doubled until the field stays the same, and
  %   the smallest sufficient order is then found by bisection. A grid of up to 20000 points is
  %   measured whole. Of a larger one samples of up to 4096 points each are: spread over all of it,
  %   over the side that faces the piston, and along each of the piston's edges, since errors are
  %   largest near the face and the edges. As points between the samples may be worse, their error
  %   counts fourfold.
  %
  %   A tolerance that the mode cannot keep is refused, with the mode that can.
  %
  %   This is for the module's modes: pistonfield_pressure finds the order so where a mode is named.
  %   Without one the tolerance engine keeps the tolerance, which has no order.
  %
  % USAGE
  %   order = pistonfield_order(piston, grid, 'frequency', f)
  %   [order, estimate] = pistonfield_order(piston, grid, 'frequency', f, name, value, ...)
  %
  % INPUTS
  %   piston       - struct with width and height [m], and optionally center [m] and orientation;
  %                  see pistonfield_pressure
  %   grid         - the points, made by pistonfield_grid [m]
  %   'frequency'  - frequency [Hz]
  %
  % OPTIONAL INPUTS (names and values)
  %   'tolerance'  - the largest error, relative to the largest |p| on the grid; default 1e-4
  %   'speed'      - speed of sound [m/s]; default 1482, water at 20 degrees Celsius
  %   'mode'       - the mode that computes, as for pistonfield_pressure; default 'cpu'
  %   The other options of pistonfield_pressure are taken and ignored, so that one list of options
  %   serves both functions.
  %
  % OUTPUTS
  %   order        - the smallest order found to keep the tolerance
  %   estimate     - estimate of its error, at most the tolerance
  %
  % EXAMPLES
  %   piston = struct('width', 7.5e-3, 'height', 5e-3);
  %   grid = pistonfield_grid((-15:0.3:15) * 1e-3, 0, (0.5:0.5:120) * 1e-3);
  %   order = pistonfield_order(piston, grid, 'frequency', 1e6)
  %   [order, estimate] = pistonfield_order(piston, grid, 'frequency', 1e6, 'tolerance', 1e-8)
  %
  % See also: pistonfield_pressure, pistonfield_grid, pistonfield

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_order';
  require(nargin >= 2, caller, 'arguments', 'give a piston, a grid and the frequency');
  require_module(caller);
  piston = read_piston(caller, piston);
  require_grid(caller, grid);
  options = read_order_options(caller, varargin);
  require_rows(caller, grid.sizes, options.mode);
  place = place_before(caller, piston, grid);

  k = 2 * pi * options.frequency / options.speed;
  field = sampled_field(place, grid.sizes, piston, k, 0);
  [order, estimate] = find_order(caller, field, options.tolerance, options.mode);
  require(estimate <= options.tolerance, caller, 'tolerance', '%s', ...
          lost_to_rounding(options.mode, estimate, options.tolerance));
end

function options = read_order_options(caller, given)
  used = struct('frequency', [], 'tolerance', 1e-4, 'speed', 1482);
  defaults = used;
  defaults.mode = [];
  % Of a call of pistonfield_pressure, without a bearing on the order.
  for name = {'density', 'velocity', 'power', 'relative', 'precision', 'device', 'behind', ...
              'order', 'memory', 'threads', 'progress'}
    defaults.(name{1}) = [];
  end
  options = read_options(caller, defaults, given);
  require(~isempty(options.frequency), caller, 'frequency', 'frequency is missing: give it in Hz');
  if isempty(options.tolerance)
    options.tolerance = used.tolerance;
  end
  options = require_positive_options(caller, options, fieldnames(used));
  require(options.tolerance < 1, caller, 'tolerance', 'tolerance must be below 1');
  if isempty(options.mode)
    options.mode = 'cpu';
  end
  require_mode(caller, options.mode);
end

%!shared piston, grid, water
%! piston = struct('width', 7.5e-3, 'height', 5e-3);
%! grid = pistonfield_grid((-8:2:8) * 1e-3, (-6:2:6) * 1e-3, (0.1:2:30) * 1e-3);
%! water = {'frequency', 1e6, 'speed', 1482};

%!function error = true_error(piston, grid, order)
%!  % Against the edges' integrals by panels of 16 nodes and at most half a wavelength.
%!  place = grid.transform;  k = 2 * pi * 1e6 / 1482;
%!  [x, w] = composite_rule(16, ceil(8 * k * max(piston.width, piston.height) / pi));
%!  [~, q] = evalc(['pistonfield(place, grid.sizes, piston.height, piston.width, k, "cpu", ', ...
%!                  'reshape([x, w].'', [], 2))']);
%!  [~, p] = evalc('pistonfield(place, grid.sizes, piston.height, piston.width, k, "cpu", order)');
%!  error = max(abs(p(:) - q(:))) / max(abs(q(:)));
%!endfunction

%!function [x, w] = composite_rule(order, panels)
%!  n = 1:order - 1;
%!  beside = n ./ sqrt(4 * n .^ 2 - 1);
%!  [vectors, values] = eig(diag(beside, 1) + diag(beside, -1));
%!  x = (diag(values) + 1 + 2 * (0:panels - 1)) / panels - 1;
%!  w = repmat(2 * vectors(1, :)' .^ 2 / panels, 1, panels);
%!  x = x(:);  w = w(:);
%!endfunction

%!test % the order keeps the tolerance and the one below does not
%! for tolerance = [1e-2, 1e-4, 1e-7, 1e-10]
%!   [order, estimate] = pistonfield_order(piston, grid, water{:}, 'tolerance', tolerance);
%!   assert(true_error(piston, grid, order) <= tolerance);
%!   assert(true_error(piston, grid, order), estimate, 0.06 * tolerance);
%!   assert(true_error(piston, grid, order - 1) > 0.94 * tolerance);
%! end

%!test % of a large grid only samples are computed, and the tolerance is kept all the same
%! large = pistonfield_grid((-40:40) * 0.2e-3, (-30:30) * 0.2e-3, (0:9) * 0.3e-3);
%! for tolerance = [1e-3, 1e-8]
%!   [order, estimate] = pistonfield_order(piston, large, water{:}, 'tolerance', tolerance);
%!   assert(estimate <= tolerance);
%!   assert(true_error(piston, large, order) <= tolerance);
%! end

%!test % the tolerance is 1e-4 unless it is said
%! assert(pistonfield_order(piston, grid, water{:}), ...
%!        pistonfield_order(piston, grid, water{:}, 'tolerance', 1e-4));

%!test % near the face more is needed than far away, and for more wavelengths than for few
%! near = pistonfield_grid((-8:8) * 1e-3, 0, 0.1e-3);
%! far = pistonfield_grid((-8:8) * 1e-3, 0, 100e-3);
%! assert(pistonfield_order(piston, near, water{:}) > pistonfield_order(piston, far, water{:}));
%! assert(pistonfield_order(piston, near, 'frequency', 4e6) > ...
%!        pistonfield_order(piston, near, 'frequency', 1e6));

%!test % a grid of nothing but points over the corners has an order
%! corners = pistonfield_grid([-3.75 3.75] * 1e-3, [-2.5 2.5] * 1e-3, 1e-3);
%! beside = pistonfield_grid([-3.7499 3.7499] * 1e-3, [-2.4999 2.4999] * 1e-3, 1e-3);
%! [order, estimate] = pistonfield_order(piston, corners, water{:});
%! assert(estimate <= 1e-4);
%! assert(true_error(piston, beside, order) <= 1.1e-4);

%!test % points over a corner count like those beside them
%! over = pistonfield_grid([-3.75 3.75] * 1e-3, [-2.5 2.5] * 1e-3, (0:3) * 1e-3);
%! [order, estimate] = pistonfield_order(piston, over, water{:});
%! assert(order > 1 && estimate <= 1e-4);

%!test % the largest order is tried where doubling would pass it by
%! long = struct('width', 3.85, 'height', 5e-3);
%! axis = pistonfield_grid(0, 0, 1);
%! [order, estimate] = pistonfield_order(long, axis, water{:});
%! assert(order <= 4096 && estimate <= 1e-4);
%! assert(true_error(long, axis, order) <= 1e-4);
%! assert(true_error(long, axis, order), estimate, 0.06 * 1e-4);

%!error <measures 3373.82 by 3.37382 wavelengths>
%! pistonfield_order(struct('width', 5, 'height', 5e-3), pistonfield_grid(0, 0, 1), water{:});

%!test % rounding in the mode counts
%! for mode = {'cpusp', 'cuda', 'cudadp'}
%!   [order, estimate] = pistonfield_order(piston, grid, water{:}, 'tolerance', 1e-5, ...
%!                                         'mode', mode{1});
%!   [~, unrounded] = pistonfield_order(piston, grid, water{:}, 'tolerance', 1e-5);
%!   assert(estimate <= 1e-5 && estimate != unrounded);
%! end

%!test % one list of options serves both functions
%! options = {'frequency', 1e6, 'speed', 1500, 'density', 900, 'power', 2, 'mode', 'cuda', ...
%!            'tolerance', 1e-3, 'memory', 1e9, 'threads', 2, 'progress', 'none'};
%! [order, estimate] = pistonfield_order(piston, grid, options{:});
%! [~, info] = pistonfield_pressure(piston, grid, options{:});
%! assert(order == info.order && estimate == info.estimate);
%! assert(pistonfield_order(piston, grid, water{:}, 'velocity', 2, 'order', 3), ...
%!        pistonfield_order(piston, grid, water{:}));
%! assert(pistonfield_order(piston, grid, water{:}, 'precision', 'single', 'relative', 'local', ...
%!                          'device', 'cpu', 'behind', false), ...
%!        pistonfield_order(piston, grid, water{:}));

%!error <the mode cuda leaves an error of about .*, more than the tolerance 1e-09; the mode cpu keeps>
%! pistonfield_order(piston, grid, water{:}, 'tolerance', 1e-9, 'mode', 'cuda');
%!error <an order of \d+ is more than the 512 of the mode cuda; the mode cpu has it>
%! pistonfield_order(struct('width', 0.6, 'height', 5e-3), pistonfield_grid(0.2, 1e-3, 0), ...
%!                   water{:}, 'mode', 'cuda');
%!error id=pistonfield:pistonfield_order:mode
%! pistonfield_order(piston, grid, water{:}, 'mode', 'gpu');
%!error <1e-09 m beside an edge of the piston and 0 m before its face.* take a tolerance of 2.1e-05>
%! % The point is named in the grid's frame.
%! pistonfield_order(piston, pistonfield_grid(3.75e-3 - 1e-9, 2.5e-3 - 1e-9, 0), water{:}, ...
%!                   'tolerance', 1e-6);
%!test % the tolerance that is advised can be kept
%! point = pistonfield_grid(3.75e-3 - 1e-9, 2.5e-3 - 1e-9, 0);
%! [~, estimate] = pistonfield_order(piston, point, water{:}, 'tolerance', 2.1e-5);
%! assert(estimate <= 2.1e-5);
%!error <at the point \(0.00475, 0.0025, 0.002\) m of the grid>
%! moved = piston;  moved.center = [1 0 2] * 1e-3;
%! pistonfield_order(moved, pistonfield_grid((4.75:1:6.75) * 1e-3 - 1e-9, 2.5e-3 - 1e-9, 2e-3), ...
%!                   water{:}, 'tolerance', 1e-6);
%!error <no order reaches the tolerance 1e-18: rounding in double precision leaves>
%! pistonfield_order(piston, grid, water{:}, 'tolerance', 1e-18);
%!error id=pistonfield:pistonfield_order:arguments pistonfield_order(piston)
%!error id=pistonfield:pistonfield_order:piston pistonfield_order([], grid, water{:})
%!error id=pistonfield:pistonfield_order:grid pistonfield_order(piston, [], water{:})
%!error <order: grid must be a struct made by pistonfield_grid; pistonfield_pressure alone takes a list>
%! pistonfield_order(piston, [0 0 1e-3], water{:});
%!error id=pistonfield:pistonfield_order:frequency pistonfield_order(piston, grid)
%!error id=pistonfield:pistonfield_order:tolerance
%! pistonfield_order(piston, grid, water{:}, 'tolerance', 0);
%!error id=pistonfield:pistonfield_order:speed
%! pistonfield_order(piston, grid, 'frequency', 1, 'speed', []);
%!error id=pistonfield:pistonfield_order:options pistonfield_order(piston, grid, 'colour', 3)
%!error id=pistonfield:pistonfield_order:behind
%! pistonfield_order(piston, pistonfield_grid(0, 0, -1), water{:});
%!error id=pistonfield:pistonfield_order:tolerance
%! pistonfield_order(piston, grid, water{:}, 'tolerance', 1);
