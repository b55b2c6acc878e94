function [p, info] = pistonfield_pressure(piston, grid, varargin)
  % pistonfield_pressure: the complex pressure of a rectangular piston, in Pa.
  %
  % DESCRIPTION
  %   Computes the sound pressure that a flat rectangular piston radiates into a fluid half space at
  %   every point of a regular grid, or at any points. The piston vibrates as one, along its normal,
  %   with the velocity u0 * exp(+j*omega*t), in a rigid baffle. The value q of the module pistonfield
  %   stands for the Rayleigh integral:
  %
  %     p = j*omega*rho*u0 / (2*pi) * integral of exp(-j*k*R) / R over the piston's surface
  %       = j*rho*c*u0 * q,    q = k / (2*pi) * the same integral,
  %
  %   with omega = 2*pi*frequency, k = omega / c and R the distance to the surface element. The
  %   pressure at the time t is real(p * exp(1i*omega*t)).
  %
  %   The tolerance engine computes: it takes as many evaluations for each point as a tolerance needs,
  %   by a bound of the error, near the face and far away. With 'mode' or 'order' the sums of one
  %   order compute, as the module's do.
  %
  %   Long fields are computed in slabs of about a second, so that they show how far they are, can be
  %   interrupted by Ctrl-C and stay within a memory limit. The values are those of one call, bit for
  %   bit. Nothing is printed but the progress.
  %
  % USAGE
  %   p = pistonfield_pressure(piston, grid, 'frequency', f)
  %   p = pistonfield_pressure(piston, points, 'frequency', f)
  %   [p, info] = pistonfield_pressure(piston, grid, 'frequency', f, name, value, ...)
  %
  % INPUTS
  %   piston       - struct with the fields
  %                    width        side along the piston's x [m]
  %                    height       side along the piston's y [m]
  %                    center       optional: the piston's centre [m], 3-vector; default 0, 0, 0
  %                    orientation  optional: 3 by 3 rotation matrix whose columns are the piston's
  %                                 x, its y and its normal; default eye(3)
  %   grid         - the points [m], made by pistonfield_grid; none may lie behind the piston, but
  %                  with 'behind'. In single precision at most 2^24 in a row. Grids along the
  %                  piston's axes take the least time
  %   points       - instead of the grid, any points [m]: an N by 3 matrix whose rows are x, y and z,
  %                  or a struct with the fields x, y and z, arrays of one size, of class double or
  %                  single. None may lie behind the piston, but with 'behind'. The arithmetic's
  %                  precision is that of the option, whatever the class. A list of points has a
  %                  tolerance, and neither a mode nor an order. Lists whose neighbours lie near to
  %                  each other take the least time
  %   'frequency'  - frequency [Hz]
  %
  % OPTIONAL INPUTS (names and values)
  %   'speed'      - speed of sound [m/s]; default 1482, water at 20 degrees Celsius
  %   'density'    - density [kg/m^3]; default 998, water at 20 degrees Celsius
  %   'velocity'   - amplitude u0 of the piston's normal velocity [m/s]; default 1
  %   'power'      - instead of the velocity: the radiated acoustic power, a period's mean [W]. It is
  %                  R * u0^2 / 2 with the piston's radiation resistance R, integrated numerically
  %                  (Burnett and Soroka, J. Acoust. Soc. Am. 51, 1618-1623, 1972).
  %   'tolerance'  - the largest error, above 0 and below 1; default 1e-4. It is kept for pistons
  %                  with sides of 1e-5 to 2000 wavelengths, and others are refused
  %   'relative'   - what the error of a value is relative to: 'largest' (default), the largest |p|
  %                  on the grid or in the list, or 'local', what |p| is on the axis at the point's distance R
  %                  from the piston's centre: far away that of a point source of the same strength,
  %                  omega*rho*u0*A / (2*pi*R) with the piston's area A. R is taken for at least
  %                  sqrt(A)/4, and it is at most rho*c*u0.
  %   'precision'  - of the arithmetic: 'double' (default) or 'single', which keeps tolerances down
  %                  to about 1e-5 on most grids and refuses others
  %   'device'     - what computes: 'cpu' (default) or 'gpu', which keeps the same tolerances. In a
  %                  module that was built without GPUs the CPU stands in for one
  %   'behind'     - true: points behind the piston are asked for. They have the pressure of the
  %                  points mirrored in its plane, which is that of the integral. Default false: a
  %                  grid that reaches there is refused
  %   'mode'       - instead of the last four: the module's mode that computes, with one order on the
  %                  whole grid: 'cpu', 'cpudp', 'cpusp', 'cuda' or 'cudadp'; 'cpu' where there is an
  %                  order alone. pistonfield_order finds the order for the tolerance, which counts
  %                  rounding in the mode. One that the mode cannot keep is refused; if it is the
  %                  default one, there is a warning (pistonfield:rounding), and info.estimate tells
  %                  the error. Far from a piston of few wavelengths only 'cpu' and 'cpudp' are
  %                  accurate.
  %   'order'      - instead of the tolerance: the order of the Gauss-Legendre rule along each edge,
  %                  at most 18000, in the modes of the GPU 512. Rounding above 1e-4 is warned of
  %                  all the same.
  %   'memory'     - the most memory to use [bytes]: 16 for each point of the grid, or 64 of a list,
  %                  and 56 for each of a slab; default Inf. Apart from that go a few MB for
  %                  preparations and for what each call takes, and up to 120 MB with
  %                  'device', 'gpu'.
  %   'threads'    - the most threads to compute with; by default as the environment variable
  %                  PISTONFIELD_THREADS says, or one for each core that the process may use.
  %                  Values do not depend on it. Of a GPU's work they only prepare the points
  %   'progress'   - 'none', 'text', 'waitbar' or 'auto' (default): text once a field takes longer
  %                  than 3 s
  %
  % OUTPUTS
  %   p            - complex pressure amplitude [Pa], an array of the grid's sizes; of a list a column
  %                  for an N by 3 matrix, or an array of the size of x
  %   info         - struct with the fields
  %                    engine      'tolerance engine, double precision', or single; '' with a mode
  %                                or an order; on a GPU '..., double precision on a GPU'
  %                    tolerance   that the engine kept
  %                    bound       no value is further off than this, relative to what the tolerance
  %                                is relative to
  %                    error       the largest error that was measured, at some hundred points
  %                                against a finer evaluation, in the same way
  %                    evaluations of the edges' integrand, at a point on average
  %                    order       the order that was used; NaN with the engine
  %                    estimate    with the engine the error again; in a mode an estimate of the
  %                                error, from a finite order and from rounding, relative to the
  %                                largest |p|; NaN where the order was given
  %                    wavenumber  2*pi*frequency / speed [rad/m]
  %                    velocity    u0 [m/s]
  %                    power       the radiated power [W]
  %                    slabs       the number of slabs
  %                    moved       the number of points exactly over a corner of the piston that
  %                                were computed beside it, as in a mode the edge integrals have no
  %                                value there: nearer to the axis by 1e-12 of its distance (1e-6 in
  %                                'cuda' and 'cpusp'). 0 with the engine
  %                    seconds     the time it took [s]
  %                  Of a mode, tolerance, bound, error and evaluations are NaN.
  %
  % EXAMPLES
  %   % A piston of 7.5 mm by 5 mm that radiates 1 W at 1 MHz into water, in the plane y = 0.
  %   piston = struct('width', 7.5e-3, 'height', 5e-3);
  %   x = (-15:0.3:15) * 1e-3;
  %   z = (0.5:0.5:120) * 1e-3;
  %   [p, info] = pistonfield_pressure(piston, pistonfield_grid(x, 0, z), ...
  %                                    'frequency', 1e6, 'power', 1);
  %   imagesc(z, x, squeeze(abs(p)));
  %
  %   % The same piston turned by 20 degrees about y, 10 mm to the left.
  %   piston.center = [-10e-3, 0, 0];
  %   piston.orientation = [cosd(20) 0 sind(20); 0 1 0; -sind(20) 0 cosd(20)];
  %   p = pistonfield_pressure(piston, pistonfield_grid(x, 0, z + 20e-3), 'frequency', 1e6);
  %
  %   % The pressure on a half sphere of 50 mm around a piston at the origin.
  %   [azimuth, angle] = meshgrid(linspace(0, 2 * pi, 181), linspace(0, pi / 2, 91));
  %   points = struct('x', 0.05 * sin(angle) .* cos(azimuth), ...
  %                   'y', 0.05 * sin(angle) .* sin(azimuth), 'z', 0.05 * cos(angle));
  %   p = pistonfield_pressure(struct('width', 7.5e-3, 'height', 5e-3), points, 'frequency', 1e6);
  %   surf(points.x, points.y, points.z, abs(p));
  %
  % See also: pistonfield_grid, pistonfield_order, pistonfield

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_pressure';
  start = tic();
  require(nargin >= 2, caller, 'arguments', 'give a piston, a grid and the frequency');
  require_module(caller);
  piston = read_piston(caller, piston);
  [points, sizes, shape] = read_place(caller, grid);
  options = read_pressure_options(caller, varargin, struct());
  bytes = bytes_of_field(points, sizes);
  require_memory(caller, sizes, bytes, options.memory);
  place = place_of(caller, piston, points, options);
  points = []; %#ok<NASGU>  % the columns of a list take memory

  k = 2 * pi * options.frequency / options.speed;
  [velocity, power] = velocity_and_power(piston, k, options);
  unit = 1i * options.density * options.speed * velocity;
  info = field_accuracy(caller, place, sizes, piston, k, options);
  if options.byMode
    field = @(place, sizes, varargin) unit * module_field(place, sizes, piston, k, options.mode, ...
                                                          info.order, options.threads, varargin{:});
    box = @(first, count) mode_box(field, place, sizes, options.mode, first, count);
    evaluations = 4 * info.order;
  else
    box = @(first, count) engine_box(unit, place, sizes, piston, k, options, first, count);
    evaluations = info.evaluations;
  end
  [p, slabs, moved] = by_slabs(box, sizes, points_of_slab(bytes, options.memory), ...
                               points_to_begin(evaluations), ...
                               start_progress(caller, options.progress));
  p = reshape(p, shape);
  info.wavenumber = k;
  info.velocity = velocity;
  info.power = power;
  info.slabs = slabs;
  info.moved = moved;
  info.seconds = toc(start);
