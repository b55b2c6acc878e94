function [a, b, c] = pistonfield_grid(varargin)
  % pistonfield_grid: a regular grid of points, or the points of such a grid.
  %
  % DESCRIPTION
  %   Makes the grid that pistonfield_pressure and pistonfield_order take, from three ranges along
  %   the axes or from an origin and three step vectors; and gives back where its points lie.
  %
  % USAGE
  %   grid = pistonfield_grid(x, y, z)
  %   grid = pistonfield_grid(origin, steps, sizes)
  %   [x, y, z] = pistonfield_grid(grid, 'positions')
  %   [x, y, z] = pistonfield_grid(grid, 'axes')
  %
  % INPUTS
  %   x, y, z  - coordinates of the points along each axis [m]: vectors of one or more uniformly
  %              spaced values, rising or falling; they need not be whole multiples of anything
  %   origin   - the first point [m], three numbers
  %   steps    - 3 by 3 matrix [m]; its columns lead from a point to the next one along the grid's
  %              first, second and third direction. A 3 by 3 second argument tells this form.
  %   sizes    - the number of points along each direction, three whole numbers of at least 1
  %   grid     - a grid made by this function
  %
  % OUTPUTS
  %   grid     - struct with the fields
  %                transform  4 by 4, as the module pistonfield takes it: the grid point
  %                           (ix, iy, iz), counted from 0, lies at
  %                           [ix iy iz 1] * transform(:, 1:3). Rows 1 to 3 are the steps and
  %                           row 4 is the origin.
  %                sizes      1 by 3, the numbers of points
  %   x, y, z  - with 'positions': the coordinates of every point [m], arrays of the grid's size;
  %              with 'axes': the coordinates along each axis [m], row vectors. A grid that is not
  %              aligned with the axes has none, and is refused.
  %
  % EXAMPLES
  %   % A plane through the axis, every half millimetre.
  %   grid = pistonfield_grid((-10:0.5:10) * 1e-3, 0, (0.5:0.5:60) * 1e-3);
  %
  %   % The same spacing along a line at 30 degrees to the axis.
  %   direction = [sind(30); 0; cosd(30)];
  %   grid = pistonfield_grid([0 0 1e-3], 0.5e-3 * [direction, null(direction')], [100 1 1]);
  %   [x, y, z] = pistonfield_grid(grid, 'positions');
  %
  % See also: pistonfield_pressure, pistonfield_order, pistonfield

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_grid';
  if nargin == 2
    [grid, wanted] = varargin{:};
    require(isstruct(grid) || ischar(wanted), caller, 'arguments', ...
            'x, y and z are three arguments: give 0 for a coordinate that is 0');
    require_grid(caller, grid);
    require(ischar(wanted) && any(strcmp(wanted, {'positions', 'axes'})), caller, 'wanted', ...
            'the second argument must be ''positions'' or ''axes'', which are asked for of a grid');
    if strcmp(wanted, 'positions')
      [a, b, c] = positions(grid);
    else
      [a, b, c] = axes_of(grid);
    end
    return
  end
  require(nargin == 3, caller, 'arguments', ...
          'give x, y and z; or origin, steps and sizes; or a grid and ''positions'' or ''axes''');
  if isequal(size(varargin{2}), [3, 3])
    a = from_steps(varargin{:});
  else
    a = from_ranges(varargin);
  end
end

function grid = from_ranges(ranges)
  names = 'xyz';
  origin = zeros(1, 3);
  steps = zeros(1, 3);
  sizes = zeros(1, 3);
  for i = 1:3
    [origin(i), steps(i), sizes(i)] = read_range(names(i), ranges{i});
  end
  grid = grid_struct(origin, diag(steps), sizes);
end

% The only value of a range of one has no step; any will do, and 1 m keeps the matrix invertible.
function [first, step, count] = read_range(name, range)
  caller = 'pistonfield_grid';
  require(is_finite_real(range) && isvector(range), caller, name, ...
          '%s must be a vector of real, finite numbers', name);
  rounding = eps;
  if isa(range, 'single')
    rounding = eps('single');
  end
  range = double(range(:));
  first = range(1);
  count = numel(range);
  step = 1;
  if count > 1
    step = (range(end) - first) / (count - 1);
    off = max(abs(first + step * (0:count - 1)' - range));
    allowed = max(1e-6 * abs(step), 8 * rounding * max(abs(range)));
    require(off <= allowed && step ~= 0, caller, name, '%s must be uniformly spaced', name);
  end
end

function grid = from_steps(origin, steps, sizes)
  caller = 'pistonfield_grid';
  require(is_finite_real(origin) && numel(origin) == 3, caller, 'origin', ...
          'origin must be three real, finite numbers');
  require(is_finite_real(steps), caller, 'steps', ...
          'steps must be a 3 by 3 matrix of real, finite numbers');
  require(is_finite_real(sizes) && numel(sizes) == 3 && all(sizes(:) >= 1) && ...
          all(sizes(:) == fix(sizes(:))), caller, 'sizes', ...
          'sizes must be three whole numbers of at least 1');
  require(all(any(steps, 1) | sizes(:).' == 1), caller, 'steps', ...
          'steps must not be 0 along a direction with more than one point');
  grid = grid_struct(origin, steps, sizes);
end

% The module reads a matrix in its storage order, and so its transform is the transpose of the
% matrix that takes indices to positions.
function grid = grid_struct(origin, steps, sizes)
  place = [double(steps), double(origin(:)); 0 0 0 1];
  grid = struct('transform', place.', 'sizes', double(sizes(:).'));
end

function varargout = positions(grid)
  [ix, iy, iz] = ndgrid(0:grid.sizes(1) - 1, 0:grid.sizes(2) - 1, 0:grid.sizes(3) - 1);
  t = grid.transform;
  varargout = cell(1, 3);
  for i = 1:3
    % The order of additions is the module's.
    varargout{i} = ((t(4, i) + t(1, i) * ix) + t(2, i) * iy) + t(3, i) * iz;
  end
end

function varargout = axes_of(grid)
  steps = grid.transform(1:3, 1:3);
  along = steps(grid.sizes > 1, :);
  aligned = diag(diag(steps));
  require(isequal(along, aligned(grid.sizes > 1, :)), 'pistonfield_grid', 'axes', ...
          'the grid has no axes: it is not aligned with x, y and z');
  varargout = cell(1, 3);
  for i = 1:3
    varargout{i} = grid.transform(4, i) + steps(i, i) * (0:grid.sizes(i) - 1);
  end
end

%!test % ranges come back as they were given
%! x = (-3:0.5:3) * 1e-3;  y = 2e-3;  z = (40:-1:1) * 1e-3;
%! [x1, y1, z1] = pistonfield_grid(pistonfield_grid(x, y, z), 'axes');
%! assert(x1, x, eps(3e-3));
%! assert(y1, y);
%! assert(z1, z, eps(40e-3));

%!test % a point lies where the transform, applied from the right, puts it
%! grid = pistonfield_grid([0.1 0.2], [0.5 0.4 0.3], [1; 2; 3; 4]);
%! assert(grid.sizes, [2 3 4]);
%! assert([1 2 3 1] * grid.transform, [0.2 0.3 4 1], 1e-15);

%!test % positions of a sheared and turned grid, by hand
%! origin = [1 2 3];  steps = [1 0.5 0; 0 2 0.25; -1 0 4];
%! grid = pistonfield_grid(origin, steps, [3 2 2]);
%! [x, y, z] = pistonfield_grid(grid, 'positions');
%! assert(size(x), [3 2 2]);
%! assert([x(3, 2, 2); y(3, 2, 2); z(3, 2, 2)], origin' + steps * [2; 1; 1]);
%! assert([x(2, 1, 2); y(2, 1, 2); z(2, 1, 2)], origin' + steps * [1; 0; 1]);

%!test % the module computes where 'positions' says, in all directions
%! piston = [2e-3, 3e-3];  k = 4000;  % l, s
%! grid = pistonfield_grid([0 0 5e-3], 1e-3 * [1 0.5 0; 0 1 0.25; 0.25 0 1], [2 3 2]);
%! [x, y, z] = pistonfield_grid(grid, 'positions');
%! [~, p] = evalc('pistonfield(grid.transform, grid.sizes, 2e-3, 3e-3, k, "cpu", 16)');
%! for i = 1:numel(x)
%!   place = eye(4);  place(4, 1:3) = [x(i), y(i), z(i)];
%!   [~, one] = evalc('pistonfield(place, [1 1 1], 2e-3, 3e-3, k, "cpu", 16)');
%!   assert(one, p(i));
%! end

%!test % a single point has positions and axes
%! grid = pistonfield_grid(1, 2, 3);
%! [x, y, z] = pistonfield_grid(grid, 'positions');
%! assert([x y z], [1 2 3]);
%! [x, y, z] = pistonfield_grid(grid, 'axes');
%! assert([x y z], [1 2 3]);

%!test % what a direction of one point steps by is of no account to the axes
%! grid = pistonfield_grid([0 0 0], [1 1 0; 0 1 0; 0 0 1], [2 1 2]);
%! [x, y, z] = pistonfield_grid(grid, 'axes');
%! assert({x, y, z}, {[0 1], 0, [0 1]});

%!test % integers and singles do
%! grid = pistonfield_grid(int32(1:3), single([1 2]), 1);
%! assert(class(grid.transform), 'double');
%! assert(grid.sizes, [3 2 1]);

%!test % a range in single precision is uniform to its own rounding
%! grid = pistonfield_grid(single((-15:0.3:15) * 1e-3), 0, 1);
%! assert(grid.sizes, [101 1 1]);
%! assert(grid.transform(1, 1), 0.3e-3, eps('single') * 0.3e-3);

%!error <x must be uniformly spaced> pistonfield_grid(single([0 1 2.001]), 0, 1)
%!error <x must be uniformly spaced> pistonfield_grid([0 1 3], 0, 1)
%!error <y must be uniformly spaced> pistonfield_grid(0, [1 1], 1)
%!error <z must be a vector> pistonfield_grid(0, 0, [])
%!error <z must be a vector> pistonfield_grid(0, 0, [1 NaN])
%!error id=pistonfield:pistonfield_grid:x pistonfield_grid(1i, 0, 0)
%!error id=pistonfield:pistonfield_grid:y pistonfield_grid(0, eye(2), 0)
%!error id=pistonfield:pistonfield_grid:z pistonfield_grid(0, 0, 'far')
%!error id=pistonfield:pistonfield_grid:origin pistonfield_grid([0 0], eye(3), [1 1 1])
%!error id=pistonfield:pistonfield_grid:steps pistonfield_grid([0 0 0], NaN(3), [1 1 1])
%!error id=pistonfield:pistonfield_grid:sizes pistonfield_grid([0 0 0], eye(3), [1 1 0])
%!error id=pistonfield:pistonfield_grid:sizes pistonfield_grid([0 0 0], eye(3), [1.5 1 1])
%!error id=pistonfield:pistonfield_grid:arguments pistonfield_grid(1)
%!error <the second argument must be 'positions' or 'axes'>
%! pistonfield_grid(pistonfield_grid(0, 0, 0), 'position');
%!error <x, y and z are three arguments> pistonfield_grid(0, 1e-3)
%!error id=pistonfield:pistonfield_grid:grid pistonfield_grid(7, 'axes')
%!error id=pistonfield:pistonfield_grid:axes
%! pistonfield_grid(pistonfield_grid([0 0 0], [1 1 0; 0 1 0; 0 0 1], [2 2 2]), 'axes');
%!error <must not be 0 along a direction> pistonfield_grid([0 0 0], zeros(3), [2 1 1])
