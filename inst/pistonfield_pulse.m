function [p, t, info] = pistonfield_pulse(source, grid, varargin)
  % pistonfield_pulse: the pressure over time that a pulse of the velocity radiates, in Pa.
  %
  % DESCRIPTION
  %   The face of a piston, or all faces of an array, move along their normals with the velocity u(t),
  %   given by samples; before the first one and after the last one it is 0. The pressure at a point is
  %
  %     p(t) = rho / (2*pi) * integral of u'(t - R/c) / R over the faces' surface.
  %
  %   It is computed from the pulse's spectrum: a field for each frequency, within a tolerance, and
  %   their sum. Frequencies that the tolerance does not need are left out. Times begin with the first
  %   arrival at any of the points, so that a distance takes no time, and end with the last one of the
  %   pulse's end. Of a medium with losses that holds of each frequency, with its own wavenumber.
  %
  %   info.error estimates how far the pressures are off. What a signal has near half the rate is off
  %   by most: take a rate of eight times the highest frequency that matters, or more.
  %
  %   Frequencies next to each other are computed together where that is faster. The call shows its
  %   progress and ends on Ctrl-C. Its memory is 16 bytes for each point and frequency, and 24 for
  %   each point and time.
  %
  % USAGE
  %   [p, t] = pistonfield_pulse(source, grid, 'signal', u, 'rate', fs)
  %   [p, t] = pistonfield_pulse(source, points, 'signal', u, 'rate', fs)
  %   [p, t] = pistonfield_pulse(source, grid, 'amplitudes', a, 'step', df)
  %   [p, t, info] = pistonfield_pulse(source, grid, 'signal', u, 'rate', fs, name, value, ...)
  %
  % INPUTS
  %   source       - a piston or an array, as pistonfield_pressure takes them; or a disc, a struct with
  %                  the field radius [m], and center and orientation as a piston may have
  %   grid         - the points [m], made by pistonfield_grid; none may lie behind the source, but
  %                  with 'behind'
  %   points       - instead of the grid, any points [m]: an N by 3 matrix, or a struct with the
  %                  fields x, y and z
  %   'signal'     - the velocity's samples [m/s], two or more, at the times 0, 1/fs, 2/fs, ...
  %   'rate'       - fs, samples per second [Hz]
  %   'amplitudes' - instead of the signal: complex amplitudes [m/s] of the frequencies 0, df, 2*df,
  %                  ..., so that u(t) is the real part of their sum with exp(2i*pi*n*df*t), for one
  %                  period, 1/df, from the time 0 on
  %   'step'       - df [Hz], with amplitudes. The rate is then four samples a period of the highest
  %                  frequency
  %
  % OPTIONAL INPUTS (names and values)
  %   'speed'      - speed of sound [m/s]; default 1482, water at 20 degrees Celsius
  %   'density'    - density [kg/m^3]; default 998, water at 20 degrees Celsius
  %   'attenuation', 'exponent', 'dispersion', 'dispersionfrequency'
  %                - losses of the medium, as pistonfield_pressure takes them; default none
  %   'weights'    - of an array, N by 1: the elements' velocities, in units of the signal; default 1
  %   'delays'     - of an array, N numbers: how much later each element moves [s]; default 0
  %   'tolerance'  - the largest error of each frequency's field, relative to its largest |p|, and
  %                  twice what is left out of the signal; above 0 and below 1, default 1e-3
  %   'precision'  - of the arithmetic: 'double' (default) or 'single'
  %   'behind'     - true: points behind the source are asked for; they have the pressure of the
  %                  points mirrored in its plane. Default false
  %   'threads'    - the most threads to compute with
  %   'progress'   - 'none', 'text', 'waitbar' or 'auto' (default): text once the call takes longer
  %                  than 3 s
  %
  % OUTPUTS
  %   p            - pressure [Pa], one more dimension than the points: of an N by 3 matrix N by
  %                  times; of a grid its sizes, and times
  %   t            - the times [s], a row: whole multiples of 1/fs
  %   info         - struct with the fields
  %                    error        an estimate of the largest error, relative to the largest |p|:
  %                                 the sum of the next four
  %                    sampling     of what the signal has in the topmost eighth of its frequencies
  %                    dropped      of the frequencies that are left out
  %                    fields       of all computed frequencies' tolerances
  %                    folded       the largest |p| where nothing has arrived or all is over
  %                    frequencies  the number of those that were computed
  %                    seconds      the time it took [s]
  %
  % EXAMPLES
  %   % Four periods of 1 MHz from a disc of 10 mm: the plane wave and, later, that of the rim.
  %   fs = 16e6;
  %   u = sin(2 * pi * 1e6 * (0:64) / fs) .* sin(pi * (0:64) / 64) .^ 2;
  %   [p, t] = pistonfield_pulse(struct('radius', 10e-3), [0 0 20e-3], 'signal', u, 'rate', fs);
  %   plot(t * 1e6, p / 1e6);
  %
  % See also: pistonfield_pressure, pistonfield_array, pistonfield_grid

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_pulse';
  start = tic();
  require(nargin >= 2, caller, 'arguments', 'give a source, a grid and the signal');
  require_module(caller);
  options = read_pulse_options(caller, varargin);
  [source, radiating] = read_source(caller, source, options);
  [place, shape] = read_place(caller, source, grid, options.behind);
  modes = struct('double', 'cpu', 'single', 'cpusp');

  names = struct('elements', 'array', 'wavenumber', 'speed', ...
                 'dispersionFrequency', 'dispersionfrequency');
  progress = start_progress(caller, options.progress);
  answer = ask_module(caller, names, 'pulse', place{:}, radiating{:}, double(options.behind), ...
                      modes.(options.precision), options.tolerance, real(options.samples), ...
                      options.imaginary, options.perSecond, options.medium, options.delays, ...
                      options.threads, @(done) tell_progress(progress, done));
  tell_progress(progress, 1);
  perSecond = options.perSecond;
  if ~isempty(options.imaginary)
    perSecond = perSecond * 4 * (numel(options.samples) - 1);
  end
  times = answer(2);
  p = reshape(options.density * options.speed * answer(8:end), [shape, times]);
  t = (round(answer(1) * perSecond) + (0:times - 1)) / perSecond;
  info = struct('error', sum(answer(4:7)), 'sampling', answer(4), 'dropped', answer(5), ...
                'fields', answer(6), 'folded', answer(7), 'frequencies', answer(3), ...
                'seconds', toc(start));