end

% A grid, or the columns of a list of points; their sizes, and those of the pressure.
function [grid, sizes, shape] = read_place(caller, given)
  require(isstruct(given) || is_point_list(given), caller, 'grid', ...
          ['grid must be a struct made by pistonfield_grid, or a list of points: an N by 3 matrix, ', ...
           'or a struct with x, y and z']);
  if is_point_list(given)
    [grid, shape] = read_points(caller, given);
    sizes = [numel(grid.x), 1, 1];
  else
    require_grid(caller, given);
    grid = given;
    sizes = grid.sizes;
    shape = sizes;
  end
end

% Where the points lie in the piston's frame, when the options can be had there.
function place = place_of(caller, piston, grid, options)
  if is_point_list(grid)
    require(~options.byMode, caller, 'points', ...
            'a list of points goes with a tolerance, without mode and order');
    place = points_before(caller, piston, grid, options.behind);
  else
    require_rows(caller, grid.sizes, options.mode, options.arithmetic);
    place = place_before(caller, piston, grid, options.behind);
  end
end

% What the tolerance engine computes of a box, in Pa.
function [values, moved] = engine_box(unit, place, sizes, piston, k, options, first, count)
  values = unit * engine_field(place, sizes, piston, k, options, first, count);
  moved = 0;
end

% What a mode computes of a box, where the points over a corner have to be moved.
function [values, moved] = mode_box(field, place, sizes, mode, first, count)
  values = field(place, sizes, first, count);
  [lost, found] = corner_values(values, first, field, place, mode);
  values(lost) = found;
  moved = numel(lost);
end

% Bytes for the whole field and its positions, where there are any, in the piston's frame and in the
% module; and for each point of a slab: what the module computes with, its result, Octave's copy, and
% what is made of it.
function bytes = bytes_of_field(grid, sizes)
  bytes = struct('whole', 16 * prod(sizes), 'each', 56);
  if is_point_list(grid)
    bytes.whole = 64 * prod(sizes);
  end
end

function require_memory(caller, sizes, bytes, memory)
  least = bytes.whole + bytes.each;
  require(least <= memory, caller, 'memory', ...
          'a field of %d x %d x %d points needs %s, more than the %s that memory allows', ...
          sizes, bytes_as_text(least), bytes_as_text(memory));
end

% The most points of a slab that the memory limit leaves room for.
function most = points_of_slab(bytes, memory)
  most = max(1, floor((memory - bytes.whole) / bytes.each));
end

% The points of a first slab: 0.1 s on one core, or not much more: a point takes as long as some
% evaluations beside its own.
function points = points_to_begin(evaluations)
  beside = 20;
  points = ceil(1e8 / (evaluations + beside));
end

% In slabs of a second, beside what each call takes, so that progress is shown and Ctrl-C is heeded at
% least that often.
function [p, slabs, moved] = by_slabs(box, sizes, most, points, progress)
  total = prod(sizes);
  if total <= min(most, points)
    [p, moved] = box([0 0 0], sizes);
    slabs = 1;
    return
  end
  call = time_of(@() box([0 0 0], [1 1 1]));
  % complex(zeros(sizes)) would hold 24 bytes a point for a while.
  p = 1i;
  p(sizes(1), sizes(2), sizes(3)) = 0;
  slabs = 0;
  moved = 0;
  done = 0;
  while done < total
    slab = []; %#ok<NASGU>  % the next one needs its memory
    start = tic();
    wanted = max(1, min(most, points));
    [first, count] = next_slab(sizes, done, wanted);
    [slab, beside] = box(first, count);
    n = prod(count);
    if n > wanted / 2  % what is left of a layer or a row tells little
      seconds = max(toc(start) - call, call / 4);  % the difference of two times is not exact
      points = n * min(16, 1 / seconds);
    end
    p(done + (1:n)) = slab;
    done = done + n;
    slabs = slabs + 1;
    moved = moved + beside;
    progress = show_progress(progress, done / total);
  end
end

function seconds = time_of(work)
  start = tic();
  work();
  seconds = toc(start);
end

