function [p, info] = pistonfield_pressure(piston, grid, varargin)
  % pistonfield_pressure: the complex pressure of a piston or of an array of them, in Pa.
  %
  % DESCRIPTION
  %   Computes the sound pressure that a flat piston radiates into a fluid half space, a rectangle or
  %   another shape, at every point of a regular grid, or at any points. The piston vibrates as one,
  %   along its normal, with the velocity u0 * exp(+j*omega*t), in a rigid baffle. The value q of the
  %   module pistonfield stands for the Rayleigh integral:
  %
  %     p = j*omega*rho*u0 / (2*pi) * integral of exp(-j*k*R) / R over the piston's surface
  %       = j*rho*c*u0 * q,    q = k / (2*pi) * the same integral,
  %
  %   with omega = 2*pi*frequency, k = omega / c and R the distance to the surface element. The
  %   pressure at the time t is real(p * exp(1i*omega*t)).
  %
  %   In a medium with losses a, in Np/m, k is k - j*a in the exponent, and the face moves with u0 all
  %   the same. Other baffles, losses and other shapes than rectangles are computed by integrals along
  %   the piston's outline.
  %
  %   The field of an array is the sum over its elements, each in an infinite rigid baffle of its own
  %   plane, times the element's complex weight. Several columns of weights have a field each, for
  %   little more time than one.
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
  %   p = pistonfield_pressure(array, grid, 'frequency', f, 'weights', w)
  %   [p, info] = pistonfield_pressure(piston, grid, 'frequency', f, name, value, ...)
  %
  % INPUTS
  %   piston       - struct with the fields
  %                    width        side along the piston's x [m]
  %                    height       side along the piston's y [m]
  %                    center       optional: the piston's centre [m], 3-vector; default 0, 0, 0
  %                    orientation  optional: 3 by 3 rotation matrix whose columns are the piston's
  %                                 x, its y and its normal; default eye(3)
  %                  or one of another shape, made by pistonfield_piston
  %   array        - instead of the piston, an array of N of them: what pistonfield_array makes, or a
  %                  struct with the fields
  %                    width, height  sides, one for all elements or N numbers [m]; or outlines
  %                                   and outline as pistonfield_array makes them
  %                    center         3 by N: the elements' centres [m]
  %                    orientation    3 by 3 by N: rotations as that of a piston
  %                    kind           a text that names the array, and description, a struct of what
  %                                   it was made from; neither changes the field. An array of one
  %                                   element needs kind
  %   grid         - the points [m], made by pistonfield_grid; none may lie behind the piston or an
  %                  element, but with 'behind'. In single precision at most 2^24 in a row. Grids along
  %                  the piston's axes take the least time
  %   points       - instead of the grid, any points [m]: an N by 3 matrix whose rows are x, y and z,
  %                  or a struct with the fields x, y and z, arrays of one size, of class double or
  %                  single. None may lie behind the piston, but with 'behind'. The arithmetic's
  %                  precision is that of the option, whatever the class. A list of points has a
  %                  tolerance, and neither a mode nor an order. Lists whose neighbours lie near to
  %                  each other take the least time
  %   'frequency'  - frequency [Hz]; several in a row have a field each, one after the other
  %
  % OPTIONAL INPUTS (names and values)
  %   'speed'      - speed of sound [m/s]; default 1482, water at 20 degrees Celsius
  %   'density'    - density [kg/m^3]; default 998, water at 20 degrees Celsius
  %   'attenuation' - of the medium [dB/(cm MHz^y)]; default 0. Water has 0.0022 at y = 2, soft tissue
  %                  about 0.5 at y = 1. Its values are exp(-a*R) further off, with a in Np/m at the
  %                  frequency: 1 Np is 8.69 dB
  %   'exponent'   - y, with which the attenuation grows as a power of the frequency, from 0 to below
  %                  3; default 1
  %   'nepers'     - instead of the attenuation: a itself, at the frequency [Np/m]
  %   'dispersion' - true: the phase speed depends on the frequency as losses a0*omega^y demand, since
  %                  no wave may arrive before it was sent: 1/c = 1/speed + a0*tan(pi*y/2) *
  %                  (omega^(y-1) - omega0^(y-1)), or for y = 1 1/speed - 2/pi*a0*log(omega/omega0)
  %                  (Szabo, J. Acoust. Soc. Am. 96, 491-500, 1994, and 97, 14-24, 1995; Waters et al.,
  %                  IEEE Trans. UFFC 50, 68-76, 2003). Default false: it is the speed
  %   'dispersionfrequency' - where the phase speed is the speed, omega0 / (2*pi) [Hz]; default 1e6
  %   'baffle'     - the plane about the piston, or about each element: 'rigid' (default) moves
  %                  nowhere; 'soft' has no pressure, and the piston's face has rho*c*u0, the field
  %                  being that of a double layer, with a factor of cos(theta) far away; 'free' stands
  %                  for none, by the half of both, (1 + cos(theta)) / 2 far away: for a piston at the
  %                  end of a housing about as large. These, losses and other shapes go with a
  %                  tolerance, without mode and order, in double precision on the CPU
  %   'weights'    - of an array, N by M: the elements' complex amplitudes for each of M fields, in
  %                  units of the velocity; default 1 for all. pistonfield_focus makes them
  %   'velocity'   - amplitude u0 of the piston's normal velocity [m/s]; default 1. That of an
  %                  element is its weight times u0
  %   'power'      - instead of the velocity: the radiated acoustic power, a period's mean [W]. It is
  %                  R * u0^2 / 2 with the piston's radiation resistance R, integrated numerically
  %                  (Burnett and Soroka, J. Acoust. Soc. Am. 51, 1618-1623, 1972). That of
  %                  an array, with its weights, is found at the faces of elements in one plane, which
  %                  are each other's baffle, and far away of others; this may take seconds. So is
  %                  that of other shapes and before a soft baffle; without one it is what arrives far
  %                  away in the half space before the piston. With losses it is what leaves the
  %                  faces, of elements in one plane in a rigid baffle; others are refused
  %   'tolerance'  - the largest error, above 0 and below 1; default 1e-4. It is kept for pistons
  %                  with sides of 1e-5 to 2000 wavelengths, and others are refused
  %   'relative'   - what the error of a value is relative to: 'largest' (default), the largest |p|
  %                  on the grid or in the list, or 'local', what |p| is on the axis at the point's distance R
  %                  from the piston's centre: far away that of a point source of the same strength,
  %                  omega*rho*u0*A / (2*pi*R) with the piston's area A. R is taken for at least
  %                  sqrt(A)/4, and it is at most rho*c*u0. Of an array it is the largest |p| of each
  %                  field, or the sum over the elements, each times its |weight|
  %   'precision'  - of the arithmetic: 'double' (default) or 'single', which keeps tolerances down
  %                  to about 1e-5 on most grids and refuses others
  %   'device'     - what computes: 'cpu' (default) or 'gpu', which keeps the same tolerances. In a
  %                  module that was built without GPUs the CPU stands in for one
  %   'behind'     - true: points behind the piston are asked for. They have the pressure of the
  %                  points mirrored in its plane, which is that of the integral. Default false: a
  %                  grid that reaches there is refused
  %   'mode'       - of a piston, instead of the last four: the module's mode that computes, with one
  %                  order on the whole grid: 'cpu', 'cpudp', 'cpusp', 'cuda' or 'cudadp'; 'cpu'
  %                  where there is an order alone. pistonfield_order finds the order for the tolerance, which counts
  %                  rounding in the mode. One that the mode cannot keep is refused; if it is the
  %                  default one, there is a warning (pistonfield:rounding), and info.estimate tells
  %                  the error. Far from a piston of few wavelengths only 'cpu' and 'cpudp' are
  %                  accurate.
  %   'order'      - instead of the tolerance: the order of the Gauss-Legendre rule along each edge,
  %                  at most 18000, in the modes of the GPU 512. Rounding above 1e-4 is warned of
  %                  all the same.
  %   'memory'     - the most memory to use [bytes]: 16 for each point of the grid, or 64 of a list,
  %                  and 56 for each of a slab, in the modes of the GPU 72; default Inf. Several fields need 16
  %                  and 56 each. Apart
  %                  from that go a few MB for preparations and for what each call takes, and up to
  %                  120 MB with 'device', 'gpu', of an array 250 MB and more for many elements.
  %   'threads'    - the most threads to compute with; by default as the environment variable
  %                  PISTONFIELD_THREADS says, or one for each core that the process may use.
  %                  Values do not depend on it. Of a GPU's work they only prepare the points
  %   'progress'   - 'none', 'text', 'waitbar' or 'auto' (default): text once a field takes longer
  %                  than 3 s
  %
  % OUTPUTS
  %   p            - complex pressure amplitude [Pa], an array of the grid's sizes; of a list a column
  %                  for an N by 3 matrix, or an array of the size of x. Several columns of weights add
  %                  a last dimension, and several frequencies another one
  %   info         - struct with the fields, one for each of several frequencies
  %                    engine      'tolerance engine, double precision', or single; '' with a mode
  %                                or an order; on a GPU '..., double precision on a GPU'. Of an
  %                                array 'sum over the elements, ...', or 'convolution over the
  %                                elements'' lattice, ...'; with losses, other baffles or other shapes
  %                                'integrals along the outlines, double precision'
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
  %                    wavenumber  2*pi*frequency / speed [rad/m], with dispersion that of the
  %                                phase speed
  %                    velocity    u0 [m/s]
  %                    power       the radiated power [W]; NaN unless it was given of an array, with
  %                                losses, another baffle or another shape
  %                    elements    of the array; 1 of a piston
  %                    weightings  the number of fields
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
  %   % Eight elements in a line, driven such that their waves meet at z = 30 mm.
  %   array = struct('kind', 'line', 'width', 0.8e-3, 'height', 5e-3, ...
  %                  'center', [(-3.5:3.5) * 1e-3; zeros(2, 8)], ...
  %                  'orientation', repmat(eye(3), 1, 1, 8));
  %   k = 2 * pi * 1e6 / 1482;
  %   w = exp(1i * k * hypot(array.center(1, :), 30e-3)).';
  %   p = pistonfield_pressure(array, pistonfield_grid(x, 0, z), 'frequency', 1e6, 'weights', w);
  %
  %   % A disc of 10 mm in tissue, in which 3 MHz lose 1.5 dB on each cm.
  %   disc = pistonfield_piston('disc', 'radius', 10e-3);
  %   p = pistonfield_pressure(disc, pistonfield_grid(x, 0, z), 'frequency', 3e6, ...
  %                            'speed', 1540, 'attenuation', 0.5);
  %
  % See also: pistonfield_velocity, pistonfield_intensity, pistonfield_piston, pistonfield_array,
  %           pistonfield_focus, pistonfield_grid, pistonfield_order, pistonfield

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_pressure';
  require(nargin >= 2, caller, 'arguments', 'give a piston, a grid and the frequency');
  several = frequencies_in(varargin);
  if numel(several) > 1
    [p, info] = at_frequencies(caller, several, piston, grid, varargin);
    return
  end
  [p, shape, info] = field_of(caller, 'pressure', piston, grid, varargin);
  p = reshape(p, [shape, info.weightings]);
