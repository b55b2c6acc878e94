function [ix, iy, iz, info] = pistonfield_intensity(piston, grid, varargin)
  % pistonfield_intensity: the complex intensity of a piston or an array, in W/m^2.
  %
  % DESCRIPTION
  %   Computes the sound intensity p * conj(v) / 2 at every point of a regular grid or at any points,
  %   of the pressure p and the particle velocity v; see pistonfield_pressure and
  %   pistonfield_velocity. Its real part is the active intensity, the power that flows through a
  %   surface, a period's mean; its imaginary part the reactive one, which goes to and fro: it points
  %   away from where the pressure is high.
  %
  % USAGE
  %   [ix, iy, iz] = pistonfield_intensity(piston, grid, 'frequency', f)
  %   [ix, iy, iz] = pistonfield_intensity(piston, points, 'frequency', f)
  %   [ix, iy, iz] = pistonfield_intensity(array, grid, 'frequency', f, 'weights', w)
  %   [ix, iy, iz, info] = pistonfield_intensity(piston, grid, 'frequency', f, name, value, ...)
  %
  % INPUTS
  %   piston, array, grid, points and 'frequency' - as of pistonfield_pressure
  %
  % OPTIONAL INPUTS (names and values)
  %   those of pistonfield_pressure, but for 'mode' and 'order': intensities are computed within a
  %   tolerance, in double precision on the CPU. The tolerance is relative to the largest |p| times
  %   the largest |v| over 2; or 'local', to what the intensity is far away on the axis
  %
  % OUTPUTS
  %   ix, iy, iz - complex intensity along x, y and z of the frame in which the points are given
  %                [W/m^2], each in the shape of the pressure of pistonfield_pressure: real(ix) is the
  %                active one, imag(ix) the reactive one
  %   info       - as of pistonfield_pressure
  %
  % EXAMPLES
  %   % Where the power of a disc flows in its near field.
  %   disc = pistonfield_piston('disc', 'radius', 5e-3);
  %   x = (-8:0.5:8) * 1e-3;  z = (0.5:0.5:20) * 1e-3;
  %   [ix, ~, iz] = pistonfield_intensity(disc, pistonfield_grid(x, 0, z), 'frequency', 1e6);
  %   quiver(z, x, squeeze(real(iz)), squeeze(real(ix)));
  %
  % See also: pistonfield_pressure, pistonfield_velocity, pistonfield_piston

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_intensity';
  require(nargin >= 2, caller, 'arguments', 'give a piston, a grid and the frequency');
  [values, shape, info] = field_of(caller, 'intensity', piston, grid, varargin);
  [ix, iy, iz] = components_of(values, shape);
end

%!shared disc, plate, rho, c
%! disc = pistonfield_piston('disc', 'radius', 3e-3);
%! plate = struct('width', 3e-3, 'height', 2e-3);
%! rho = 998;  c = 1482;

%!test % it is the product of pressure and velocity, in every baffle, with losses and weights
%! array = pistonfield_array('honeycomb', 'rings', 1, 'width', 2e-3, 'pitch', 2.1e-3);
%! w = exp(1i * (1:7).');
%! at = [1 2 3; 0.5 -1 8; 0 0 0.2] * 1e-3;
%! for baffle = {'rigid', 'soft', 'free'}
%!   options = {'frequency', 1e6, 'baffle', baffle{1}, 'weights', w, 'velocity', 0.2, ...
%!              'density', 900, 'speed', 1400, 'attenuation', 2, 'tolerance', 1e-10};
%!   p = pistonfield_pressure(array, at, options{:});
%!   [vx, vy, vz] = pistonfield_velocity(array, at, options{:});
%!   [ix, iy, iz, info] = pistonfield_intensity(array, at, options{:});
%!   wanted = p .* conj([vx, vy, vz]) / 2;
%!   assert([ix, iy, iz], wanted, 1e-8 * max(abs(wanted(:))));
%!   assert(info.bound <= 1e-10 && info.velocity == 0.2);
%! end

%!test % far away it is |p|^2/(2*rho*c), along the ray, and active
%! u = [2 -1 3] / sqrt(14);  r = 20;
%! [ix, iy, iz] = pistonfield_intensity(disc, r * u, 'frequency', 1e6, 'tolerance', 1e-6);
%! p = pistonfield_pressure(disc, r * u, 'frequency', 1e6, 'tolerance', 1e-6);
%! wanted = abs(p) ^ 2 / (2 * rho * c);
%! assert(real([ix, iy, iz]), wanted * u, 1e-3 * wanted);
%! assert(imag([ix, iy, iz]), zeros(1, 3), 1e-3 * wanted);

%!test % what flows through the face is the radiated power
%! nodes = ((1:24) - 0.5) / 24 - 0.5;
%! [x, y] = meshgrid(nodes * 3e-3, nodes * 2e-3);
%! [~, ~, iz] = pistonfield_intensity(plate, struct('x', x, 'y', y, 'z', 0 * x), ...
%!                                    'frequency', 1e6, 'velocity', 0.1, 'tolerance', 1e-7);
%! [~, info] = pistonfield_pressure(plate, [0 0 1], 'frequency', 1e6, 'velocity', 0.1);
%! assert(6e-6 * mean(real(iz(:))), info.power, 2e-3 * info.power);

%!test % a power drives it
%! [~, ~, iz, info] = pistonfield_intensity(plate, [0 0 1], 'frequency', 1e6, 'power', 2);
%! [~, told] = pistonfield_pressure(plate, [0 0 1], 'frequency', 1e6, 'power', 2);
%! assert({info.velocity, info.power}, {told.velocity, told.power});

%!test % several weightings have a last dimension
%! array = pistonfield_array('line', 'elements', 3, 'width', 1e-3, 'height', 3e-3, 'pitch', 1e-3);
%! grid = pistonfield_grid((-1:1) * 1e-3, 0, (3:6) * 1e-3);
%! [ix, iy, iz, info] = pistonfield_intensity(array, grid, 'frequency', 1e6, 'weights', ...
%!                                            [1 1i; 1 0; 1 1]);
%! assert({size(ix), size(iy), size(iz)}, {[3 1 4 2], [3 1 4 2], [3 1 4 2]});
%! assert({info.elements, info.weightings}, {3, 2});

%!error id=pistonfield:pistonfield_intensity:arguments pistonfield_intensity()
%!error <the intensity is computed .* there is no mode>
%! pistonfield_intensity(plate, [0 0 1], 'frequency', 1e6, 'mode', 'cpu');
%!error <the intensity is computed .* device must be cpu>
%! pistonfield_intensity(plate, [0 0 1], 'frequency', 1e6, 'device', 'gpu');
%!error id=pistonfield:pistonfield_intensity:grid pistonfield_intensity(plate, 7, 'frequency', 1)
%!error <a baffle of a given impedance is not computed: there are rigid, soft .* and free>
%! pistonfield_intensity(plate, [0 0 1], 'frequency', 1e6, 'baffle', 'impedance');
%!error id=pistonfield:pistonfield_intensity:points
%! pistonfield_intensity(plate, zeros(0, 3), 'frequency', 1e6);
