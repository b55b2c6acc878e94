function [vx, vy, vz, info] = pistonfield_velocity(piston, grid, varargin)
  % pistonfield_velocity: the complex particle velocity of a piston or an array, in m/s.
  %
  % DESCRIPTION
  %   Computes the velocity of the fluid's particles, in the field that a flat piston or an array of
  %   them radiates, at every point of a regular grid or at any points. By Euler's equation
  %   j*omega*rho*v = -grad p it follows from the pressure p that pistonfield_pressure computes; it is
  %   found by the derivatives of the integral along the piston's outline, not by differences. At the
  %   face of a piston in a rigid baffle its normal component is that of the piston.
  %
  %   The velocity at the time t is real(v * exp(1i*omega*t)).
  %
  % USAGE
  %   [vx, vy, vz] = pistonfield_velocity(piston, grid, 'frequency', f)
  %   [vx, vy, vz] = pistonfield_velocity(piston, points, 'frequency', f)
  %   [vx, vy, vz] = pistonfield_velocity(array, grid, 'frequency', f, 'weights', w)
  %   [vx, vy, vz, info] = pistonfield_velocity(piston, grid, 'frequency', f, name, value, ...)
  %
  % INPUTS
  %   piston, array, grid, points and 'frequency' - as of pistonfield_pressure
  %
  % OPTIONAL INPUTS (names and values)
  %   those of pistonfield_pressure, but for 'mode' and 'order': velocities are computed within a
  %   tolerance, in double precision on the CPU. The tolerance is relative to the largest |v|, of the
  %   vector of the three components; or 'local', to what |v| is far away on the axis
  %
  % OUTPUTS
  %   vx, vy, vz - complex amplitudes of the components along x, y and z of the frame in which the
  %                points are given [m/s], each in the shape of the pressure of pistonfield_pressure.
  %                All three together are cat(ndims(vx) + 1, vx, vy, vz)
  %   info       - as of pistonfield_pressure
  %
  % EXAMPLES
  %   % The velocity along the axis of a disc, in parts of that of the disc.
  %   disc = pistonfield_piston('disc', 'radius', 5e-3);
  %   z = (0:0.1:60) * 1e-3;
  %   [~, ~, vz] = pistonfield_velocity(disc, pistonfield_grid(0, 0, z), 'frequency', 1e6);
  %   plot(z * 1e3, abs(vz(:)));
  %
  % See also: pistonfield_pressure, pistonfield_intensity, pistonfield_piston

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_velocity';
  require(nargin >= 2, caller, 'arguments', 'give a piston, a grid and the frequency');
  [values, shape, info] = field_of(caller, 'velocity', piston, grid, varargin);
  [vx, vy, vz] = components_of(values, shape);
end

%!shared disc, plate, grid, rho, c, k
%! disc = pistonfield_piston('disc', 'radius', 3e-3);
%! plate = struct('width', 3e-3, 'height', 2e-3);
%! grid = pistonfield_grid((-2:2) * 1e-3, (0:1) * 1e-3, (2:4) * 1e-3);
%! rho = 998;  c = 1482;  k = 2 * pi * 1e6 / c;

%!test % each component has the shape of the pressure, of several weightings with a last dimension
%! [vx, vy, vz, info] = pistonfield_velocity(plate, grid, 'frequency', 1e6);
%! assert({size(vx), size(vy), size(vz)}, {[5 2 3], [5 2 3], [5 2 3]});
%! assert({info.elements, info.weightings, info.velocity}, {1, 1, 1});
%! assert(info.engine, 'integrals along the outlines, double precision');
%! assert(info.bound <= 1e-4 && info.error <= info.bound);
%! assert(iscomplex(vx));
%! [vx, ~, vz] = pistonfield_velocity(plate, [1 2 3; 4 5 6] * 1e-3, 'frequency', 1e6);
%! assert({size(vx), size(vz)}, {[2 1], [2 1]});
%! array = pistonfield_array('annular', 'elements', 3, 'radius', 3e-3);
%! some = struct('x', ones(2, 4) * 1e-3, 'y', zeros(2, 4), 'z', ones(2, 4) * 5e-3);
%! w = [1 2i; 0.5 1; 1 -1];
%! [vx, vy, vz] = pistonfield_velocity(array, some, 'frequency', 1e6, 'weights', w);
%! assert({size(vx), size(vy), size(vz)}, {[2 4 2], [2 4 2], [2 4 2]});
%! for i = 1:2
%!   [ux, ~, uz] = pistonfield_velocity(array, some, 'frequency', 1e6, 'weights', w(:, i));
%!   assert(vx(:, :, i), ux, 2e-4 * max(abs(uz(:))));
%!   assert(vz(:, :, i), uz, 2e-4 * max(abs(uz(:))));
%! end

