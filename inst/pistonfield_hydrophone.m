function [p, error] = pistonfield_hydrophone(source, points, varargin)
  % pistonfield_hydrophone: the complex pressure that a hydrophone tells, averaged over its face, in
  % Pa.
  %
  % DESCRIPTION
  %   A hydrophone with a face that is not small against the wavelength tells the pressure averaged
  %   over it. The average of the complex pressure is that of Gauss-Legendre rules along the sides
  %   of a rectangle, or along the square of the radius and equal steps of the angle of a disc,
  %   with as many nodes as the face's size in wavelengths needs and more until the average stays
  %   the same.
  %
  % USAGE
  %   p = pistonfield_hydrophone(source, points, 'frequency', f, 'hydrophone', size)
  %   [p, error] = pistonfield_hydrophone(source, points, ..., name, value, ...)
  %
  % INPUTS
  %   source       - a piston of any shape or an array, as pistonfield_pressure takes them
  %   points       - where the hydrophone's centre is [m]: N by 3, or a struct with x, y and z
  %   'frequency'  - frequency [Hz]
  %   'hydrophone' - the diameter of a disc, or [width height] of a rectangle [m]; at most 100
  %                  wavelengths
  %
  % OPTIONAL INPUTS (names and values)
  %   'normal'     - the direction at a right angle to the face, 3-vector of any length; default 0,
  %   0, 1
  %   'along'      - the direction of a rectangle's width, 3-vector; what of it lies along the
  %                  normal is left out. Default 1, 0, 0
  %   'speed', 'density', 'weights', 'velocity', 'tolerance', 'threads', 'attenuation', 'exponent',
  %   'nepers', 'dispersion', 'dispersionfrequency', 'baffle'
  %                - as those of pistonfield_pressure, with one column of weights; the tolerance is
  %                  1e-8 at most
  %
  % OUTPUTS
  %   p            - the average [Pa], for each point
  %   error        - an estimate of its error [Pa]: by how much a rule with fewer nodes says
  %                  something else
  %
  % EXAMPLES
  %   % Along the axis of a piston, a disc of 1 mm beside a point.
  %   piston = struct('width', 7.5e-3, 'height', 5e-3);
  %   z = (1:0.5:60).' * 1e-3;
  %   points = [0 * z, 0 * z, z];
  %   p = pistonfield_hydrophone(piston, points, 'frequency', 2e6, 'hydrophone', 1e-3);
  %   q = pistonfield_pressure(piston, points, 'frequency', 2e6);
  %   plot(z, abs([p, q]));
  %
  % See also: pistonfield_beam, pistonfield_pressure

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_hydrophone';
  require(nargin >= 2, caller, 'arguments', 'give a source, points and the frequency');
  require_module(caller);
  require(is_point_list(points), caller, 'points', ...
          'points must be N by 3: rows of x, y and z; or a struct with x, y and z');
  others = medium_defaults(struct('weights', [], 'hydrophone', [], 'normal', [0 0 1], ...
                                  'along', [1 0 0]));
  options = read_pressure_options(caller, varargin, others);
  require(~options.byMode, caller, 'mode', ...
          'a hydrophone''s pressure is computed within a tolerance: it takes no mode and no order');
  require(isempty(options.power), caller, 'power', 'give velocity in the place of power');
  require(~isempty(options.hydrophone), caller, 'hydrophone', ...
          'hydrophone is missing: give its diameter in m, or [width height]');
  lengths = require_lengths(caller, 'hydrophone', options.hydrophone);
  [along, across] = sides_of(caller, options);
  isList = ~isstruct(points);
  [points, shape] = read_points(caller, points);
  if isList
    shape = [numel(points.x), 1];
  end
  source = source_as_array(caller, source, options.weights);
  physics = read_physics(caller, 'pressure', source, options);
  question = array_question('hydrophone', source, physics, options.tolerance);
  answer = ask_module(caller, struct('elements', 'source'), question{:}, points.x, points.y, ...
                      points.z, lengths, along, across, options.threads);
  unit = options.density * physics.speed * options.velocity;
  parts = reshape(answer, [], 3);
  p = reshape(1i * unit * complex(parts(:, 1), parts(:, 2)), shape);
  error = reshape(unit * parts(:, 3), shape);
end

% The directions of the face's sides.
function [along, across] = sides_of(caller, options)
  normal = require_direction(caller, 'normal', options.normal);
  normal = normal / norm(normal);
  along = require_direction(caller, 'along', options.along);
  along = along / norm(along);
  along = along - (along * normal.') * normal;
  if norm(along) < 1e-6
    require(isequal(options.along, [1 0 0]), caller, 'along', 'along must not be the normal');
    along = [0 1 0];
  end
  along = along / norm(along);
  across = cross(normal, along);
end

%!shared piston, call
%! piston = struct('width', 6e-3, 'height', 4e-3, 'center', [1 0 0] * 1e-3);
%! call = @(points, varargin) pistonfield_hydrophone(piston, points, 'frequency', 1e6, varargin{:});

%!test % the average over a turned rectangle is the mean of the pressures there
%! normal = [1 0 2] / sqrt(5);
%! along = [2 0 -1] / sqrt(5);
%! [p, error] = call([2 1 15] * 1e-3, 'hydrophone', [3e-3 1e-3], 'normal', normal, 'along', along);
%! [a, b] = ndgrid(((0.5:239.5) / 240 - 0.5) * 3e-3, ((0.5:79.5) / 80 - 0.5) * 1e-3);
%! points = [2 1 15] * 1e-3 + a(:) * along + b(:) * cross(normal, along);
%! q = pistonfield_pressure(piston, points, 'frequency', 1e6, 'tolerance', 1e-8);
%! assert(p, mean(q), 2e-5 * abs(p));
%! assert(error < 1e-6 * abs(p));

%!test % a small disc tells the pressure
%! points = struct('x', [0 1; 2 3] * 1e-3, 'y', zeros(2), 'z', [5 10; 15 20] * 1e-3);
%! p = call(points, 'hydrophone', 1e-7, 'velocity', 0.1);
%! q = pistonfield_pressure(piston, points, 'frequency', 1e6, 'velocity', 0.1, 'tolerance', 1e-9);
%! assert(p, q, 1e-7 * max(abs(q(:))));

%!test % a weight multiplies what an array's hydrophone tells
%! array = struct('kind', 'any', 'width', 2e-3, 'height', 3e-3, 'center', [0; 0; 0], ...
%!                'orientation', eye(3));
%! at = @(w) pistonfield_hydrophone(array, [0 0 20e-3], 'frequency', 1e6, 'hydrophone', 1e-3, ...
%!                                  'weights', w);
%! assert(at(2i), 2i * at(1), 1e-7 * abs(at(1)));

%!error <hydrophone is missing> call([0 0 1e-2])
%!error <hydrophone must be a diameter> call([0 0 1e-2], 'hydrophone', -1)
%!error <along must not be the normal> ...
%! call([0 0 1e-2], 'hydrophone', 1e-3, 'normal', [0 1 0], 'along', [0 2 0])
%!error <normal must be a direction> call([0 0 1e-2], 'hydrophone', 1e-3, 'normal', 1)
%!error <points must be N by 3> call(1, 'hydrophone', 1e-3)
%!error <give velocity> call([0 0 1e-2], 'hydrophone', 1e-3, 'power', 1)
%!error <takes no mode> call([0 0 1e-2], 'hydrophone', 1e-3, 'mode', 'cpu')
