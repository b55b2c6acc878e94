function [weights, info] = pistonfield_focus(array, points, varargin)
  % pistonfield_focus: complex weights that focus or steer an array.
  %
  % DESCRIPTION
  %   Finds how the elements of an array are to be driven. At one point the waves of all elements
  %   arrive in phase: the phases are those of the elements' own fields there, not of distances. At
  %   several points the pressures are those demanded, by the weights of the least norm that do so
  %   (Ebbini and Cain, IEEE Trans. UFFC 36, 540-548, 1989). 'steer' and 'plane_wave' give the phases
  %   of a plane wave at the elements' centres.
  %
  %   What is found goes into the option 'weights' of pistonfield_pressure.
  %
  % USAGE
  %   w = pistonfield_focus(array, point, 'frequency', f)
  %   w = pistonfield_focus(array, points, 'frequency', f, 'pressures', p)
  %   w = pistonfield_focus(array, [], 'frequency', f, 'steer', [azimuth elevation])
  %   [w, info] = pistonfield_focus(array, points, 'frequency', f, name, value, ...)
  %
  % INPUTS
  %   array        - made by pistonfield_array, or a struct as pistonfield_pressure takes it
  %   points       - the foci [m]: N by 3, rows of x, y and z, or a struct with the fields x, y and z;
  %                  at most 256. [] with 'steer' and 'plane_wave'
  %   'frequency'  - frequency [Hz]
  %
  % OPTIONAL INPUTS (names and values)
  %   'speed'      - speed of sound [m/s]; default 1482, water at 20 degrees Celsius
  %   'density'    - density [kg/m^3]; default 998, water at 20 degrees Celsius
  %   'attenuation' - the medium's losses [dB/(cm MHz^y)], with which the elements' own fields are
  %                  found; this and the next ones are as those of pistonfield_pressure
  %   'exponent'   - y; default 1
  %   'nepers'     - instead of the attenuation: the losses at the frequency [Np/m]
  %   'dispersion' - true: the phase speed depends on the frequency as losses demand; default false
  %   'dispersionfrequency' - where the phase speed is the speed [Hz]; default 1e6
  %   'baffle'     - the plane about each element: 'rigid' (default), 'soft' or 'free'
  %   'velocity'   - the amplitude u0 that pistonfield_pressure is to have [m/s]; default 1. Pressures
  %                  in Pa depend on it, and on the density
  %   'pressures'  - the complex pressures that are demanded at the points [Pa], one for each. By
  %                  default all are equal, and such that the largest |weight| is 1
  %   'drive_limit' - the weights are scaled such that the largest |weight| is this one, before
  %                  'apodization' and what rounds them. Default 1, or no scaling with 'pressures'
  %   'iterations' - for several points: so often at most the weights are found again such that their
  %                  magnitudes are more even, with the same pressures; default 0
  %   'least_ratio' - for several points: singular values below this part of the largest one are
  %                  dropped; default 1e-6, at least 1e-7
  %   'steer'      - instead of points: [azimuth elevation] of a plane wave [degrees]; the azimuth is
  %                  the angle from z towards x, the elevation from there towards y, both within
  %                  -90 to 90. The elevation is 0 where it is left out
  %   'plane_wave' - instead of points: the direction of a plane wave, 3-vector of any length
  %   'apodization' - a window that multiplies the weights: 'rectangular', 'hann', 'hamming',
  %                  'blackman', or one with a parameter: {'tukey', r} that falls over the outer part
  %                  r, {'kaiser', beta}, {'gaussian', sigma} with sigma in half widths of the array
  %   'along'      - what the window lies along: 'x' (default), 'y', or 'radius', the distance from
  %                  the middle. It ends at the rim of the array
  %   'quantized'  - the delays of the weights are rounded to multiples of this step [s], at most half
  %                  a period
  %   'phase_bits' - the phases are rounded to 2^bits in a period
  %   'amplitude_levels' - the magnitudes are rounded to so many levels from 0 to the largest one
  %   'tolerance'  - largest error of the elements' fields at the points, relative to 'local'; default
  %                  1e-8
  %   'behind'     - true: points behind elements are asked for, see pistonfield_pressure. Default
  %                  false: they are refused
  %   'threads'    - the most threads to compute with, as for pistonfield_pressure. Weights do not
  %                  depend on it
  %
  % OUTPUTS
  %   weights      - N by 1, complex, one for each element
  %   info         - struct with the fields
  %                    pressures   at the points, with these weights, rounded ones as well [Pa]; one for
  %                                each row of points. Empty without points
  %                    drive       the largest |weight|
  %                    efficiency  the mean of |weight|^2 over the square of the largest one: 1 where
  %                                all elements are driven equally
  %                    dropped     the number of singular values that were dropped
  %                    least_kept  the least one that was kept, over the largest one; NaN where none
  %                                were taken
  %                    residual    the largest difference of a pressure from the demanded one, both
  %                                without the scaling by 'drive_limit', over the largest that is
  %                                demanded; before 'apodization' and what rounds the weights. NaN
  %                                where nothing was demanded
  %                    scale       what 'drive_limit' multiplied weights and pressures by
  %                    iterations  that were made
  %                    wavenumber  2*pi*frequency / speed, of the phase [rad/m]
  %
  % EXAMPLES
  %   array = pistonfield_array('matrix', 'elements', [32 32], 'pitch', 1e-3, 'width', 0.9e-3, ...
  %                             'height', 0.9e-3);
  %
  %   % One focus, on the axis.
  %   w = pistonfield_focus(array, [0 0 40e-3], 'frequency', 1e6);
  %
  %   % Two foci with 1 MPa each, in opposite phase.
  %   [w, info] = pistonfield_focus(array, [-5e-3 0 40e-3; 5e-3 0 40e-3], 'frequency', 1e6, ...
  %                                 'pressures', [1e6, -1e6]);
  %
  %   % A plane wave to the side, with a window and delays in steps of 10 ns.
  %   w = pistonfield_focus(array, [], 'frequency', 1e6, 'steer', 20, 'apodization', 'hann', ...
  %                         'quantized', 10e-9);
  %
  % See also: pistonfield_array, pistonfield_pressure, pistonfield_plot

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_focus';
  require(nargin >= 2, caller, 'arguments', 'give an array, points and the frequency');
  require_module(caller);
  require(is_array(array), caller, 'array', ...
          'array, which comes first, must be a struct made by pistonfield_array');
  array = read_array(caller, array);
  options = read_focus_options(caller, varargin);
  way = way_of(caller, points, options);
  medium = read_medium(caller, options);
  ask = asker(caller, array, medium);
  info = struct('pressures', [], 'drive', NaN, 'efficiency', NaN, 'dropped', 0, ...
                'least_kept', NaN, 'residual', NaN, 'scale', 1, 'iterations', 0, ...
                'wavenumber', medium.wavenumber);
  options.speed = medium.speed;
  if strcmp(way, 'points')
    points = read_points(caller, points);
    warn_of_far_foci(array, points, info.wavenumber);
    [weights, info] = focused(caller, ask, points, options, info);
  else
    weights = ask_module(caller, names_for_focus(), 'weights_of_plane_wave', array.width, ...
                         array.height, array.center, array.orientation, medium.wavenumber, ...
                         direction_of(caller, way, options));
    weights = weights * first_of(options.drive_limit, 1);
  end
  weights = apodized(caller, array, weights, options);
  weights = rounded(caller, weights, options);
  info.drive = max(abs(weights));
  info.efficiency = mean(abs(weights) .^ 2) / info.drive ^ 2;
  if strcmp(way, 'points') && nargout > 1
    own = ask('element_pressures', points.x, points.y, points.z, options.tolerance, options.behind, ...
              options.threads);
    info.pressures = unit_of(options) * (own.' * weights);
  end
end

function options = read_focus_options(caller, given)
  defaults = struct('frequency', [], 'speed', 1482, 'density', 998, 'velocity', 1, ...
                    'pressures', [], 'drive_limit', [], 'iterations', 0, 'least_ratio', 1e-6, ...
                    'steer', [], 'plane_wave', [], 'apodization', [], 'along', 'x', ...
                    'quantized', [], 'phase_bits', [], 'amplitude_levels', [], ...
                    'tolerance', 1e-8, 'behind', false, 'threads', []);
  options = read_options(caller, medium_defaults(defaults), given);
  require(~isempty(options.frequency), caller, 'frequency', 'frequency is missing: give it in Hz');
  maybe = {'drive_limit', 'quantized', 'phase_bits', 'amplitude_levels'};
  maybe = maybe(~cellfun(@(name) isempty(options.(name)), maybe));
  options = require_positive_options(caller, options, [{'frequency', 'speed', 'density', ...
                                                        'velocity', 'least_ratio', 'tolerance'}, ...
                                                       maybe]);
  require(is_finite_real(options.iterations) && isscalar(options.iterations), caller, ...
          'iterations', 'iterations must be a whole number of at least 0');
  options.iterations = double(options.iterations);
  require_flag(caller, 'behind', options.behind);
  options.behind = double(options.behind);
  options.threads = read_threads(caller, options.threads);
  require_word(caller, 'along', options.along, {'x', 'y', 'radius'});
end

% One of what there is to aim at.
function way = way_of(caller, points, options)
  given = [~isempty(points), ~isempty(options.steer), ~isempty(options.plane_wave)];
  require(any(given), caller, 'points', ...
          'give points, or [] in their place and steer or plane_wave');
  ways = {'points', 'steer', 'plane_wave'};
  ways = ways(given);
  require(numel(ways) == 1, caller, ways{end}, 'give %s or %s, not both', ways{1}, ways{end});
  way = ways{1};
  require(~strcmp(way, 'points') || is_point_list(points), caller, 'points', ...
          'points must be N by 3: rows of x, y and z; or a struct with x, y and z');
  require(strcmp(way, 'points') || isempty(options.pressures), caller, 'pressures', ...
          'pressures are demanded at points, which there are none of');
end

% Nobody focuses there; mm are soon taken for m.
function warn_of_far_foci(array, points, k)
  middle = mean(array.center, 2);
  away = max(sqrt((points.x - middle(1)) .^ 2 + (points.y - middle(2)) .^ 2 + ...
                  (points.z - middle(3)) .^ 2));
  wavelengths = away * k / (2 * pi);
  if wavelengths > 1e4
    warning('pistonfield:units', ...
            ['a focus lies %g wavelengths away from the array: lengths are in m, the speed in m/s, ', ...
             'the frequency in Hz'], wavelengths);
  end
end

% What the functions call what the module names.
function names = names_for_focus()
  names = struct('elements', 'array', 'leastRatio', 'least_ratio', 'largestWeight', 'drive_limit', ...
                 'direction', 'plane_wave');
end

% A question to the module about the elements' waves at points: ask(question, ...).
function ask = asker(caller, array, medium)
  ask = @(question, varargin) ask_module(caller, names_for_focus(), question, array.width, ...
                                         array.height, array.center, array.orientation, ...
                                         medium.wavenumber, medium.attenuation, medium.baffle, ...
                                         varargin{:});
end

function [weights, info] = focused(caller, ask, points, options, info)
  place = {points.x, points.y, points.z};
  if numel(points.x) == 1 && isempty(options.pressures)
    info.scale = first_of(options.drive_limit, 1);
    weights = info.scale * ask('weights_of_focus', place{:}, options.tolerance, options.behind, ...
                               options.threads);
    return
  end
  demanded = demanded_pressures(caller, numel(points.x), options);
  limit = first_of(options.drive_limit, isempty(options.pressures));
  found = ask('weights_of_foci', place{:}, real(demanded), imag(demanded), options.tolerance, ...
              options.least_ratio, double(limit), options.iterations, options.behind, ...
              options.threads);
  names = {'dropped', 'least_kept', 'efficiency', 'iterations', 'scale', 'residual'};
  for i = 1:numel(names)
    info.(names{i}) = found(i);
  end
  parts = reshape(found(numel(names) + 1:end), [], 2);
  weights = complex(parts(:, 1), parts(:, 2));
end

% Without unit, as the module takes them.
function demanded = demanded_pressures(caller, count, options)
  demanded = ones(count, 1);
  if ~isempty(options.pressures)
    require(isnumeric(options.pressures) && numel(options.pressures) == count, caller, ...
            'pressures', 'pressures must be %d complex or real numbers, one for each point', count);
    demanded = double(options.pressures(:)) / unit_of(options);
  end
end

% The pressure of a plane wave with the velocity.
function unit = unit_of(options)
  unit = 1i * options.density * options.speed * options.velocity;
end

function direction = direction_of(caller, way, options)
  if strcmp(way, 'plane_wave')
    direction = options.plane_wave;
    require(is_finite_real(direction) && numel(direction) == 3, caller, 'plane_wave', ...
            'plane_wave must be three real, finite numbers');
    direction = double(direction(:));
    return
  end
  angles = options.steer;
  require(is_finite_real(angles) && numel(angles) <= 2, caller, 'steer', ...
          'steer must be one or two angles in degrees: azimuth and elevation');
  require(all(abs(angles(:)) <= 90), caller, 'steer', ...
          'steer must be angles from -90 to 90 degrees: beyond them waves go behind the array');
  angles = [double(angles(:)); 0] * pi / 180;
  direction = ask_module(caller, struct(), 'direction', angles(1), angles(2));
end

function value = first_of(value, default)
  if isempty(value)
    value = default;
  end
end

function weights = apodized(caller, array, weights, options)
  if isempty(options.apodization)
    return
  end
  given = options.apodization;
  if ischar(given)
    given = {given};
  end
  plain = {'rectangular', 'hann', 'hamming', 'blackman'};
  tunable = {'tukey', 'kaiser', 'gaussian'};
  isWindow = iscell(given) && any(numel(given) == [1, 2]) && ischar(given{1});
  require(isWindow && any(strcmp(given{1}, [plain, tunable])), caller, 'apodization', ...
          'apodization must be one of: %s; or {%s, a number}', strjoin(plain, ', '), ...
          strjoin(tunable, ' or '));
  if any(strcmp(given{1}, plain))
    require(isscalar(given), caller, 'apodization', '%s takes no number', given{1});
    given{2} = 0;
  end
  require(numel(given) == 2 && is_finite_real(given{2}) && isscalar(given{2}), caller, ...
          'apodization', '%s takes a number: {''%s'', 0.5}', given{1}, given{1});
  values = ask_module(caller, struct('window', 'apodization', 'elements', 'array'), 'window', ...
                      array.width, array.height, array.center, array.orientation, given{1}, ...
                      double(given{2}), options.along);
  weights = weights .* values(:);
end

function weights = rounded(caller, weights, options)
  names = struct('step', 'quantized', 'bits', 'phase_bits', 'levels', 'amplitude_levels');
  kinds = {'delays', options.quantized, {options.frequency}
           'phases', options.phase_bits, {}
           'amplitudes', options.amplitude_levels, {}};
  for i = 1:size(kinds, 1)
    if ~isempty(kinds{i, 2})
      weights = ask_module(caller, names, 'quantised_weights', real(weights), imag(weights), ...
                           kinds{i, 1}, kinds{i, 2}, kinds{i, 3}{:});
    end
  end
end

%!shared array, at, aim, pressures
%! array = pistonfield_array('convex', 'elements', 9, 'radius', 30e-3, 'pitch', 2e-3, ...
%!                           'width', 1.5e-3, 'height', 5e-3);
%! at = @(points, w, varargin) pistonfield_pressure(array, points, 'frequency', 1e6, 'weights', w, ...
%!                                                  'tolerance', 1e-10, varargin{:});
%! aim = @(varargin) pistonfield_focus(array, varargin{:}, 'frequency', 1e6);

%!test % at the focus the pressure is the sum of the magnitudes of the elements' own
%! focus = [3 1 20] * 1e-3;
%! [w, info] = aim(focus);
%! assert(size(w), [9 1]);
%! assert(abs(w), ones(9, 1), 1e-12);
%! own = at(focus, eye(9));
%! assert(abs(at(focus, w)), sum(abs(own(:))), 1e-7 * sum(abs(own(:))));
%! assert(info.pressures, at(focus, w), 1e-7 * abs(info.pressures));
%! assert(info.drive, 1, 1e-12);
%! assert(info.efficiency, 1, 1e-12);
%! assert(info.dropped == 0 && info.scale == 1 && isnan(info.residual));
%! assert(info.wavenumber, 2 * pi * 1e6 / 1482, 1e-9);

%!test % it is the medium that decides, and the drive may be another one
%! focus = [3 1 20] * 1e-3;
%! w = aim(focus, 'speed', 1000, 'drive_limit', 3);
%! assert(abs(w), 3 * ones(9, 1), 1e-12);
%! own = at(focus, eye(9), 'speed', 1000);
%! assert(abs(at(focus, w, 'speed', 1000)), 3 * sum(abs(own(:))), 1e-6 * sum(abs(own(:))));

%!test % an array of shapes, in a medium with losses and before a soft baffle, is focused by its field
%! rings = pistonfield_array('annular', 'radius', 12e-3, 'elements', 4);
%! medium = {'attenuation', 1, 'dispersion', true, 'baffle', 'soft', 'frequency', 2e6};
%! focus = [1 0 25] * 1e-3;
%! [w, info] = pistonfield_focus(rings, focus, medium{:});
%! own = pistonfield_pressure(rings, focus, medium{:}, 'weights', eye(4), 'tolerance', 1e-9);
%! assert(angle(w .* own(:) ./ (w(1) * own(1))), zeros(4, 1), 1e-6);
%! assert(info.pressures, own(:).' * w, 1e-6 * abs(info.pressures));
%! foci = [1 0 25; -1 0 30] * 1e-3;
%! w = pistonfield_focus(rings, foci, medium{:}, 'pressures', [1e5, -2e5]);
%! p = pistonfield_pressure(rings, foci, medium{:}, 'weights', w, 'tolerance', 1e-9);
%! assert(p, [1e5; -2e5], 1);

%!test % several foci have the pressures that are demanded, in Pa, with the least norm
%! foci = [3 1 20; -4 0 25; 0 -1 15] * 1e-3;
%! demanded = [1e5; -2e5i; 5e4];
%! medium = {'velocity', 0.2, 'density', 1050, 'speed', 1540};
%! [w, info] = aim(foci, 'pressures', demanded, medium{:});
%! assert(at(foci, w, medium{:}), demanded, 1e-6 * 2e5);
%! assert(info.pressures, demanded, 1e-6 * 2e5);
%! assert(info.residual < 1e-6 && info.dropped == 0 && info.least_kept > 1e-3);
%! own = zeros(3, 9);
%! own(:) = at(foci, eye(9), medium{:});
%! assert(w, pinv(own) * demanded, 1e-6 * norm(w));
%! assert(info.drive, max(abs(w)), 1e-12);
%! assert(info.efficiency, mean(abs(w) .^ 2) / max(abs(w)) ^ 2, 1e-9);
%! points = struct('x', foci(:, 1), 'y', foci(:, 2), 'z', foci(:, 3));
%! assert(aim(points, 'pressures', demanded.', medium{:}), w);

%!test % without pressures they are equal and the largest weight is 1; iterations even the weights out
%! foci = [3 1 20; -4 0 25] * 1e-3;
%! [w, info] = aim(foci);
%! assert(max(abs(w)), 1, 1e-9);
%! p = at(foci, w);
%! assert(p(2), p(1), 1e-6 * abs(p(1)));
%! assert(info.pressures, p, 1e-6 * abs(p(1)));
%! [even, better] = aim(foci, 'iterations', 100, 'drive_limit', 2);
%! assert(max(abs(even)), 2, 1e-9);
%! assert(better.efficiency > info.efficiency && better.iterations > 0);
%! p = at(foci, even);
%! assert(p(2), p(1), 1e-6 * abs(p(1)));

%!test % one point with a pressure has it, at the least norm
%! [w, info] = aim([0 0 0.02], 'pressures', 3e4i);
%! assert(at([0 0 0.02], w), 3e4i, 1e-3);
%! own = at([0 0 0.02], eye(9));
%! assert(w, 3e4i * conj(own(:)) / sum(abs(own(:)) .^ 2), 1e-6 * norm(w));
%! w2 = aim([0 0 0.02], 'pressures', 3e4i, 'drive_limit', 0.5);
%! assert(max(abs(w2)), 0.5, 1e-9);

%!test % more points than elements: singular values may be dropped, and the residual tells
%! angle = linspace(0, 2 * pi, 13)(1:12).';
%! foci = [1e-4 * cos(angle), 1e-4 * sin(angle), 20e-3 * ones(12, 1)];
%! [~, info] = aim(foci, 'pressures', (-1) .^ (1:12), 'least_ratio', 1e-2);
%! assert(info.dropped >= 3 && info.least_kept >= 1e-2 && info.residual > 0.01);

%!test % a plane wave is steered by angles or a direction
%! w = aim([], 'steer', [20 10]);
%! direction = [sind(20) * cosd(10); sind(10); cosd(20) * cosd(10)];
%! wanted = exp(-2i * pi * 1e6 / 1482 * (direction.' * array.center).');
%! assert(w, wanted, 1e-12);
%! assert(aim([], 'plane_wave', 7 * direction), wanted, 1e-12);
%! assert(aim([], 'steer', 20), aim([], 'steer', [20 0]));
%! [w, info] = aim([], 'steer', 0, 'drive_limit', 4);
%! assert(abs(w), 4 * ones(9, 1), 1e-12);
%! assert(isempty(info.pressures));

%!test % windows end at the rim of the array
%! rim = max(abs(array.center(1, :))) + 0.75e-3 * array.orientation(1, 1, 1);
%! x = array.center(1, :).' / rim;
%! plain = aim([], 'steer', 0);
%! window = @(varargin) aim([], 'steer', 0, 'apodization', varargin{:}) ./ plain;
%! assert(window('hann'), complex((1 + cos(pi * x)) / 2), 1e-9);
%! assert(window('hamming'), complex(0.54 + 0.46 * cos(pi * x)), 1e-9);
%! assert(window('rectangular'), complex(ones(9, 1)), 1e-12);
%! assert(window({'gaussian', 0.4}), complex(exp(-x .^ 2 / 2 / 0.16)), 1e-9);
%! assert(window({'tukey', 1}), complex((1 + cos(pi * x)) / 2), 1e-9);
%! assert(window('hann', 'along', 'y'), complex(ones(9, 1)), 1e-12);
%! [w, info] = aim([0 0 0.02], 'apodization', 'hann');
%! assert(info.pressures, at([0 0 0.02], w), 1e-6 * abs(info.pressures));

%!test % delays, phases and amplitudes are rounded
%! focus = [3 1 20] * 1e-3;
%! w = aim(focus, 'quantized', 50e-9);
%! steps = mod(-angle(w) / (2 * pi * 1e6), 1e-6) / 50e-9;
%! assert(steps, round(steps), 1e-6);
%! assert(w, aim(focus), 2 * sin(pi * 1e6 * 25e-9) + 1e-9);
%! w = aim(focus, 'phase_bits', 2);
%! assert(mod(angle(w) / (pi / 2) + 0.5, 1), 0.5 * ones(9, 1), 1e-9);
%! w = aim(focus, 'apodization', 'hann', 'amplitude_levels', 5);
%! levels = abs(w) / max(abs(w)) * 4;
%! assert(levels, round(levels), 1e-9);
%! [w, info] = aim(focus, 'phase_bits', 2, 'amplitude_levels', 3);
%! assert(info.pressures, at(focus, w), 1e-6 * abs(info.pressures));

%!test % points behind elements are asked for
%! low = [0 0 -20e-3];
%! w = aim(low, 'behind', true);
%! assert(abs(at(low, w, 'behind', true)), sum(abs(at(low, eye(9), 'behind', true))(:)), 1);
%! fail('aim(low)', 'points: the point .* lies behind element 1; the option .behind., true takes');

%!test % nothing is printed
%! assert(evalc('w = aim([0 0 0.02]);'), '');

%!error id=pistonfield:pistonfield_focus:arguments pistonfield_focus(array)
%!error <array, which comes first, must be a struct made by pistonfield_array>
%! pistonfield_focus(struct('width', 1, 'height', 1), [0 0 1], 'frequency', 1e6);
%!error id=pistonfield:pistonfield_focus:array
%! pistonfield_focus(setfield(array, 'width', -1), [0 0 1], 'frequency', 1e6);
%!error <frequency is missing> pistonfield_focus(array, [0 0 1])
%!error id=pistonfield:pistonfield_focus:frequency pistonfield_focus(array, [0 0 1], 'frequency', -1)
%!test % weights do not depend on the threads
%! foci = [-3e-3 0 40e-3; 3e-3 0 40e-3];
%! for points = {foci(1, :), foci}
%!   [w, info] = aim(points{1});
%!   [other, told] = aim(points{1}, 'threads', 1);
%!   assert({other, told}, {w, info});
%! end
%! assert(aim([], 'steer', 10, 'threads', 3), aim([], 'steer', 10));

%!test % waves are steered to the array's own half space
%! assert(aim([], 'steer', [90 0]), aim([], 'plane_wave', [1 0 0]), 1e-12);
%! fail('aim([], "steer", 90.1)', 'steer must be angles from -90 to 90 degrees');
%! fail('aim([], "steer", [0 -120])', 'steer must be angles from -90 to 90 degrees');

%!test % a focus so far away that it is likely to be in mm is warned of
%! fail('aim([0 0 30]);', 'warning', 'a focus lies 20243.2 wavelengths away from the array');
%! lastwarn('', '');
%! aim([0 0 0.3]);
%! assert(lastwarn(), '');

%!error <threads must be a whole number from 1 to> aim([0 0 1], 'threads', 1.5)
%!error id=pistonfield:pistonfield_focus:threads aim([], 'steer', 3, 'threads', 'all')
%!error <give points, or .. in their place and steer or plane_wave> aim([])
%!error <give points or steer, not both> aim([0 0 1], 'steer', 3)
%!error <give steer or plane_wave, not both> aim([], 'steer', 3, 'plane_wave', [0 0 1])
%!error <points must be N by 3> aim([0 0 1 2])
%!error <the z of point 1 is NaN> aim([0 0 NaN])
%!error id=pistonfield:pistonfield_focus:points aim([0 0 -1])
%!error <points: 257 are not within 1 to 256> aim(ones(257, 3))
%!error <pressures are demanded at points, which there are none of>
%! aim([], 'steer', 3, 'pressures', 1);
%!error <pressures must be 1 complex or real numbers> aim([0 0 1], 'pressures', [1 2])
%!error <pressures: every number must be finite> aim([0 0 1], 'pressures', NaN)
%!error <drive_limit must be a real, finite number above 0> aim([0 0 1], 'drive_limit', 0)
%!error <iterations must be a whole number> aim([0 0 1], 'iterations', 'many')
%!error <iterations: must be> aim([0 0 1; 1 0 1] * 0.1, 'iterations', -1)
%!error id=pistonfield:pistonfield_focus:iterations aim([0 0 1; 1 0 1] * 0.1, 'iterations', 1.5)
%!error <least_ratio: must be within 1e-7 to 1> aim([0 0 1; 1 0 1] * 0.1, 'least_ratio', 1e-9)
%!error <steer must be one or two angles> aim([], 'steer', [1 2 3])
%!error <plane_wave must be three real> aim([], 'plane_wave', [1 2])
%!error <plane_wave: must be of a length above 0> aim([], 'plane_wave', [0 0 0])
%!error <apodization must be one of: rectangular, hann> aim([0 0 1], 'apodization', 'square')
%!error id=pistonfield:pistonfield_focus:apodization aim([0 0 1], 'apodization', 3)
%!error <tukey takes a number> aim([0 0 1], 'apodization', 'tukey')
%!error <hann takes no number> aim([0 0 1], 'apodization', {'hann', 1})
%!error <apodization: the tapered part of tukey> aim([0 0 1], 'apodization', {'tukey', 2})
%!error <along must be one of: x, y, radius> aim([0 0 1], 'along', 'z')
%!error <quantized: must be a time above 0 and at most half> aim([0 0 1], 'quantized', 1e-6)
%!error <phase_bits: must be from 1 to 32> aim([0 0 1], 'phase_bits', 33)
%!error <amplitude_levels: must be from 2> aim([0 0 1], 'amplitude_levels', 1)
%!error <tolerance must be a real> aim([0 0 1], 'tolerance', 'small')
%!error id=pistonfield:pistonfield_focus:tolerance aim([0 0 0.1], 'tolerance', 1e-20)
%!error <behind must be true or false> aim([0 0 1], 'behind', 'yes')
%!error <'colour' is no option; there are: frequency, speed> aim([0 0 1], 'colour', 1)

%!test % help tells of every option
%! try
%!   aim([0 0 1], 'none', 1);
%! catch failure
%!   names = strsplit(regexp(failure.message, 'there are: (.*)$', 'tokens', 'once'){1}, ', ');
%! end
%! told = cellfun(@(name) ~isempty(strfind(help('pistonfield_focus'), ["'", name, "' "])), names);
%! assert(numel(names) > 15 && all(told), 'not in help: %s', strjoin(names(~told), ' '));