end

% The numbers of the option 'frequency', where there are any.
function several = frequencies_in(given)
  at = find(cellfun(@(name) isequal(name, 'frequency'), given(1:2:end)), 1, 'last');
  several = [];
  if ~isempty(at) && 2 * at <= numel(given) && isnumeric(given{2 * at})
    several = double(given{2 * at});
  end
end

% One field after the other, along one more dimension, and a row of their infos.
function [p, info] = at_frequencies(caller, several, piston, grid, given)
  require(isvector(several) && isreal(several) && all(isfinite(several) & several > 0), caller, ...
          'frequency', 'frequency must be real, finite numbers above 0, in a row or a column');
  require(~any(cellfun(@(name) isequal(name, 'memory'), given(1:2:end))), caller, 'memory', ...
          'memory goes with one frequency: several fields are held at once');
  for i = numel(several):-1:1
    [fields{i}, info(i)] = pistonfield_pressure(piston, grid, given{:}, 'frequency', several(i));
  end
  dimensions = 3;
  if is_point_list(grid)
    dimensions = 1;
    if isstruct(grid)
      dimensions = ndims(grid.x);
    end
  end
  p = cat(dimensions + (info(1).weightings > 1) + 1, fields{:});
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

%!test % several frequencies have a field each, in one more dimension
%! frequencies = [0.5e6 1e6 2e6];
%! [p, info] = pistonfield_pressure(piston, grid, 'frequency', frequencies);
%! assert(size(p), [7 6 5 3]);
%! assert([info.wavenumber], 2 * pi * frequencies / 1482, 1e-9);
%! for i = 1:3
%!   assert(p(:, :, :, i), call('frequency', frequencies(i)));
%! end
%! points = [0 0 1; 1 0 2] * 1e-2;
%! assert(size(pistonfield_pressure(piston, points, 'frequency', frequencies)), [2 3]);
%! array = struct('kind', 'pair', 'width', 1e-3, 'height', 1e-3, ...
%!                'center', [-1 1; 0 0; 0 0] * 1e-3, 'orientation', repmat(eye(3), 1, 1, 2));
%! assert(size(pistonfield_pressure(array, points, 'frequency', frequencies, ...
%!                                  'weights', [1 1; 1 -1])), [2 2 3]);
%! plane = struct('x', [0 1; 2 3] * 1e-3, 'y', zeros(2), 'z', ones(2) * 1e-2);
%! assert(size(pistonfield_pressure(piston, plane, 'frequency', frequencies)), [2 2 3]);