end

% The options, checked; samples are those of the signal or of its spectrum, perSecond their rate or
% step, and imaginary the parts of a spectrum.
function options = read_pulse_options(caller, given)
  defaults = struct('signal', [], 'rate', [], 'amplitudes', [], 'step', [], 'speed', 1482, ...
                    'density', 998, 'attenuation', [], 'exponent', [], 'dispersion', [], ...
                    'dispersionfrequency', [], 'weights', [], 'delays', [], 'tolerance', 1e-3, ...
                    'precision', 'double', 'behind', false, 'threads', [], 'progress', 'auto');
  options = read_options(caller, defaults, given);
  bySpectrum = ~isempty(options.amplitudes);
  require(bySpectrum ~= ~isempty(options.signal), caller, 'signal', ...
          'give signal and rate, or amplitudes and step');
  names = {'signal', 'rate'};
  if bySpectrum
    names = {'amplitudes', 'step'};
  end
  samples = options.(names{1});
  require(isnumeric(samples) && isvector(samples) && (bySpectrum || isreal(samples)), caller, ...
          names{1}, '%s must be numbers in a row or a column', names{1});
  require(~isempty(options.(names{2})), caller, names{2}, '%s is missing: give it in Hz', names{2});
  options = require_positive_options(caller, options, ...
                                     {names{2}, 'speed', 'density', 'tolerance'});
  options.samples = double(full(samples(:)));
  options.imaginary = [];
  if bySpectrum
    options.imaginary = imag(options.samples);
  end
  options.medium = medium_of_pulse(caller, options);
  options.perSecond = options.(names{2});
  require_word(caller, 'precision', options.precision, {'double', 'single'});
  require_flag(caller, 'behind', options.behind);
  require_word(caller, 'progress', options.progress, {'none', 'text', 'waitbar', 'auto'});
  require(isempty(options.delays) || is_finite_real(options.delays), caller, 'delays', ...
          'delays must be real, finite numbers');
  options.delays = double(options.delays(:));
  if isempty(options.threads)
    options.threads = 0;
  end
  most = module_limit('most_threads');
  require(isequal(options.threads, 0) || (is_positive(options.threads) && ...
          options.threads == fix(options.threads) && options.threads <= most), ...
          caller, 'threads', 'threads must be a whole number from 1 to %d', most);
  options.threads = double(options.threads);