%!test % it is the gradient of the pressure, in every baffle and with losses
%! at = [1 0.7 4] * 1e-3;
%! for baffle = {'rigid', 'soft', 'free'}
%!   options = {'frequency', 1e6, 'baffle', baffle{1}, 'nepers', 30, 'tolerance', 1e-10};
%!   [vx, vy, vz] = pistonfield_velocity(plate, at, options{:});
%!   v = [vx; vy; vz];
%!   step = 1e-6;
%!   wanted = zeros(3, 1);
%!   for axis = 1:3
%!     way = step * (1:3 == axis);
%!     p = pistonfield_pressure(plate, [at - 2 * way; at - way; at + way; at + 2 * way], options{:});
%!     slope = [1 -8 8 -1] * p / (12 * step);
%!     wanted(axis) = -slope / (1i * 2 * pi * 1e6 * rho);
%!   end
%!   assert(v, wanted, 1e-6 * norm(wanted));
%! end

%!test % on a disc's axis: what comes from the face, less the rim's part along the axis
%! z = [0.2 1 5 50] * 1e-3;
%! [vx, vy, vz] = pistonfield_velocity(disc, [zeros(4, 2), z.'], 'frequency', 1e6, ...
%!                                     'tolerance', 1e-9);
%! rim = hypot(z, 3e-3);
%! wanted = exp(-1i * k * z) - z ./ rim .* exp(-1i * k * rim);
%! assert(vz(:).', wanted, 3e-9);
%! assert(abs([vx(:); vy(:)]), zeros(8, 1), 3e-9);

%!test % at the face the normal velocity is the piston's, beside it none
%! [~, ~, vz] = pistonfield_velocity(disc, [1e-3 0 0; 0 2e-3 0; 4e-3 0 0], 'frequency', 1e6, ...
%!                                   'velocity', 0.3, 'tolerance', 1e-8);
%! assert(vz, [0.3; 0.3; 0], 1e-8);

%!test % far away it is the pressure over rho*c, along the ray
%! u = [2 -1 3] / sqrt(14);  r = 20;
%! [vx, vy, vz] = pistonfield_velocity(disc, r * u, 'frequency', 1e6, 'tolerance', 1e-6);
%! p = pistonfield_pressure(disc, r * u, 'frequency', 1e6, 'tolerance', 1e-6);
%! assert([vx, vy, vz], p / (rho * c) * u, 1e-3 * abs(p) / (rho * c));

%!test % before a turned piston the components are those along the axes of the points
%! turn = [cosd(30) 0 sind(30); 0 1 0; -sind(30) 0 cosd(30)] * ...
%!        [1 0 0; 0 cosd(10) -sind(10); 0 sind(10) cosd(10)];
%! for source = {disc, plate}
%!   moved = source{1};  moved.center = [1 2 3] * 1e-3;  moved.orientation = turn;
%!   at = [1 0.5 6] * 1e-3;
%!   options = {'frequency', 1e6, 'tolerance', 1e-9};
%!   [vx, vy, vz] = pistonfield_velocity(source{1}, at, options{:});
%!   wanted = turn * [vx; vy; vz];
%!   [vx, vy, vz] = pistonfield_velocity(moved, at * turn.' + moved.center, options{:});
%!   assert([vx; vy; vz], wanted, 1e-8 * norm(wanted));
%!   steps = turn * 1e-3;
%!   points = pistonfield_grid(at * turn.' + moved.center, steps, [2 1 1]);
%!   [vx, vy, vz] = pistonfield_velocity(moved, points, options{:});
%!   assert([vx(1); vy(1); vz(1)], wanted, 1e-8 * norm(wanted));
%! end

%!test % neither slabs nor threads change a bit
%! [vx, vy, vz, info] = pistonfield_velocity(plate, grid, 'frequency', 1e6);
%! assert(info.slabs, 1);
%! [ux, uy, uz, info] = pistonfield_velocity(plate, grid, 'frequency', 1e6, 'threads', 1, ...
%!                                           'memory', 96 * 30 + 168 * 5);
%! assert(info.slabs > 1);
%! assert({ux, uy, uz}, {vx, vy, vz});

%!error id=pistonfield:pistonfield_velocity:arguments pistonfield_velocity(plate)
%!error <the velocity is computed .* there is no order>
%! pistonfield_velocity(plate, grid, 'frequency', 1e6, 'order', 9);
%!error <the velocity is computed .* there is no mode>
%! pistonfield_velocity(plate, grid, 'frequency', 1e6, 'mode', 'cpu');
%!error <the velocity is computed .* device must be cpu>
%! pistonfield_velocity(plate, grid, 'frequency', 1e6, 'device', 'gpu');
%!error <the velocity is computed .* precision must be double>
%! pistonfield_velocity(plate, grid, 'frequency', 1e6, 'precision', 'single');
%!error id=pistonfield:pistonfield_velocity:frequency pistonfield_velocity(plate, grid)
%!error id=pistonfield:pistonfield_velocity:piston pistonfield_velocity(7, grid, 'frequency', 1)
%!error <'colour' is no option> pistonfield_velocity(plate, grid, 'frequency', 1, 'colour', 1)
%!error <needs 3.048 kB, more than> pistonfield_velocity(plate, grid, 'frequency', 1e6, 'memory', 3000)