%!error <frequency must be real, finite numbers above 0, in a row or a column>
%! pistonfield_pressure(piston, grid, 'frequency', [1e6 -1]);

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

%!function array = tilted(n)
%!  % Elements of different widths, tilted about both sides' directions.
%!  array = struct('kind', 'tilted', 'width', linspace(1, 2, n) * 1e-3, 'height', 1.5e-3, ...
%!                 'center', [linspace(-4, 4, n); zeros(1, n); 0.1 * (1:n)] * 1e-3, ...
%!                 'orientation', zeros(3, 3, n));
%!  for i = 1:n
%!    a = 5 * (i - 3);
%!    array.orientation(:, :, i) = [cosd(a) 0 sind(a); 0 1 0; -sind(a) 0 cosd(a)] * ...
%!                                 [1 0 0; 0 cosd(2 * a) -sind(2 * a); 0 sind(2 * a) cosd(2 * a)];
%!  end
%!endfunction

%!function p = superposed(array, weights, place, varargin)
%!  % The fields of its elements as pistons, one by one.
%!  p = 0;
%!  for i = 1:numel(weights)
%!    width = array.width(min(i, end));
%!    one = struct('width', width, 'height', array.height, 'center', array.center(:, i), ...
%!                 'orientation', array.orientation(:, :, i));
%!    p = p + weights(i) * pistonfield_pressure(one, place, 'frequency', 1e6, 'velocity', 0.1, ...
%!                                              'tolerance', 1e-12, varargin{:});
%!  end
%!endfunction