end

% The speed, the attenuation, the exponent and the frequency of dispersion.
function medium = medium_of_pulse(caller, options)
  options.frequency = 1e6;  % any, as no losses are given for one alone
  options.nepers = [];
  wave = read_wave(caller, options);
  medium = [options.speed; 0; 1];
  if ~isempty(options.attenuation)
    medium(2) = double(options.attenuation);
  end
  if ~isempty(options.exponent)
    medium(3) = double(options.exponent);
  end
  medium = [medium; wave.dispersionFrequency];
end

% What radiates, and as the module takes it.
function [source, radiating] = read_source(caller, given, options)
  if is_array(given)
    source = read_array(caller, given);
    weights = read_weights(caller, options.weights, source.count);
    radiating = {'array', source.width, source.height, source.center, source.orientation, ...
                 real(weights), imag(weights)};
    return
  end
  require(isempty(options.weights), caller, 'weights', 'weights go with an array');
  isDisc = isstruct(given) && isscalar(given) && isfield(given, 'radius');
  if isDisc && isfield(given, 'shape') && isequal(given.shape, 'disc')
    given = rmfield(given, 'shape');  % as pistonfield_piston makes it
  end
  if isDisc
    require(is_positive(given.radius), caller, 'source', ...
            'source.radius must be a length above 0');
    radius = double(given.radius);
    given = rmfield(given, 'radius');
    [given.width, given.height] = deal(2 * radius);
  end
  source = read_piston(caller, given);
  if isDisc
    radiating = {'disc', radius, [], [], [], [], []};
  else
    radiating = {'piston', source.width, source.height, [], [], [], []};
  end
end

% Where the points lie, in the frame of a piston, and the shape of values at them.
function [place, shape] = read_place(caller, source, given, behind)
  require(isstruct(given) || is_point_list(given), caller, 'grid', ...
          ['grid must be a struct made by pistonfield_grid, or a list of points: an N by 3 matrix, ', ...
           'or a struct with x, y and z']);
  isArray = isfield(source, 'count');
  if is_point_list(given)
    [points, shape] = read_points(caller, given);
    if ~isstruct(given)
      shape = shape(1);
    end
    if ~isArray
      points = points_before(caller, source, points, behind);
    end
    place = {'list', points.x, points.y, points.z};
    return
  end
  require_grid(caller, given);
  shape = given.sizes;
  transform = given.transform;
  if ~isArray
    transform = place_before(caller, source, given, behind);
  end
  place = {'lattice', transform, given.sizes, []};
end

%!shared fs, u, c, disc
%! fs = 16e6;
%! c = 1482;
%! u = @(t) (t > 0 & t < 4e-6) .* sin(2e6 * pi * t) .* sin(pi * t / 4e-6) .^ 2;
%! disc = struct('radius', 10e-3);

%!test % on its axis a disc has a plane wave, and that of its rim
%! [p, t, info] = pistonfield_pulse(disc, [0 0 5e-3; 0 0 60e-3], 'signal', u((0:64) / fs), ...
%!                                  'rate', fs, 'tolerance', 1e-4);
%! z = [5e-3; 60e-3];
%! expected = 998 * c * (u(t - z / c) - u(t - hypot(z, 10e-3) / c));
%! assert(size(p), [2, numel(t)]);
%! assert(info.error < 1e-3);
%! assert(max(abs(p(:) - expected(:))) <= info.error * max(abs(p(:))));
%! assert(info.error, info.sampling + info.dropped + info.fields + info.folded, 1e-15);
%! assert(t(1) <= 5e-3 / c && t(1) > 5e-3 / c - 1.001 / fs);
%! assert(diff(t), ones(1, numel(t) - 1) / fs, 1e-15);