%!shared piston, grid, call, far, distant
%! piston = struct('width', 3e-3, 'height', 2e-3);
%! grid = pistonfield_grid((-3:3) * 0.7e-3, (-2:3) * 0.9e-3, (1:5) * 1.1e-3);
%! call = @(varargin) pistonfield_pressure(piston, grid, 'frequency', 1e6, varargin{:});
%! far = struct('width', 0.5e-3, 'height', 0.5e-3);
%! distant = pistonfield_grid((-20:20) * 1e-3, 0, (100:5:500) * 1e-3);

%!function p = rayleigh(points, width, height, omega, rho, c, u0)
%!  % The surface integral, at points before a piston that lies in the plane z = 0.
%!  p = zeros(1, columns(points));
%!  for i = 1:numel(p)
%!    at = points(:, i);
%!    r = @(x, y) sqrt((at(1) - x) .^ 2 + (at(2) - y) .^ 2 + at(3) ^ 2);
%!    wave = @(x, y) exp(-1i * omega / c * r(x, y)) ./ r(x, y);
%!    p(i) = 1i * omega * rho * u0 / (2 * pi) * integral2(wave, -width / 2, width / 2, ...
%!           -height / 2, height / 2, 'AbsTol', 1e-13, 'RelTol', 1e-10);
%!  end
%!endfunction

%!test % the pressure is the Rayleigh integral
%! [p, info] = pistonfield_pressure(piston, grid, 'frequency', 0.8e6, 'speed', 1500, ...
%!                                  'density', 900, 'velocity', 0.2, 'tolerance', 1e-9);
%! assert(size(p), [7 6 5]);
%! assert(info.wavenumber, 2 * pi * 0.8e6 / 1500, 1e-9);
%! [x, y, z] = pistonfield_grid(grid, 'positions');
%! some = [1 20 77 134 210];
%! wanted = rayleigh([x(some); y(some); z(some)], 3e-3, 2e-3, 2 * pi * 0.8e6, 900, 1500, 0.2);
%! assert(p(some), wanted, 2e-9 * max(abs(p(:))));

%!test % a moved and turned piston radiates along its normal
%! % Columns: x, y and normal, by rotations about all three axes.
%! turn = [cosd(20) 0 sind(20); 0 1 0; -sind(20) 0 cosd(20)] * ...
%!        [cosd(40) -sind(40) 0; sind(40) cosd(40) 0; 0 0 1] * ...
%!        [1 0 0; 0 cosd(10) -sind(10); 0 sind(10) cosd(10)];
%! own = [0.5 -1 2; 1.2 0.3 -2; 2 3 7] * 1e-3;  % columns: points in the piston's frame
%! center = [4; -5; 6] * 1e-3;
%! turned = piston;  turned.center = center;  turned.orientation = turn;
%! wanted = rayleigh(own, 3e-3, 2e-3, 2 * pi * 1e6, 998, 1482, 1);
%! for i = 1:3
%!   at = center + turn * own(:, i);
%!   p = pistonfield_pressure(turned, pistonfield_grid(at(1), at(2), at(3)), ...
%!                            'frequency', 1e6, 'tolerance', 1e-9);
%!   assert(p, wanted(i), 3e-9 * abs(wanted(i)));
%! end

%!test % far off on the axis the piston is a point: j*omega*rho*u0*area/(2 pi z)*exp(-j*k*z)
%! k = 2 * pi * 1e6 / 1482;  z = 50;
%! p = pistonfield_pressure(piston, pistonfield_grid(0, 0, z), 'frequency', 1e6);
%! % The first term neglected turns the phase by k*(width^2 + height^2)/(24 z), 4.6e-5.
%! assert(p, 1i * 2 * pi * 1e6 * 998 * 6e-6 / (2 * pi * z) * exp(-1i * k * z), 5e-5 * abs(p));

%!test % at low frequencies the pressure amid the face is that of an inert layer of fluid:
%! % j*omega*rho*u0/(2 pi) times the potential of the rectangle, 2*(a*asinh(b/a) + b*asinh(a/b)),
%! % less j*k times its area. The first term neglected is (k*a)^2, 2e-8.
%! p = pistonfield_pressure(piston, pistonfield_grid(0, 0, 0), 'frequency', 10, 'tolerance', 1e-9);
%! potential = 2 * (3e-3 * asinh(2 / 3) + 2e-3 * asinh(3 / 2));
%! wanted = 10i * 998 * (potential - 1i * 2 * pi * 10 / 1482 * 6e-6);
%! assert(p, wanted, 1e-7 * abs(wanted));