%!shared piston, call, before, list, w, array, driven
%! piston = struct('width', 3e-3, 'height', 2e-3);
%! before = pistonfield_grid((-3:3) * 1e-3, (-2:1) * 1e-3, (8:12) * 1e-3);
%! list = [cos(1:9)', sin(1:9)', (9:17)'] * 1e-3;
%! w = [exp(1i * (1:5)'), (1:5)' - 2i, [0 0 1 0 0]'];
%! array = tilted(5);
%! call = @(varargin) pistonfield_pressure(piston, before, 'frequency', 1e6, varargin{:});
%! driven = @(place, weights, varargin) pistonfield_pressure(array, place, 'frequency', 1e6, ...
%!                                                    'weights', weights, 'velocity', 0.1, varargin{:});

%!test % an array's field is the sum of its elements', each times its weight
%! for i = 1:3
%!   p = driven(before, w(:, i), 'tolerance', 1e-10);
%!   wanted = superposed(array, w(:, i), before);
%!   assert(size(p), [7 4 5]);
%!   assert(p, wanted, 2e-10 * max(abs(wanted(:))));
%! end

%!test % on a turned grid, and at points in any shape
%! turn = [cosd(9) 0 sind(9); 0 1 0; -sind(9) 0 cosd(9)];
%! turned = pistonfield_grid([0 1 9] * 1e-3, turn * 0.4e-3, [4 3 2]);
%! wanted = superposed(array, w(:, 1), turned);
%! assert(driven(turned, w(:, 1), 'tolerance', 1e-10), wanted, 2e-10 * max(abs(wanted(:))));
%! wanted = superposed(array, w(:, 1), list);
%! assert(driven(list, w(:, 1), 'tolerance', 1e-10), wanted, 2e-10 * max(abs(wanted(:))));

%!test % several weightings have a field each, in a last dimension, and those of calls of their own
%! some = struct('x', reshape(list(1:8, 1), 2, 4), 'y', reshape(list(1:8, 2), 2, 4), ...
%!               'z', reshape(list(1:8, 3), 2, 4));
%! column = struct('x', list(:, 1), 'y', list(:, 2), 'z', list(:, 3));
%! places = {before, list, some, column};
%! shapes = {[7 4 5 3], [9 3], [2 4 3], [9 1 3]};
%! ofOne = {[7 4 5], [9 1], [2 4], [9 1]};
%! for i = 1:4
%!   [p, info] = driven(places{i}, w, 'tolerance', 1e-9);
%!   assert(size(p), shapes{i});
%!   assert(info.weightings == 3 && info.elements == 5);
%!   p = reshape(p, [], 3);
%!   for j = 1:3
%!     alone = driven(places{i}, w(:, j), 'tolerance', 1e-9);
%!     assert(size(alone), ofOne{i});
%!     assert(p(:, j), alone(:), 2e-9 * max(abs(alone(:))));
%!   end
%! end

%!test % all elements are driven by 1 unless there are weights, and an array of one is a piston
%! assert(driven(before, []), driven(before, ones(5, 1)));
%! one = setfield(piston, 'kind', 'single');
%! one.center = zeros(3, 1);  one.orientation = eye(3);
%! field = @(source) pistonfield_pressure(source, before, 'frequency', 1e6, 'tolerance', 1e-10);
%! assert(field(one), field(piston), 2e-10 * max(abs(field(piston)(:))));

%!test % an array of one element radiates what the piston does, with the same velocity
%! one = setfield(piston, 'kind', 'single');
%! one.center = [1; 2; 3] * 1e-3;  one.orientation = [0 0 1; 0 1 0; -1 0 0];
%! [~, info] = call('power', 2);
%! [~, found] = pistonfield_pressure(one, [9 0 0] * 1e-3, 'frequency', 1e6, 'power', 2, ...
%!                                   'weights', 2i);
%! assert(found.power, 2);
%! assert(found.velocity, info.velocity / 2, 1e-9 * info.velocity);

%!test % what elements in a bowl radiate goes through a far half sphere
%! [p, info] = pistonfield_pressure(array, [0 0 9e-3], 'frequency', 1e6, 'power', 3, ...
%!                                  'weights', w(:, 1));
%! r = 2;
%! [u, v] = meshgrid(linspace(0, 2 * pi, 97)(1:96), linspace(0, pi / 2, 181));
%! far = struct('x', r * sin(v) .* cos(u), 'y', r * sin(v) .* sin(u), 'z', r * cos(v));
%! p = pistonfield_pressure(array, far, 'frequency', 1e6, 'velocity', info.velocity, ...
%!                          'weights', w(:, 1), 'behind', true);
%! through = 2 * pi * mean(trapz(v(:, 1), abs(p) .^ 2 / (2 * 998 * 1482) .* sin(v) * r ^ 2));
%! assert(through, 3, 0.03);

%!test % info tells what computed and how exact it is
%! [~, info] = driven(before, w, 'tolerance', 1e-6);
%! assert(info.engine, 'sum over the elements, double precision');
%! assert(info.tolerance == 1e-6 && info.bound <= 1e-6 && info.error <= info.bound);
%! assert(info.evaluations > 5 && isnan(info.order) && isnan(info.power));
%! assert(info.velocity == 0.1 && info.slabs == 1 && info.moved == 0);
%! [~, info] = driven(before, w, 'precision', 'single');
%! assert(info.engine, 'sum over the elements, single precision');
%! [~, info] = call();
%! assert(info.engine, 'tolerance engine, double precision');
%! assert(info.elements == 1 && info.weightings == 1);

%!test % single precision and local tolerances are kept
%! wanted = superposed(array, w(:, 1), before);
%! p = driven(before, w(:, 1), 'precision', 'single', 'tolerance', 1e-4);
%! assert(p, wanted, 1e-4 * max(abs(wanted(:))));
%! assert(any(abs(p(:) - wanted(:)) > 1e-12 * max(abs(wanted(:)))));
%! p = driven(before, w(:, 1), 'relative', 'local', 'tolerance', 1e-9);
%! assert(p, wanted, 1e-8 * max(abs(wanted(:))));

%!test % a GPU keeps the same tolerances, in either precision, on grids and in lists, and in slabs
%! for precision = {'double', 'single'}
%!   for place = {before, list}
%!     options = {'tolerance', 1e-4, 'precision', precision{1}, 'device', 'gpu'};
%!     [p, info] = driven(place{1}, w, options{:});
%!     assert(info.engine, ['sum over the elements, ', precision{1}, ' precision on a GPU']);
%!     assert(info.error <= info.bound);
%!     p = reshape(p, [], 3);
%!     for i = 1:3
%!       wanted = superposed(array, w(:, i), place{1});
%!       assert(p(:, i), wanted(:), 1e-4 * max(abs(wanted(:))));
%!     end
%!     n = rows(p);
%!     memory = 16 * 3 * n + 48 * n * isnumeric(place{1}) + 56 * 3 * 4;
%!     [slabs, info] = driven(place{1}, w, options{:}, 'memory', memory);
%!     assert(info.slabs > 1);
%!     assert(isequal(reshape(slabs, [], 3), p));
%!   end
%! end
%!error id=pistonfield:pistonfield_pressure:tolerance
%! driven(before, w, 'device', 'gpu', 'precision', 'single', 'tolerance', 1e-9);

%!test % neither slabs nor threads change a bit
%! for place = {before, list}
%!   [whole, info] = driven(place{1}, w);
%!   assert(info.slabs, 1);
%!   n = numel(whole) / 3;
%!   memory = 16 * 3 * n + 48 * n * isnumeric(place{1}) + 56 * 3 * 4;
%!   [p, info] = driven(place{1}, w, 'memory', memory);
%!   assert(info.slabs >= n / 4);
%!   assert(isequal(p, whole));
%!   assert(isequal(driven(place{1}, w, 'threads', 1), whole));
%! end

%!test % points behind an element are asked for, and have the pressure of mirrored points
%! low = [0 0 -3e-3; 0.1e-3 0 -5e-3];
%! flat = array;  flat.center(3, :) = 0;  flat.orientation = repmat(eye(3), [1 1 5]);
%! field = @(points, varargin) pistonfield_pressure(flat, points, 'frequency', 1e6, ...
%!                                                  'tolerance', 1e-9, varargin{:});
%! wanted = field(abs(low));
%! assert(field(low, 'behind', true), wanted, 2e-9 * max(abs(wanted)));
%! fail('field(low)', 'the point .0, 0, -0.003. lies behind element 1, where there is no field; the option .behind., true');

%!test % progress is shown as of a piston's field
%! memory = 3 * (16 * 140 + 56 * 28);
%! shown = evalc("driven(before, w, 'memory', memory, 'progress', 'text');");
%! assert(~isempty(regexp(shown, 'pistonfield_pressure: 100 %, \d+ s, 0 s left\n$')));
%! assert(evalc("driven(before, w, 'memory', memory);"), '');

%!error id=pistonfield:pistonfield_pressure:behind driven(pistonfield_grid(0, 0, -1), w)
%!error <pressure: the point .* lies behind element 1> driven(pistonfield_grid(0, 0, -1), w)
%!error <an array is computed within a tolerance: it takes no order> driven(before, w, 'order', 9)
%!error id=pistonfield:pistonfield_pressure:order driven(before, w, 'order', 9)
%!error <an array is computed within a tolerance: it takes no mode> driven(before, w, 'mode', 'cpu')
%!error id=pistonfield:pistonfield_pressure:mode driven(before, w, 'mode', 'cpu')
%!error <give velocity or power, not both> driven(before, w, 'power', 1)
%!error <power goes with one column of weights: give velocity>
%! pistonfield_pressure(array, before, 'frequency', 1e6, 'power', 1, 'weights', w);
%!error <weights go with an array, not a piston> call('weights', 1)
%!error <weights are 3 by 5, where the array has 5 .* give them transposed, w.'> driven(before, w.')
%!error <weights are 4 by 3, where the array has 5 elements: a row for each$> driven(before, w(1:4, :))
%!error <weights must be complex or real numbers, 5 by M> driven(before, 'all')
%!error <weights must be complex or real numbers, 5 by M> driven(before, ones(5, 2, 2))
%!error <weights: every number must be finite> driven(before, [1 2 3 4 NaN]')
%!error id=pistonfield:pistonfield_pressure:weights driven(before, [1 2 3 4 NaN]')
%!error <weights: all of weighting 2 are 0> driven(before, [w(:, 1), zeros(5, 1)])
%!error <tolerance: .* is below> driven(before, w, 'tolerance', 1e-17)
%!error <needs 4.08 kB, more than the 4 kB> driven(list(1, :), ones(5, 56), 'memory', 4000)

%!function p = with_field(array, name, value)
%!  array.(name) = value;
%!  p = pistonfield_pressure(array, pistonfield_grid(0, 0, 0.01), 'frequency', 1e6);
%!endfunction

%!error <array.pitch is no field of an array; there are: width, height> with_field(array, 'pitch', 1)
%!error id=pistonfield:pistonfield_pressure:array with_field(array, 'pitch', 1)
%!error <array.height is missing>
%! pistonfield_pressure(rmfield(array, 'height'), before, 'frequency', 1e6);
%!error <array.orientation is missing>
%! pistonfield_pressure(rmfield(array, 'orientation'), before, 'frequency', 1e6);
%!error <array.width must be one length, or 5, one for each element> with_field(array, 'width', [1 1])
%!error <array.height must be real, finite numbers> with_field(array, 'height', 'tall')
%!error <array.center must be 3 by N: a column for each> with_field(array, 'center', ones(2, 5))
%!error <array.center must be real, finite numbers> with_field(array, 'center', NaN(3, 5))
%!error <array.orientation must be 3 by 3 by 5> with_field(array, 'orientation', eye(3))
%!error <array: element 1: the columns of the orientation must be of length 1, .* the others$>
%! with_field(array, 'orientation', -array.orientation);
%!error <array: element 1: the sides must be lengths above 0> with_field(array, 'height', -1)
%!error <array: element 1: 8097.17 wavelengths are not within .*; lengths are in m, the speed>
%! with_field(array, 'height', 12);
%!error id=pistonfield:pistonfield_pressure:array with_field(array, 'height', 12)
%!error <an array of pistons stands where pistonfield_order takes one piston>
%! pistonfield_order(array, before, 'frequency', 1e6);
%!warning <the largest element measures 2.69\d*e-05 wavelengths>
%! pistonfield_pressure(array, before, 'frequency', 20);

%!shared piston, disc, water, at, k, a
%! piston = struct('width', 3e-3, 'height', 2e-3);
%! disc = struct('shape', 'disc', 'radius', 4e-3);
%! water = {'frequency', 1e6, 'tolerance', 1e-8};
%! at = @(source, points, varargin) pistonfield_pressure(source, points, 'frequency', 1e6, ...
%!                                                       'tolerance', 1e-8, varargin{:});
%! k = 2 * pi * 1e6 / 1482;
%! a = 100 * log(10) / 20;  % 1 dB/cm in Np/m

%!test % in a medium with losses a wave's k is k - j*a: on a disc's axis
%! z = [0.5; 3; 20; 100] * 1e-3;  rim = hypot(z, 4e-3);
%! wave = k - 1i * 2 * a;
%! wanted = 998 * 1482 * k / wave * (exp(-1i * wave * z) - exp(-1i * wave * rim));
%! p = at(disc, [zeros(4, 2), z], 'attenuation', 2);
%! assert(p, wanted, 2e-8 * max(abs(wanted)));
%! assert(at(disc, [zeros(4, 2), z], 'nepers', 2 * a), p, 1e-7 * abs(p));

%!function p = lossy(point, width, height, wave, k)
%!  % The surface integral times rho*c*u0*j*k/(2 pi).
%!  r = @(x, y) sqrt((point(1) - x) .^ 2 + (point(2) - y) .^ 2 + point(3) ^ 2);
%!  part = @(x, y) exp(-1i * wave * r(x, y)) ./ r(x, y);
%!  p = 998 * 1482 * 1i * k / (2 * pi) * integral2(part, -width / 2, width / 2, -height / 2, ...
%!                                                 height / 2, 'AbsTol', 1e-13, 'RelTol', 1e-10);
%!endfunction

%!test % of a rectangle the values are the surface integral with this k
%! points = [1 0.5 4; -3 2 9; 0 0 25] * 1e-3;
%! p = at(piston, points, 'attenuation', 3);
%! for i = 1:3
%!   assert(p(i), lossy(points(i, :), 3e-3, 2e-3, k - 3i * a, k), 3e-8 * max(abs(p)));
%! end

%!test % far away losses are exp(-a*R)
%! r = 2;  u = [0.3 0.1 sqrt(0.9)];
%! for source = {piston, disc}
%!   p = at(source{1}, r * u, 'tolerance', 1e-6, 'relative', 'local');
%!   lost = at(source{1}, r * u, 'attenuation', 0.02, 'tolerance', 1e-6, 'relative', 'local');
%!   assert(lost, p * exp(-0.02 * a * r), 1e-3 * abs(lost));
%! end

%!test % they grow as a power of the frequency, 1 unless there is another one
%! loss = @(f, varargin) -log(abs(pistonfield_pressure(piston, [0 0 1], 'frequency', f, ...
%!                       'relative', 'local', 'tolerance', 1e-7, varargin{:}) / ...
%!                       pistonfield_pressure(piston, [0 0 1], 'frequency', f, 'tolerance', 1e-7)));
%! assert(loss(2e6, 'attenuation', 0.1), 0.2 * a, 1e-4);
%! assert(loss(2e6, 'attenuation', 0.1, 'exponent', 2), 0.4 * a, 1e-4);
%! assert(loss(0.5e6, 'attenuation', 0.1, 'exponent', 1.5), 0.1 * 0.5 ^ 1.5 * a, 1e-4);
%! assert(loss(2e6, 'nepers', 3, 'exponent', 1.5), 3, 1e-3);

%!function k = wavenumber(f, varargin)
%!  [~, info] = pistonfield_pressure(struct('width', 3e-3, 'height', 2e-3), [0 0 1], ...
%!                                   'frequency', f, varargin{:});
%!  k = info.wavenumber;
%!endfunction

%!test % with dispersion the phase speed is that of causality, and the speed at one frequency
%! w = 2 * pi * 3e6;
%! for y = [0.7 1 1.4]
%!   for reference = {{}, {'dispersionfrequency', 2e6}}
%!     w0 = 2 * pi * [reference{1}{2:end}, 1e6](1);
%!     a0 = 5 * a / (2 * pi * 1e6) ^ y;
%!     change = a0 * tan(pi * y / 2) * (w ^ (y - 1) - w0 ^ (y - 1));
%!     if y == 1
%!       change = -2 / pi * a0 * log(w / w0);
%!     end
%!     lossy = {'attenuation', 5, 'exponent', y};
%!     found = wavenumber(3e6, lossy{:}, 'dispersion', true, reference{1}{:});
%!     assert(found, w * (1 / 1482 + change), 1e-9 * found);
%!     assert(wavenumber(3e6, lossy{:}), w / 1482, 1e-12 * found);
%!     assert(wavenumber(3e6, lossy{:}, 'dispersion', false), w / 1482, 1e-12 * found);
%!   end
%! end
%! assert(wavenumber(1e6, 'attenuation', 5, 'dispersion', true), k, 1e-12 * k);
%! z = 5e-3;
%! [p, info] = pistonfield_pressure(disc, [0 0 z], 'frequency', 3e6, 'tolerance', 1e-8, ...
%!                                  'nepers', 40, 'dispersion', true);
%! wave = info.wavenumber - 40i;
%! wanted = 998 * w / wave * (exp(-1i * wave * z) - exp(-1i * wave * hypot(z, 4e-3)));
%! assert(p, wanted, 3e-8 * abs(wanted));

%!test % no losses are those of a medium without any
%! p = at(piston, [1 2 9] * 1e-3);
%! assert(at(piston, [1 2 9] * 1e-3, 'attenuation', 0), p);
%! assert(at(piston, [1 2 9] * 1e-3, 'nepers', 0, 'exponent', 2), p);

%!test % a soft plane has no pressure but on the face, where it is rho*c*u0
%! p = at(disc, [1 2 0; 3 -1 0; 6 0 0; 0 5 0] * 1e-3, 'baffle', 'soft', 'velocity', 0.1);
%! assert(p, 998 * 1482 * 0.1 * [1; 1; 0; 0], 1e-2);

%!test % on a disc's axis: exp(-jkz) less the rim's part, times its cosine where the plane is soft
%! z = [0.5; 3; 20; 100] * 1e-3;  rim = hypot(z, 4e-3);
%! soft = 998 * 1482 * (exp(-1i * k * z) - z ./ rim .* exp(-1i * k * rim));
%! rigid = 998 * 1482 * (exp(-1i * k * z) - exp(-1i * k * rim));
%! field = @(baffle) at(disc, [zeros(4, 2), z], 'baffle', baffle);
%! assert(field('soft'), soft, 3e-8 * max(abs(soft)));
%! assert(field('rigid'), rigid, 3e-8 * max(abs(rigid)));
%! assert(field('free'), (soft + rigid) / 2, 3e-8 * max(abs(soft)));

%!test % far away baffles differ by the cosine
%! for angle = [0 20 40]
%!   point = 5 * [sind(angle), 0, cosd(angle)];
%!   field = @(baffle) at(piston, point, 'baffle', baffle, 'relative', 'local', 'tolerance', 1e-6);
%!   assert(field('soft'), field('rigid') * cosd(angle), 1e-3 * abs(field('rigid')));
%!   assert(field('free'), field('rigid') * (1 + cosd(angle)) / 2, 1e-3 * abs(field('rigid')));
%! end

%!test % info tells of them
%! [~, info] = at(piston, [1 2 9] * 1e-3, 'attenuation', 1);
%! assert(info.engine, 'integrals along the outlines, double precision');
%! assert(info.bound <= 1e-8 && info.error <= info.bound && isnan(info.power));
%! assert({info.elements, info.weightings, info.velocity, info.slabs}, {1, 1, 1, 1});

%!test % arrays have them, too, and slabs and threads change no bit
%! array = pistonfield_array('line', 'elements', 4, 'width', 1e-3, 'height', 3e-3, 'pitch', 1.1e-3);
%! w = [exp(1i * (1:4).'), ones(4, 1)];
%! grid = pistonfield_grid((-4:4) * 1e-3, 0, (1:9) * 1e-3);
%! options = {'weights', w, 'attenuation', 2, 'baffle', 'soft'};
%! p = at(array, grid, options{:});
%! assert(size(p), [9 1 9 2]);
%! one = 0;
%! for i = 1:4
%!   element = struct('width', 1e-3, 'height', 3e-3, 'center', array.center(:, i));
%!   one = one + w(i, 1) * at(element, grid, options{3:end});
%! end
%! assert(p(:, :, :, 1), one, 5e-8 * max(abs(one(:))));
%! [q, info] = at(array, grid, options{:}, 'memory', 32 * 81 + 112 * 9, 'threads', 1);
%! assert(info.slabs >= 9);
%! assert(q, p);

%!error <give attenuation or nepers, not both> at(piston, [0 0 1], 'attenuation', 1, 'nepers', 1)
%!error id=pistonfield:pistonfield_pressure:nepers at(piston, [0 0 1], 'attenuation', 1, 'nepers', 1)
%!error <attenuation must be a real, finite number> at(piston, [0 0 1], 'attenuation', NaN)
%!error <attenuation must be a real, finite number> at(piston, [0 0 1], 'attenuation', [1 2])
%!error <attenuation must be a real, finite number> at(piston, [0 0 1], 'attenuation', 'water')
%!error <attenuation: must be 0 or above> at(piston, [0 0 1], 'attenuation', -1)
%!error <attenuation: must be within 0 and the wavenumber> at(piston, [0 0 1], 'attenuation', 1e4)
%!error id=pistonfield:pistonfield_pressure:attenuation at(piston, [0 0 1], 'attenuation', 1e4)
%!error <nepers: must be 0 or above> at(piston, [0 0 1], 'nepers', -1)
%!error <nepers must be a real, finite number> at(piston, [0 0 1], 'nepers', Inf)
%!error <exponent goes with attenuation or nepers> at(piston, [0 0 1], 'exponent', 2)
%!error <exponent: must be from 0 to below 3> at(piston, [0 0 1], 'attenuation', 1, 'exponent', 3)
%!error <exponent must be a real, finite> at(piston, [0 0 1], 'attenuation', 1, 'exponent', 'two')
%!error <dispersion goes with losses: give attenuation> at(piston, [0 0 1], 'dispersion', true)
%!error <dispersion must be true or false> at(piston, [0 0 1], 'nepers', 1, 'dispersion', 'yes')
%!error <dispersionfrequency goes with dispersion, true>
%! at(piston, [0 0 1], 'nepers', 1, 'dispersionfrequency', 1e6);
%!error <dispersionfrequency must be a number above 0>
%! at(piston, [0 0 1], 'nepers', 1, 'dispersion', true, 'dispersionfrequency', -1);
%!error <dispersionfrequency: with these losses there is no phase speed>
%! at(piston, [0 0 1], 'nepers', 3e3, 'dispersion', true, 'dispersionfrequency', 1);
%!error <a baffle of a given impedance is not computed: there are rigid, soft .* and free>
%! at(piston, [0 0 1], 'baffle', 'impedance');
%!error id=pistonfield:pistonfield_pressure:baffle at(piston, [0 0 1], 'baffle', 'impedance')
%!error <baffle must be one of: rigid, soft, free> at(piston, [0 0 1], 'baffle', 'hard')
%!error <baffle must be one of: rigid, soft, free> at(piston, [0 0 1], 'baffle', 1)
%!error <losses are computed within a tolerance, .* there is no order>
%! at(piston, [0 0 1], 'tolerance', [], 'order', 9, 'attenuation', 1);
%!error <all baffles but the rigid one are computed within a tolerance, .* there is no mode>
%! at(piston, [0 0 1], 'mode', 'cpu', 'baffle', 'soft');
%!error <losses are computed .* on the CPU: device must be cpu>
%! at(piston, [0 0 1], 'device', 'gpu', 'attenuation', 1);
%!error id=pistonfield:pistonfield_pressure:device
%! at(piston, [0 0 1], 'device', 'gpu', 'attenuation', 1);
%!error <losses are computed .* precision must be double>
%! at(piston, [0 0 1], 'precision', 'single', 'attenuation', 1);
%!error <attenuation: with losses the power is known in a rigid baffle alone>
%! at(piston, [0 0 1], 'power', 1, 'attenuation', 1, 'baffle', 'soft');

%!test % the power of a disc is that of its resistance, pi a^2 (1 - J1(2ka)/(ka)), and that of rings
%! % that fill it
%! face = pistonfield_piston('disc', 'radius', 2e-3);
%! rings = pistonfield_array('annular', 'radius', 2e-3, 'elements', 3);
%! for source = {face, rings}
%!   [~, info] = at(source{1}, [0 0 9e-3], 'power', 3);
%!   ka = 2e-3 * info.wavenumber;
%!   resistance = 998 * 1482 * pi * 4e-6 * (1 - besselj(1, 2 * ka) / ka);
%!   assert(resistance * info.velocity ^ 2 / 2, 3, 1e-7);
%! end

%!test % a soft baffle's is what |p|^2 carries away, and no baffle's, too
%! face = pistonfield_piston('disc', 'radius', 2e-3);
%! velocity = @(varargin) getfield(nthargout(2, @() at(face, [0 0 9e-3], 'power', 1, ...
%!                                                     varargin{:})), 'velocity');
%! wavenumber = 2 * pi * 1e6 / 1482;
%! pattern = @(t) 2 * pi * 2e-3 * besselj(1, wavenumber * 2e-3 * sin(t)) ./ (wavenumber * sin(t));
%! carried = @(f) 998 * 1482 * wavenumber ^ 2 / (4 * pi) * ...
%!                quad(@(t) (pattern(t) .* f(cos(t))) .^ 2 .* sin(t), 0, pi / 2);
%! assert(carried(@(c) c) * velocity('baffle', 'soft') ^ 2, 1, 1e-6);
%! assert(carried(@(c) (1 + c) / 2) * velocity('baffle', 'free') ^ 2, 1, 1e-6);
%! assert(carried(@(c) 1) * velocity() ^ 2, 1, 1e-6);
%! % Through the face: k/2 times the integral of the area that the disc shares with itself at a
%! % distance, times what arrives from there.
%! area = @(r) 8e-6 * acos(r / 4e-3) - r / 2 .* sqrt(16e-6 - r .^ 2);
%! leaving = 998 * 1482 * wavenumber / 2 * ...
%!           quad(@(r) area(r) .* exp(-100 * r) .* sin(wavenumber * r), 0, 4e-3);
%! assert(leaving * velocity('nepers', 100) ^ 2, 1, 1e-6);
%!error <array.outlines must be 8 by E> at(struct('kind', 'odd', 'outlines', ones(7, 3), ...
%!                                                'outline', 1, 'center', zeros(3, 1), ...
%!                                                'orientation', eye(3)), [0 0 1])
%!error <array.outlines: its first row must number>
%! at(struct('kind', 'odd', 'outlines', 3 * ones(8, 3), 'outline', 1, 'center', zeros(3, 1), ...
%!           'orientation', eye(3)), [0 0 1]);
%!error <array.outline must be a number of the outlines, 1 to 1>
%! array = pistonfield_array('honeycomb', 'rings', 0, 'width', 1e-3);
%! array.outline = 2;
%! at(array, [0 0 1]);
%!error <array: an edge is neither straight nor an arc>
%! array = pistonfield_array('honeycomb', 'rings', 0, 'width', 1e-3);
%! array.outlines(3, 2) = 7;
%! at(array, [0 0 1]);
%!error <array: element 1: its outline: one of its loops is not closed>
%! array = pistonfield_array('honeycomb', 'rings', 0, 'width', 1e-3);
%! array.outlines(4, 2) = 7;
%! at(array, [0 0 1]);
%!error <array.width is no field of an array; there are: outlines, outline, center>
%! array = pistonfield_array('honeycomb', 'rings', 0, 'width', 1e-3);
%! array.width = 2;
%! at(array, [0 0 1]);
%!warning <the piston measures 2.6\d*e-05 wavelengths>
%! pistonfield_pressure(disc, [0 0 1], 'frequency', 5);

%!test % help tells of every option
%! try
%!   at(piston, [0 0 1], 'none', 1);
%! catch failure
%!   names = strsplit(regexp(failure.message, 'there are: (.*)$', 'tokens', 'once'){1}, ', ');
%! end
%! told = cellfun(@(name) ~isempty(strfind(help('pistonfield_pressure'), ["'", name, "' "])), names);
%! assert(numel(names) > 15 && all(told), 'not in help: %s', strjoin(names(~told), ' '));