%!test % a disc that is moved and turned, in another medium
%! turn = [cosd(30) 0 sind(30); 0 1 0; -sind(30) 0 cosd(30)];
%! other = struct('radius', 10e-3, 'center', [1 2 3] * 1e-3, 'orientation', turn);
%! point = [1 2 3] * 1e-3 + 20e-3 * turn(:, 3).';
%! options = {'signal', u((0:64) / fs), 'rate', fs, 'speed', 1540, 'density', 1050};
%! [p, t] = pistonfield_pulse(other, point, options{:});
%! [q, s] = pistonfield_pulse(disc, [0 0 20e-3], options{:});
%! assert(s, t);
%! assert(p, q, 1e-2 * max(abs(q)));

%!test % a rectangle is the sum over its surface; a grid has its sizes
%! piston = struct('width', 8e-3, 'height', 5e-3);
%! grid = pistonfield_grid([0 3] * 1e-3, 1e-3, [10 15] * 1e-3);
%! [p, t, info] = pistonfield_pulse(piston, grid, 'signal', u((0:64) / fs), 'rate', fs, ...
%!                                  'tolerance', 1e-4);
%! assert(size(p), [2 1 2 numel(t)]);
%! [x, y] = ndgrid(((1:200) - 100.5) / 200 * 8e-3, ((1:200) - 100.5) / 200 * 5e-3);
%! R = sqrt((x - 3e-3) .^ 2 + (y - 1e-3) .^ 2 + 10e-3 ^ 2);
%! slope = @(t) (u(t + 1e-11) - u(t - 1e-11)) / 2e-11;
%! expected = arrayfun(@(t) sum((slope(t - R / c) ./ R)(:)), t(1:9:end)) * 998 / (2 * pi) * 1e-9;
%! assert(squeeze(p(2, 1, 1, 1:9:end)).', expected, (info.error + 2e-4) * max(abs(p(:))));

%!test % the elements of an array have weights, and delays that focus
%! array = pistonfield_array('line', 'elements', 8, 'width', 0.8e-3, 'height', 5e-3, 'pitch', 1e-3);
%! point = [0 0 20e-3];
%! far = hypot(array.center(1, :), 20e-3);
%! w = (1:8).' / 8;
%! options = {'signal', u((0:64) / fs), 'rate', fs};
%! p = pistonfield_pulse(array, point, options{:}, 'weights', w, 'delays', (max(far) - far) / c);
%! alone = 0;
%! for i = 1:8
%!   one = struct('width', 0.8e-3, 'height', 5e-3, 'center', array.center(:, i));
%!   alone = alone + w(i) * max(abs(pistonfield_pulse(one, point, options{:})));
%! end
%! assert(max(abs(p)), alone, 0.03 * alone);

%!test % losses, and the phase speed that goes with them, on the axis of a disc
%! signal = u((0:64) / fs);
%! n = 4096;  % a period of far more than the pulse takes
%! f = (1:n / 2 - 1) * fs / n;
%! spectrum = fft(signal, n)(2:n / 2);
%! point = [0 0 20e-3];
%! for exponent = [1 1.5]
%!   for dispersion = [false true]
%!     nepers = 100 * log(10) / 20 * 3 * (f / 1e6) .^ exponent;
%!     k = 2 * pi * f / c;
%!     if dispersion && exponent == 1
%!       k = k - 2 / pi * nepers .* log(f / 1e6);
%!     elseif dispersion
%!       k = k + tan(pi * exponent / 2) * nepers .* (1 - (f / 1e6) .^ (1 - exponent));
%!     end
%!     lossy = k - 1i * nepers;
%!     field = 998 * 2 * pi * f ./ lossy .* ...
%!             (exp(-1i * lossy * 20e-3) - exp(-1i * lossy * hypot(20e-3, 10e-3)));
%!     options = {'signal', signal, 'rate', fs, 'attenuation', 3, 'exponent', exponent, ...
%!                'dispersion', dispersion, 'tolerance', 1e-5};
%!     [p, t, info] = pistonfield_pulse(disc, point, options{:});
%!     expected = 2 / n * real((field .* spectrum) * exp(2i * pi * f.' * t));
%!     assert(p(:).', expected, (info.error + 1e-4) * max(abs(expected)));
%!   end
%! end

%!test % amplitudes of frequencies stand for one period of their sum
%! a = [0 0 0 1 2i 0.5];
%! df = 2e5;
%! rate = 20 * df;
%! samples = real(exp(2i * pi * df * (0:19).' / rate * (0:5)) * a.').';
%! [p, t] = pistonfield_pulse(disc, [0 0 30e-3], 'amplitudes', a, 'step', df);
%! [q, s] = pistonfield_pulse(disc, [0 0 30e-3], 'signal', samples, 'rate', rate);
%! assert(t, s, 1e-15);
%! assert(p, q, 1e-9 * max(abs(q)));

%!test % progress is told when it is asked for, and not of a short pulse by itself
%! call = @(varargin) pistonfield_pulse(disc, [0 0 5e-3], 'signal', u((0:64) / fs), 'rate', fs, ...
%!                                      varargin{:});
%! assert(evalc('call();'), '');
%! shown = evalc("call('progress', 'text');");
%! assert(~isempty(regexp(shown, 'pistonfield_pulse: 100 %, +\d+ s, +0 s left\n$')));

%!error <progress must be one of: none>
%! pistonfield_pulse(disc, [0 0 1], 'signal', [0 1 0], 'rate', 1e6, 'progress', 'loud');
%!error id=pistonfield:pistonfield_pulse:arguments pistonfield_pulse(disc)
%!error <give signal and rate, or amplitudes and step> pistonfield_pulse(disc, [0 0 1])
%!error <rate is missing> pistonfield_pulse(disc, [0 0 1], 'signal', [0 1 0])
%!error <step is missing> pistonfield_pulse(disc, [0 0 1], 'amplitudes', [0 1 0])
%!error <signal must be numbers> pistonfield_pulse(disc, [0 0 1], 'signal', 'x', 'rate', 1)
%!error id=pistonfield:pistonfield_pulse:signal
%! pistonfield_pulse(disc, [0 0 1], 'signal', [0 0], 'rate', 1e6);
%!error <tolerance: must be above 0 and below 1>
%! pistonfield_pulse(disc, [0 0 1], 'signal', [0 1 0], 'rate', 1e6, 'tolerance', 2);
%!error <weights go with an array>
%! pistonfield_pulse(disc, [0 0 1], 'signal', [0 1 0], 'rate', 1e6, 'weights', 1);
%!error <delays: 2 are not one for each element of an array>
%! pistonfield_pulse(disc, [0 0 1], 'signal', [0 1 0], 'rate', 1e6, 'delays', [1 2]);
%!error <exponent goes with attenuation>
%! pistonfield_pulse(disc, [0 0 1], 'signal', [0 1 0], 'rate', 1e6, 'exponent', 2);
%!error <attenuation: must be 0 or above>
%! pistonfield_pulse(disc, [0 0 1], 'signal', [0 1 0], 'rate', 1e6, 'attenuation', -1);
%!error <source.radius must be a length above 0>
%! pistonfield_pulse(struct('radius', -1), [0 0 1], 'signal', [0 1 0], 'rate', 1e6);
%!error id=pistonfield:pistonfield_pulse:behind
%! pistonfield_pulse(disc, [0 0 -1], 'signal', [0 1 0], 'rate', 1e6);
%!error <threads must be a whole number>
%! pistonfield_pulse(disc, [0 0 1], 'signal', [0 1 0], 'rate', 1e6, 'threads', 0.5);
%!error <grid must be a struct> pistonfield_pulse(disc, 7, 'signal', [0 1 0], 'rate', 1e6)