%!function error = error_of(p, piston, grid, relative)
%!  % The largest error in water at 1 MHz, at some of the points.
%!  [x, y, z] = pistonfield_grid(grid, 'positions');
%!  some = round(linspace(1, numel(x), 7));
%!  at = [x(some)(:), y(some)(:), z(some)(:)].';
%!  wanted = rayleigh(at, piston.width, piston.height, 2 * pi * 1e6, 998, 1482, 1);
%!  scale = max(abs(p(:)));
%!  if strcmp(relative, 'local')
%!    area = piston.width * piston.height;
%!    scale = min(998 * 1482, 1e6 * 998 * area ./ max(sqrt(sum(at .^ 2, 1)), sqrt(area) / 4));
%!  end
%!  error = max(abs(p(some)(:).' - wanted) ./ scale);
%!endfunction

%!test % a tolerance is kept, relative to the largest |p| or to that of a point source
%! near = pistonfield_grid((-2:2) * 1e-3, (0:2) * 0.5e-3, (0:3) * 0.4e-3);
%! away = pistonfield_grid((-3:3) * 20e-3, 1e-3, (1:4) * 50e-3);
%! for points = {near, away}
%!   for relative = {'largest', 'local'}
%!     for tolerance = [1e-2 1e-4 1e-8]
%!       [p, info] = pistonfield_pressure(piston, points{1}, 'frequency', 1e6, ...
%!                                        'tolerance', tolerance, 'relative', relative{1});
%!       assert(size(p), points{1}.sizes);
%!       assert(error_of(p, piston, points{1}, relative{1}) <= info.bound + 1e-9);
%!       assert(info.error <= info.bound && info.bound <= tolerance);
%!     end
%!     [p, info] = pistonfield_pressure(piston, points{1}, 'frequency', 1e6, 'relative', ...
%!                                      relative{1}, 'precision', 'single');
%!     assert(error_of(p, piston, points{1}, relative{1}) <= info.bound + 1e-9);
%!     assert(info.error <= info.bound && info.bound <= 1e-4);
%!   end
%! end

%!test % a GPU keeps the same tolerances, in either precision and in slabs
%! for precision = {'double', 'single'}
%!   options = {'tolerance', 1e-4, 'relative', 'local', 'precision', precision{1}};
%!   [wanted, cpu] = call(options{:});
%!   [p, gpu] = call(options{:}, 'device', 'gpu');
%!   assert(gpu.engine, ['tolerance engine, ', precision{1}, ' precision on a GPU']);
%!   assert(error_of(p, piston, grid, 'local') <= gpu.bound + 1e-9);
%!   assert(gpu.error <= gpu.bound && gpu.bound == cpu.bound);
%!   assert(gpu.evaluations, cpu.evaluations);
%!   assert(p, wanted, 2e-4 * 998 * 1482);
%!   assert(p, call(options{:}, 'device', 'gpu', 'memory', 16 * numel(p) + 56 * 50));
%! end
%!error id=pistonfield:pistonfield_pressure:tolerance
%! call('device', 'gpu', 'precision', 'single', 'tolerance', 1e-9);

%!test % without options the tolerance engine keeps 1e-4 of the largest |p| in double precision
%! [p, info] = call();
%! assert(isequal(p, call('tolerance', 1e-4, 'relative', 'largest', 'precision', 'double', ...
%!                        'device', 'cpu', 'behind', false)));
%! assert(info.engine, 'tolerance engine, double precision');
%! assert(info.tolerance, 1e-4);
%! assert(isnan(info.order));
%! assert(info.estimate, info.error);
%! assert(info.evaluations >= 4);
%! assert(info.moved, 0);
%! [~, info] = call('precision', 'single', 'tolerance', 1e-3);
%! assert(info.engine, 'tolerance engine, single precision');
%! assert(info.tolerance, 1e-3);

%!test % a smaller tolerance takes more evaluations
%! [~, rough] = call('tolerance', 1e-2);
%! [~, fine] = call('tolerance', 1e-8);
%! assert(rough.evaluations < fine.evaluations);

%!test % far from a small piston single precision keeps its digits, unlike the mode 'cpusp'
%! wavelength = 1482 / 1e6;
%! small = struct('width', wavelength / 2, 'height', wavelength / 2);
%! plane = pistonfield_grid((-6:6) * wavelength / 8, 0, 1000 * wavelength);
%! field = @(varargin) pistonfield_pressure(small, plane, 'frequency', 1e6, varargin{:});
%! error_of_field = @(p) error_of(p, small, plane, 'local');
%! assert(error_of_field(field('mode', 'cpusp', 'order', 16)) > 0.1);
%! assert(error_of_field(field('precision', 'single', 'relative', 'local')) <= 1e-4);
%! assert(error_of_field(field('relative', 'local', 'tolerance', 1e-8)) <= 1.1e-8);

%!test % with a mode or an order nothing is told of the engine
%! for options = {{'mode', 'cpu'}, {'order', 20}, {'mode', 'cpusp', 'tolerance', 1e-3}}
%!   [~, info] = call(options{1}{:});
%!   assert(info.engine, '');
%!   assert([info.tolerance, info.bound, info.error, info.evaluations], NaN(1, 4));
%!   assert(info.order > 1);
%! end
%! [p, info] = call('mode', 'cpu');
%! assert(isequal(p, call('order', info.order)));

%!test % points behind the piston have the value of those mirrored in its plane
%! z = (1:3) * 1e-3;
%! p = pistonfield_pressure(piston, pistonfield_grid(1e-3, 0, z), 'frequency', 1e6);
%! q = pistonfield_pressure(piston, pistonfield_grid(1e-3, 0, -z), 'frequency', 1e6, ...
%!                          'behind', true);
%! assert(q, p, 1e-4 * max(abs(p(:))));

%!test % it is the module's value times j*rho*c*u0 in every mode, bit for bit, turned grids and all
%! state = warning('off', 'pistonfield:rounding');
%! restore = onCleanup(@() warning(state));
%! steps = [9 1 2; -1 8 3; 2 -3 7] / 30000;
%! points = {grid, pistonfield_grid([-1 -2 3] * 1e-3, steps, [7 9 11])};
%! for mode = {'cpu', 'cpudp', 'cpusp', 'cuda', 'cudadp'}
%!   for i = 1:2
%!     [~, q] = evalc(['pistonfield(points{i}.transform, points{i}.sizes, 2e-3, 3e-3, ', ...
%!                     '2*pi*1e6/1482, mode{1}, 24)']);
%!     p = pistonfield_pressure(piston, points{i}, 'frequency', 1e6, 'order', 24, ...
%!                              'velocity', 3, 'mode', mode{1});
%!     assert(isequal(p, 1i * 998 * 1482 * 3 * q), 'mode %s, grid %d', mode{1}, i);
%!   end
%! end

%!function check_slabs(piston, grid, varargin)
%!  % By the mode, or by what else there is among the options.
%!  options = varargin;
%!  if numel(options) == 1
%!    options = {'mode', options{1}, 'order', 12};
%!  end
%!  state = warning('off', 'pistonfield:rounding');
%!  restore = onCleanup(@() warning(state));
%!  field = @(memory) pistonfield_pressure(piston, grid, 'frequency', 1e6, options{:}, ...
%!                                         'memory', memory);
%!  [whole, info] = field(Inf);
%!  assert(info.slabs, 1);
%!  points = prod(grid.sizes);
%!  row = grid.sizes(1);
%!  layer = row * grid.sizes(2);
%!  for most = [2 * layer, layer, 3 * row, max(row - 1, 1), 1] % points of a slab
%!    [p, info] = field(16 * points + 56 * most);
%!    assert(info.slabs >= points / most, '%d slabs', info.slabs);
%!    assert(isequal(p, whole), '%s, %d slabs: off by %g', options{2}, info.slabs, ...
%!           max(abs(p(:) - whole(:))));
%!  end
%!endfunction

%!test % slabs have the same values, bit for bit, in every mode
%! % A third of a millimetre makes every coordinate round.
%! points = {pistonfield_grid((-6:6) / 3000, (-5:6) / 3000, 0.1e-3 + (0:4) / 3000), ...
%!           pistonfield_grid(1 / 3000, (-5:6) / 3000, 0.1e-3 + (0:12) / 3000), ...
%!           pistonfield_grid((-6:6) / 3000, 1 / 3000, 0.1e-3 + (0:11) / 3000)};
%! for mode = {'cpu', 'cpudp', 'cpusp', 'cuda', 'cudadp'}
%!   for i = 1:3
%!     check_slabs(piston, points{i}, mode{1});
%!   end
%! end
%! for precision = {'double', 'single'}
%!   for i = 1:3
%!     check_slabs(piston, points{i}, 'precision', precision{1});
%!     check_slabs(piston, points{i}, 'precision', precision{1}, 'relative', 'local');
%!   end
%! end

%!test % that holds for a piston elsewhere, and for one turned by a right angle
%! points = pistonfield_grid((-2:3) / 3000, (-3:3) / 3000, 0.1 + (0:4) / 3000);
%! turned = piston;
%! turned.center = [-1 / 700, 1 / 300, 0.01];
%! turned.orientation = [0 -1 0; 1 0 0; 0 0 1];
%! for mode = {'cpu', 'cpusp', 'cuda', 'cudadp'}
%!   check_slabs(turned, points, mode{1});
%! end
%! check_slabs(turned, points, 'tolerance', 1e-6);

%!test % and for grids that are turned and sheared
%! points = pistonfield_grid([-1 -2 3] * 1e-3, [9 1 2; -1 8 3; 2 -3 7] / 30000, [7 6 5]);
%! for mode = {'cpu', 'cpudp', 'cpusp', 'cuda', 'cudadp'}
%!   check_slabs(piston, points, mode{1});
%! end
%! check_slabs(piston, points, 'tolerance', 1e-6);

%!test % slabs whose size follows from the time that they take have these values, too
%! points = {pistonfield_grid((1:3) * 1e-3, (1:100) * 1e-4, 1e-3 + (1:200) * 1e-4), ...
%!           pistonfield_grid(2e-3, 7e-4, 1e-3 + (1:60000) * 1e-5)};
%! modes = {'cpu', 'cudadp'};
%! orders = [2000, 512];
%! for i = 1:4
%!   at = points{ceil(i / 2)};
%!   mode = modes{1 + mod(i, 2)};
%!   order = orders(1 + mod(i, 2));
%!   [p, info] = pistonfield_pressure(piston, at, 'frequency', 1e6, 'order', order, ...
%!                                    'mode', mode, 'progress', 'none');
%!   assert(info.slabs >= 2 && info.slabs <= 50, '%d slabs', info.slabs);
%!   [~, q] = evalc(['pistonfield(at.transform, at.sizes, 2e-3, 3e-3, info.wavenumber, ', ...
%!                   'mode, order)']);
%!   assert(isequal(p, 1i * 998 * 1482 * q));
%! end

%!test % those of the tolerance engine have those of one point alone
%! points = pistonfield_grid((1:300) * 1e-4, (1:100) * 1e-4, 1e-3 + (1:200) * 1e-4);
%! options = {'frequency', 1e6, 'tolerance', 1e-6, 'progress', 'none'};
%! [p, info] = pistonfield_pressure(piston, points, options{:});
%! assert(info.slabs >= 2 && info.slabs <= 50, '%d slabs', info.slabs);
%! again = pistonfield_pressure(piston, points, options{:}, 'threads', 1, ...
%!                              'memory', 16 * numel(p) + 56 * 1e5);
%! assert(isequal(p, again));

%!test % at a list of points the pressure is the Rayleigh integral, in the shape of the list
%! at = [0.5 -1 2 0 1.5; 1.2 0.3 -2 0 1; 2 3 7 0 0.5] * 1e-3;
%! wanted = rayleigh(at(:, [1 2 3 5]), 3e-3, 2e-3, 2 * pi * 1e6, 998, 1482, 1).';
%! field = @(points, varargin) pistonfield_pressure(piston, points, 'frequency', 1e6, ...
%!                                                  'tolerance', 1e-8, varargin{:});
%! for relative = {'largest', 'local'}
%!   [p, info] = field(at.', 'relative', relative{1});
%!   assert(size(p), [5 1]);
%!   assert(p([1 2 3 5]), wanted, 2e-8 * max(abs(p)));
%!   assert(info.engine, 'tolerance engine, double precision');
%!   assert(info.error <= info.bound && info.bound <= 1e-8);
%!   assert(info.evaluations >= 4 && info.slabs == 1 && info.moved == 0 && isnan(info.order));
%! end
%! p = field(at.');
%! for shape = {[5 1], [1 5], [1 1 5]}
%!   x = reshape(at(1, :), shape{1});  y = reshape(at(2, :), shape{1});
%!   z = reshape(at(3, :), shape{1});
%!   q = field(struct('x', x, 'y', y, 'z', z));
%!   assert(size(q), shape{1});
%!   assert(isequal(q(:), p));
%! end
%! assert(field(at(:, 3).'), p(3), 2e-8 * abs(p(3)));
%! assert(isequal(field(sparse(at.')), p));

%!test % surfaces keep the shape of their arrays; a list has the pressure of a grid's points
%! [x, y, z] = pistonfield_grid(grid, 'positions');
%! for precision = {'double', 'single'}
%!   p = call('precision', precision{1});
%!   q = pistonfield_pressure(piston, struct('x', x, 'y', y, 'z', z), 'frequency', 1e6, ...
%!                            'precision', precision{1});
%!   assert(size(q), [7 6 5]);
%!   assert(q, p, 2e-4 * max(abs(p(:))));
%! end

%!test % a list's points lie before a moved and turned piston as a grid's do
%! turned = piston;
%! turned.center = [-1 / 700, 1 / 300, 0.01];
%! turned.orientation = [cosd(20) 0 sind(20); 0 1 0; -sind(20) 0 cosd(20)] * ...
%!                      [cosd(40) -sind(40) 0; sind(40) cosd(40) 0; 0 0 1];
%! plane = pistonfield_grid((-2:3) * 1e-3, (-3:3) * 1e-3, 0.05 + (0:4) * 1e-3);
%! [x, y, z] = pistonfield_grid(plane, 'positions');
%! options = {'frequency', 1e6, 'tolerance', 1e-9};
%! p = pistonfield_pressure(turned, plane, options{:});
%! assert(pistonfield_pressure(turned, struct('x', x, 'y', y, 'z', z), options{:}), p, ...
%!        2e-9 * max(abs(p(:))));
%! % Points of the piston's own plane are behind it by rounding at most.
%! [u, v] = ndgrid((-3:3) * 1e-3);
%! face = turned.center + [u(:), v(:)] * turned.orientation(:, 1:2).';
%! own = pistonfield_pressure(piston, [u(:), v(:), 0 * u(:)], options{:});
%! assert(pistonfield_pressure(turned, face, options{:}), own, 1e-8 * max(abs(own)));

%!test % a grid is one whatever else is noted in its struct
%! noted = grid;
%! noted.x = 'along the rail';
%! assert(isequal(pistonfield_pressure(piston, noted, 'frequency', 1e6), call()));

%!test % positions in single precision are taken as the numbers that they are
%! at = single([0.5 1.2 2; -1 0.3 3] * 1e-3);
%! p = pistonfield_pressure(piston, at, 'frequency', 1e6);
%! assert(class(p), 'double');
%! assert(isequal(p, pistonfield_pressure(piston, double(at), 'frequency', 1e6)));

%!test % the values of a list do not depend on its slabs
%! t = (1:2000).' * 2e-3;
%! spiral = [cos(7 * t), sin(7 * t), 2 + t] .* (1 + t) * 1e-3;
%! for precision = {'double', 'single'}
%!   for relative = {'largest', 'local'}
%!     field = @(varargin) pistonfield_pressure(piston, spiral, 'frequency', 1e6, 'precision', ...
%!                                              precision{1}, 'relative', relative{1}, varargin{:});
%!     whole = field();
%!     for most = [1000, 333, 37]
%!       [p, info] = field('memory', (64 * 2000) + 56 * most, 'threads', 1);
%!       assert(info.slabs >= 2000 / most, '%d slabs', info.slabs);
%!       assert(isequal(p, whole));
%!     end
%!   end
%! end

%!test % so it is in slabs whose size follows from the time that they take
%! z = (1:2e6).' * 1e-8;
%! points = [2e-3 + 0 * z, 3e-3 + 0 * z, z];
%! options = {'frequency', 20e6, 'tolerance', 1e-10, 'progress', 'none', 'threads', 1};
%! [p, info] = pistonfield_pressure(piston, points, options{:});
%! assert(info.slabs >= 2 && info.slabs <= 50, '%d slabs', info.slabs);
%! [again, other] = pistonfield_pressure(piston, points, options{:}, 'memory', 64 * 2e6 + 56 * 1e5);
%! assert(other.slabs > info.slabs);
%! assert(isequal(again, p));

%!test % points of a list behind the piston have the value of those mirrored in its plane
%! at = [1 0 1; 1 0 2; 1 0 3] * 1e-3;
%! p = pistonfield_pressure(piston, at, 'frequency', 1e6);
%! q = pistonfield_pressure(piston, at .* [1 1 -1], 'frequency', 1e6, 'behind', true);
%! assert(isequal(q, p));

%!error <pressure: point 2, \(0.001, 0, -0.002\) m, lies 0.002 m behind the plane of the piston, wher>
%! pistonfield_pressure(piston, [1 0 1; 1 0 -2; 1 0 -3] * 1e-3, 'frequency', 1e6);
%!error id=pistonfield:pistonfield_pressure:behind
%! pistonfield_pressure(piston, [1 0 -1e-9], 'frequency', 1e6);

%!function refuse_points(points, pattern)
%!  plate = struct('width', 3e-3, 'height', 2e-3);
%!  try
%!    pistonfield_pressure(plate, points, 'frequency', 1e6);
%!  catch failure
%!    assert(failure.identifier, 'pistonfield:pistonfield_pressure:points');
%!    assert(~isempty(regexp(failure.message, ['^pistonfield_pressure: ', pattern])), ...
%!           failure.message);
%!    return
%!  end
%!  error('not refused');
%!endfunction

%!test % what is no list of points is refused
%! refuse_points([0 0 1; 0 NaN 1], 'the y of point 2 is NaN: positions must be finite$');
%! refuse_points([0 0 1; 0 1 Inf], 'the z of point 2 is Inf: positions must be finite$');
%! refuse_points([0 0 1i], 'points must be real, of class double or single$');
%! refuse_points(int32([0 0 1]), 'points must be real, of class double or single$');
%! refuse_points(zeros(0, 3), 'the list of points is empty$');
%! points = struct('x', [0 1 2], 'y', [0 1 2], 'z', [1 2 3]);
%! wrong = points;  wrong.y = 0;
%! refuse_points(wrong, 'points.x, y and z must be of one size: they are 1 by 3, 1 by 1 and 1 by 3$');
%! wrong.y = [0; 1; 2];
%! refuse_points(wrong, 'points.x, y and z must be of one size: .* 3 by 1 ');
%! refuse_points(rmfield(points, 'z'), 'points.z is missing: a list of points has x, y and z$');
%! wrong = points;  wrong.z = {1, 2, 3};
%! refuse_points(wrong, 'points.z must be real, of class double or single$');
%! wrong = points;  wrong.x = true(1, 3);
%! refuse_points(wrong, 'points.x must be real, of class double or single$');
%! refuse_points([1e30 0 1], 'points: there are points more than 1e9/wavenumber away');

%!error <grid must be a struct made by pistonfield_grid, or a list of points: an N by 3 matrix, or a>
%! pistonfield_pressure(piston, ones(3, 4), 'frequency', 1e6);
%!error id=pistonfield:pistonfield_pressure:grid pistonfield_pressure(piston, [], 'frequency', 1e6)
%!error <pressure: a list of points goes with a tolerance, without mode and order>
%! pistonfield_pressure(piston, [0 0 1e-3], 'frequency', 1e6, 'mode', 'cpu');
%!error id=pistonfield:pistonfield_pressure:points
%! pistonfield_pressure(piston, [0 0 1e-3], 'frequency', 1e6, 'order', 10);
%!error <pressure: a field of 100 x 1 x 1 points needs 6.456 kB, more than the 6.4 kB that memory>
%! pistonfield_pressure(piston, [zeros(100, 2), ones(100, 1)], 'frequency', 1e6, 'memory', 6400);

%!test % a grid with more points across than the module's launch has room for
%! points = pistonfield_grid(0, (-399:400) * 1e-5, (1:700) * 1e-5);
%! [p, info] = pistonfield_pressure(piston, points, 'frequency', 1e6, 'order', 2, 'mode', 'cudadp');
%! assert(info.slabs, 1);
%! assert(size(p), [1 800 700]);

%!error <the grid has 16777217 points in a row, more than the 16777216 of the mode cuda>
%! line = pistonfield_grid([0 0 0], 1e-9 * eye(3), [1 1 2 ^ 24 + 1]);
%! pistonfield_pressure(piston, line, 'frequency', 1e6, 'mode', 'cuda');
%!error <the grid has 16777217 points in a row, more than the 16777216 of single precision>
%! line = pistonfield_grid([0 0 0], 1e-9 * eye(3), [1 1 2 ^ 24 + 1]);
%! pistonfield_pressure(piston, line, 'frequency', 1e6, 'precision', 'single');

%!test % nothing is printed on the console
%! printed = evalc("call(); call('mode', 'cuda'); call('order', 4, 'mode', 'cudadp');");
%! assert(printed, '');

%!test % a point over a corner has the pressure of the points around it
%! points = pistonfield_grid([-1.5 1.5] * 1e-3, [-1 1] * 1e-3, (0:2) * 1e-3);
%! for mode = {'cpu', 'cpusp', 'cuda', 'cudadp'}
%!   [p, info] = pistonfield_pressure(piston, points, 'frequency', 1e6, 'mode', mode{1}, ...
%!                                    'order', 100);
%!   assert(info.moved >= 9);
%!   wanted = rayleigh([1.5e-3; 1e-3; 2e-3], 3e-3, 2e-3, 2 * pi * 1e6, 998, 1482, 1);
%!   assert(p(:, :, 3), wanted * ones(2), 1e-4 * abs(wanted));
%!   assert(p(:, :, 1), p(1, 1, 1) * ones(2), 1e-4 * abs(p(1, 1, 1)));
%! end

%!test % the tolerance engine moves none
%! points = pistonfield_grid([-1.5 1.5] * 1e-3, [-1 1] * 1e-3, (0:2) * 1e-3);
%! beside = pistonfield_grid([-1.5 1.5] * (1 - 1e-9) * 1e-3, [-1 1] * 1e-3, (0:2) * 1e-3);
%! for precision = {'double', 'single'}
%!   field = @(grid) pistonfield_pressure(piston, grid, 'frequency', 1e6, ...
%!                                        'precision', precision{1});
%!   [p, info] = field(points);
%!   assert(info.moved, 0);
%!   wanted = rayleigh([1.5e-3; 1e-3; 2e-3], 3e-3, 2e-3, 2 * pi * 1e6, 998, 1482, 1);
%!   assert(p(:, :, 3), wanted * ones(2), 1e-4 * max(abs(p(:))));
%!   assert(p, field(beside), 2e-4 * max(abs(p(:))));
%! end

%!test % also in slabs
%! points = pistonfield_grid((-3:3) * 0.5e-3, (-2:2) * 0.5e-3, (1:9) / 3000);
%! for mode = {'cpu', 'cpusp', 'cuda', 'cudadp'}
%!   check_slabs(piston, points, mode{1});
%! end
%! check_slabs(piston, points, 'precision', 'double');

%!test % several points over corners in a row along the grid's second direction
%! points = pistonfield_grid(1.5e-3, [-1e-3, 1e-3], 1e-3);
%! [p, info] = pistonfield_pressure(piston, points, 'frequency', 1e6, 'mode', 'cpu');
%! assert(info.moved, 2);
%! wanted = rayleigh([1.5e-3; 1e-3; 1e-3], 3e-3, 2e-3, 2 * pi * 1e6, 998, 1482, 1);
%! assert(p, [wanted, wanted], 2e-4 * abs(wanted));

%!test % the power given is what the far field carries away: |p|^2/(2 rho c) over a half sphere
%! [~, info] = call('power', 2);
%! assert(info.power, 2, 1e-12);
%! k = info.wavenumber;
%! sinc1 = @(a) sin(a + (a == 0)) ./ (a + (a == 0)) .* (a ~= 0) + (a == 0);
%! pattern = @(t, f) sinc1(k * 1.5e-3 * sin(t) .* cos(f)) .* sinc1(k * 1e-3 * sin(t) .* sin(f));
%! source = 998 * 1482 * k * info.velocity * 6e-6 / (2 * pi);
%! carried = integral2(@(t, f) (source * pattern(t, f)) .^ 2 .* sin(t), 0, pi / 2, 0, 2 * pi, ...
%!                     'AbsTol', 1e-9, 'RelTol', 1e-9) / (2 * 998 * 1482);
%! assert(carried, 2, 1e-7);

%!test % the power of a large piston is that of a plane wave, of a small one that of a point
%! point = pistonfield_grid(0, 0, 1);
%! [~, info] = pistonfield_pressure(struct('width', 0.2, 'height', 0.3), point, ...
%!                                  'frequency', 1e6, 'order', 200);
%! assert(info.power, 998 * 1482 * 0.06 / 2, 0.01 * info.power);
%! [~, info] = pistonfield_pressure(piston, point, 'frequency', 100);
%! assert(info.power, 998 * 1482 * (info.wavenumber * 6e-6) ^ 2 / (4 * pi), 1e-6 * info.power);

%!function r = resistance(a, b, k)
%!  % Over the distances along both sides, by panels of half a wavelength with 12 nodes.
%!  n = 1:11;
%!  beside = n ./ sqrt(4 * n .^ 2 - 1);
%!  [vectors, values] = eig(diag(beside, 1) + diag(beside, -1));
%!  count = ceil([a, b] * k / pi);
%!  u = a / count(1) * ((diag(values) + 1) / 2 + (0:count(1) - 1));
%!  v = b / count(2) * ((diag(values) + 1) / 2 + (0:count(2) - 1));
%!  w = vectors(1, :)' .^ 2;
%!  r = sqrt(u(:) .^ 2 + v(:)' .^ 2);
%!  wu = repmat(w, count(1), 1) .* (a - u(:)) * a / count(1);
%!  wv = repmat(w, count(2), 1) .* (b - v(:)) * b / count(2);
%!  r = 2 * k / pi * wu' * (sin(k * r) ./ r) * wv;
%!endfunction

%!test % the power of pistons of any size is the integral over distances on the piston
%! sides = [3 2; 30 20; 1 40; 0.001 40; 0.02 40; 40 0.03; 60 0.1; 22.2 22.2; 14.1 10] * 1e-3;
%! for i = 1:rows(sides)
%!   plate = struct('width', sides(i, 1), 'height', sides(i, 2));
%!   [~, info] = pistonfield_pressure(plate, pistonfield_grid(0, 0, 1), 'frequency', 1e6, ...
%!                                    'order', 4);
%!   wanted = 998 * 1482 / 2 * resistance(sides(i, 1), sides(i, 2), info.wavenumber);
%!   assert(info.power, wanted, 1e-12 * wanted);
%! end

%!test % the power of a piston of 1700 wavelengths takes no time
%! start = tic();
%! [~, info] = pistonfield_pressure(struct('width', 0.5, 'height', 0.5), ...
%!                                  pistonfield_grid(0, 0, 1), 'frequency', 5e6, 'order', 4);
%! assert(toc(start) < 2);
%! assert(info.power, 998 * 1482 * 0.25 / 2, 1e-3 * info.power);

%!test % nor does that of one of a million wavelengths; it is that of a plane wave
%! start = tic();
%! warning('off', 'pistonfield:units', 'local');
%! [~, info] = pistonfield_pressure(struct('width', 15e-3, 'height', 12e-3), ...
%!                                  pistonfield_grid(0, 0, 1), 'frequency', 1e11, 'order', 4);
%! assert(toc(start) < 2);
%! assert(info.power, 998 * 1482 * 180e-6 / 2, 1e-8 * info.power);

%!test % in a mode the tolerance decides on the order
%! [~, rough] = call('mode', 'cpu', 'tolerance', 1e-2);
%! [~, fine] = call('mode', 'cpu', 'tolerance', 1e-8);
%! assert(rough.order < fine.order && fine.estimate <= 1e-8);
%! [~, info] = call('order', 7);
%! assert(info.order == 7 && isnan(info.estimate));

%!test % the estimate counts the rounding of the mode
%! field = @(mode) pistonfield_pressure(far, distant, 'frequency', 1.5e6, 'mode', mode);
%! state = warning('off', 'pistonfield:rounding');
%! restore = onCleanup(@() warning(state));
%! [exact, info] = field('cpu');
%! assert(info.estimate <= 1e-4);
%! [x, y, z] = pistonfield_grid(distant, 'positions');
%! some = 1:99:numel(x);
%! wanted = rayleigh([x(some); y(some); z(some)], 0.5e-3, 0.5e-3, 2 * pi * 1.5e6, 998, 1482, 1);
%! assert(exact(some), wanted, 2e-6 * max(abs(wanted)));
%! for mode = {'cpusp', 'cuda', 'cudadp'}
%!   [p, info] = field(mode{1});
%!   off = max(abs(p(:) - exact(:))) / max(abs(exact(:)));
%!   assert(off > 0.05 && info.estimate >= off && info.estimate < 1.01 * off);
%! end

%!test % of a large grid it covers the points between the samples
%! large = pistonfield_grid((-20:0.1:20) * 1e-3, 0, (100:500) * 1e-3);
%! state = warning('off', 'pistonfield:rounding');
%! restore = onCleanup(@() warning(state));
%! exact = pistonfield_pressure(far, large, 'frequency', 1.5e6);
%! for mode = {'cpusp', 'cuda', 'cudadp'}
%!   [p, info] = pistonfield_pressure(far, large, 'frequency', 1.5e6, 'mode', mode{1});
%!   off = max(abs(p(:) - exact(:))) / max(abs(exact(:)));
%!   assert(info.estimate >= off && info.estimate < 5 * off);
%! end

%!test % a tolerance that the mode keeps is kept, rounding and all
%! for mode = {'cpusp', 'cuda', 'cudadp'}
%!   [p, info] = call('mode', mode{1}, 'tolerance', 1e-5);
%!   exact = call('tolerance', 1e-10);
%!   off = max(abs(p(:) - exact(:))) / max(abs(exact(:)));
%!   assert(off <= info.estimate + 1e-10 && info.estimate <= 1e-5);
%! end

%!error <pressure: rounding in the mode cuda leaves .* than the tolerance 1e-09; the mode cpu keeps>
%! call('mode', 'cuda', 'tolerance', 1e-9);
%!error id=pistonfield:pistonfield_pressure:tolerance call('mode', 'cudadp', 'tolerance', 1e-9)
%!error id=pistonfield:pistonfield_pressure:tolerance call('mode', 'cpusp', 'tolerance', 1e-9)
%!error <pressure: no order reaches the tolerance 1e-18> call('mode', 'cpu', 'tolerance', 1e-18)
%!error <pressure: tolerance: > call('tolerance', 1e-18)
%!error id=pistonfield:pistonfield_pressure:tolerance call('tolerance', 1e-18)
%!error id=pistonfield:pistonfield_pressure:tolerance
%! call('precision', 'single', 'tolerance', 1e-9);
%!error <pressure: tolerance must be below 1> call('tolerance', 2)
%!warning <rounding in the mode cudadp leaves an error of about 0.\d+ .* the mode cpu keeps it>
%! pistonfield_pressure(far, distant, 'frequency', 1.5e6, 'mode', 'cudadp');
%!warning <rounding in the mode cuda leaves an error of about 0.0\d+ on this grid; the mode cpu>
%! pistonfield_pressure(far, distant, 'frequency', 1.5e6, 'mode', 'cuda', 'order', 8);
%!warning <measures 8097.17 by 3.37382 wavelengths, more than orders up to 4096 can do; lengths are>
%! pistonfield_pressure(struct('width', 12, 'height', 5e-3), pistonfield_grid(0, 0, 1), ...
%!                      'frequency', 1e6, 'order', 10);

%!test % no warning where there is nothing to warn of
%! lastwarn('');
%! call('mode', 'cuda');  call('mode', 'cuda', 'order', 16);  call('order', 16);  call();
%! call('precision', 'single');
%! assert(lastwarn(), '');

%!test % an option that is empty by default may be given as empty
%! assert(isequal(call('order', 7, 'tolerance', [], 'velocity', []), call('order', 7)));
%! assert(isequal(call('order', 7, 'precision', [], 'device', '', 'mode', ''), call('order', 7)));

%!test % the number of threads changes no value and lasts for the call
%! name = 'PISTONFIELD_THREADS';
%! before = getenv(name);
%! restore = onCleanup(@() setenv(name, before));
%! points = pistonfield_grid((1:40) * 1e-4, (1:30) * 1e-4, (1:20) * 1e-4);
%! field = @(mode, varargin) pistonfield_pressure(piston, points, 'frequency', 1e6, ...
%!                                                'mode', mode, 'order', 100, varargin{:});
%! for mode = {'cpu', 'cpusp', 'cuda'}
%!   setenv(name, '2');
%!   two = field(mode{1});
%!   setenv(name, 'none');
%!   fail("field(mode{1})", "PISTONFIELD_THREADS: 'none' is no whole number from 1 to 1024");
%!   for threads = [1 3]
%!     assert(isequal(field(mode{1}, 'threads', threads), two));
%!     assert(getenv(name), 'none');
%!   end
%! end

%!test % progress is printed for slabs when asked for, and not for a short field by itself
%! memory = 16 * 210 + 56 * 42;
%! quiet = evalc("call('memory', memory);");
%! assert(quiet, '');
%! shown = evalc("call('memory', memory, 'progress', 'text');");
%! assert(~isempty(regexp(shown, 'pistonfield_pressure: 100 %, \d+ s, 0 s left\n$')));

%!error id=pistonfield:pistonfield_pressure:arguments pistonfield_pressure(struct())
%!error id=pistonfield:pistonfield_pressure:piston pistonfield_pressure(3, grid, 'frequency', 1)
%!error <piston.width must be a length>
%! pistonfield_pressure(struct('width', 0, 'height', 1), grid, 'frequency', 1);
%!error <piston.centre is no field of a piston>
%! wrong = piston;  wrong.centre = [0 0 0];  pistonfield_pressure(wrong, grid, 'frequency', 1);
%!error <piston.center must be three>
%! wrong = piston;  wrong.center = [0 0];  pistonfield_pressure(wrong, grid, 'frequency', 1);
%!error <piston.orientation must be a 3 by 3 rotation>
%! wrong = piston;  wrong.orientation = -eye(3);  pistonfield_pressure(wrong, grid, 'frequency', 1);
%!error <piston.orientation must be a 3 by 3 rotation>
%! wrong = piston;  wrong.orientation = {1};  pistonfield_pressure(wrong, grid, 'frequency', 1);
%!error id=pistonfield:pistonfield_pressure:grid pistonfield_pressure(piston, 3, 'frequency', 1)
%!error <the grid reaches 0.004 m behind>
%! pistonfield_pressure(piston, pistonfield_grid(0, 0, (-4:3) * 1e-3), 'frequency', 1);
%!error <frequency is missing> pistonfield_pressure(piston, grid)
%!error id=pistonfield:pistonfield_pressure:frequency call('frequency', -1)
%!error id=pistonfield:pistonfield_pressure:speed call('speed', 'fast')
%!error id=pistonfield:pistonfield_pressure:speed call('speed', {})
%!error id=pistonfield:pistonfield_pressure:density call('density', NaN)
%!error id=pistonfield:pistonfield_pressure:density call('density', [])
%!error id=pistonfield:pistonfield_pressure:velocity call('velocity', [1 2])
%!error <give velocity or power, not both> call('velocity', 1, 'power', 1)
%!error <give tolerance or order, not both> call('tolerance', 1e-3, 'order', 10)
%!error <order must be a whole number> call('order', 10.5)
%!error <an order of 513 is more than the 512 of the mode cuda> call('order', 513, 'mode', 'cuda')
%!error <order must be at most 18000> call('order', 18001)
%!error <mode must be one of: cpu, cpudp> call('mode', 'gpu')
%!error <relative must be one of: largest, local> call('relative', 'far')
%!error <precision must be one of: double, single> call('precision', 'half')
%!error <device must be one of: cpu, gpu> call('device', 'cuda')
%!error id=pistonfield:pistonfield_pressure:device call('device', 'cuda')
%!error <behind must be true or false> call('behind', 'yes')
%!error <precision goes with a tolerance, without mode and> call('precision', 'single', 'order', 9)
%!error <device goes with a tolerance, without mode and order> call('device', 'cpu', 'mode', 'cpu')
%!error <relative goes with a tolerance, without> call('relative', 'local', 'mode', 'cpu')
%!error <behind goes with a tolerance, without mode> call('behind', true, 'order', 9)
%!error <threads must be a whole number from 1 to 1024> call('threads', 1.5)
%!error <threads must be a whole number from 1 to 1024> call('threads', 0)
%!error <threads must be a whole number from 1 to 1024> call('threads', 'all')
%!error <threads must be a whole number from 1 to 1024> call('threads', 1025)
%!error <progress must be one of: none> call('progress', 'loud')
%!error <needs 3.416 kB, more than the 3.4 kB that memory allows> call('memory', 3400)
%!error <needs 3.416 kB, more> call('memory', 3400, 'tolerance', 1e-30)
%!error <'colour' is no option; there are: frequency, speed> call('colour', 1)
%!error <options come in pairs> call('order')
%!warning <measures 1.2\d*e-05 wavelengths>
%! piston = struct('width', 7.5e-3, 'height', 5e-3);
%! pistonfield_pressure(piston, pistonfield_grid(0, 0, 1), 'frequency', 2.5, 'order', 4);
%!warning <measures 2.5\d*e-05 wavelengths>
%! piston = struct('width', 7.5e-3, 'height', 5e-3);
%! pistonfield_pressure(piston, pistonfield_grid(0, 0, 1), 'frequency', 5);
%!error <piston.width: 8097.17 wavelengths are not within .* a tolerance is kept; lengths are in m,>
%! pistonfield_pressure(struct('width', 12, 'height', 5e-3), pistonfield_grid(0, 0, 1), ...
%!                      'frequency', 1e6);
%!error id=pistonfield:pistonfield_pressure:piston
%! pistonfield_pressure(struct('width', 12, 'height', 5e-3), pistonfield_grid(0, 0, 1), ...
%!                      'frequency', 1e6);
