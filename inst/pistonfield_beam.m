function [report, text] = pistonfield_beam(source, grid, varargin)
  % pistonfield_beam: what a beam is like: its peak, widths, depth of field, lobes, intensities and
  % mechanical index.
  %
  % DESCRIPTION
  %   Looks for the largest |p| within the region that a grid spans, and measures the beam there:
  %   how wide it is in three directions through the peak, how long along the axis, which side
  %   lobes and grating lobes it has, and the figures that are usual for ultrasound. The field of a
  %   source is computed wherever it is looked at, to 1e-8 of the largest |p| there; the grid says
  %   where, and its points are only where the search begins. Of a field that has been computed the
  %   values between the grid's points are interpolated, by polynomials through 6 points along each
  %   direction.
  %
  %   Without outputs it prints a table.
  %
  % USAGE
  %   pistonfield_beam(source, grid, 'frequency', f)
  %   report = pistonfield_beam(source, grid, 'frequency', f, name, value, ...)
  %   report = pistonfield_beam(p, grid, 'frequency', f, name, value, ...)
  %   [report, text] = pistonfield_beam(...)
  %
  % INPUTS
  %   source       - a piston of any shape or an array, as pistonfield_pressure takes them
  %   p            - in its place a complex pressure [Pa], as pistonfield_pressure returns it: an
  %                  array of the grid's sizes. It should have 6 points in a wavelength of |p|^2 or
  %                  more
  %   grid         - made by pistonfield_grid: the region is what lies between its outermost
  %                  points, in one, two or three directions. With more than a quarter of a
  %                  wavelength between its points the search has more of them, up to 2^21 in all
  %   'frequency'  - frequency [Hz]
  %
  % OPTIONAL INPUTS (names and values)
  %   'speed', 'density', 'weights', 'velocity', 'power', 'tolerance', 'relative', 'precision',
  %   'device', 'behind', 'memory', 'threads', 'progress', 'attenuation', 'exponent', 'nepers',
  %   'dispersion', 'dispersionfrequency', 'baffle'
  %                - as those of pistonfield_pressure, with one column of weights. The tolerance,
  %                  the precision and the device are those of the search. With p only the first
  %                  two count
  %   'axis'       - the direction that the beam goes in, 3-vector of any length. By default the
  %                  way from the source's centre, the mean of its faces, to the peak; where that
  %                  differs from the mean normal by less than a hundredth of wavelength/aperture,
  %                  or the peak is within a quarter of a wavelength, the normal. With p the grid's
  %                  third direction
  %   'duty'       - the part of the time in which the source is driven, above 0 and at most 1;
  %                  default 1
  %   'derating'   - attenuation [dB/(cm MHz)] that pressures are derated by, over the distance from
  %                  the nearest face, or with p from the plane z = 0; default 0.3, that of IEC
  %                  62359 and of the AIUM/NEMA output display standard. It comes on top of the
  %                  medium's own losses: the standards derate fields in water
  %   'hydrophone' - the active face of a hydrophone that looks along the axis: the diameter of a
  %                  disc or [width height] of a rectangle, along the first and the second lateral
  %                  direction [m]. The report then has what it would tell
  %   'total_power' - false: the radiated power is not found, which takes seconds for hundreds of
  %                  elements. Default true
  %
  % OUTPUTS
  %   report       - struct with the fields, NaN where there is none, as of a width that ends beyond
  %                  the region
  %                    frequency [Hz], speed, of the phase [m/s], density [kg/m^3], velocity [m/s], duty,
  %                    wavelength [m]
  %                    peak         struct of the largest |p|: pressure [Pa], place [m], depth, its
  %                                 distance from the face [m], on_edge, true where it lies on the
  %                                 region's edge, so that there may be more beyond, and
  %                                 uncertainty of the pressure, relative to it
  %                    directions   3 by 3: rows of the first and the second lateral direction and
  %                                 the axis. The first one is that of the source's width, at a
  %                                 right angle to the axis
  %                    levels       -3, -6 and -20 [dB], relative to the peak's pressure
  %                    widths       3 by 3 [m]: for each direction (row) and level (column) from
  %                                 where |p| first falls to the level before the peak to where
  %                                 it first does behind it
  %                    before, behind  its parts before and behind the peak [m]
  %                    depth_of_field  the widths along the axis at -3 and -6 dB [m]
  %                    lobes        struct of the local maxima of |p| beyond the first minimum on
  %                                 each side of the peak, on two arcs about the source's centre
  %                                 through the peak, in the planes of the axis and each lateral
  %                                 direction, before all elements and also beyond the region; with
  %                                 p on lines through the peak along the lateral directions.
  %                                 Columns, up to 8 in each plane, those above -60 dB: plane, 1 or
  %                                 2; level [dB] relative to the peak; angle [degrees] from the
  %                                 axis, as seen from the source's centre, NaN with p; place [m],
  %                                 a row for each; grating, true where the pitch of elements in a
  %                                 plane has a grating lobe: the cosine along their row is that of
  %                                 the beam and a multiple of wavelength/pitch, to 1/N of it for N
  %                                 places in the row
  %                    focal_gain   the peak's pressure over density*speed*velocity times the mean
  %                                 |weight| of the faces; NaN with p
  %                    intensity    struct of p^2 / (2 density speed), a plane wave's intensity, at
  %                                 the peak [W/m^2]: sppa, the average over a pulse of many
  %                                 periods, and spta, the average over time, which is sppa times
  %                                 duty
  %                    derated      struct of the largest derated |p|, which is sought for itself:
  %                                 rate [dB/(cm MHz)], pressure [Pa], place [m], depth [m],
  %                                 on_edge, sppa and spta [W/m^2]
  %                    mechanical_index  the derated pressure in MPa over the square root of the
  %                                 frequency in MHz; that of the standards with their derating,
  %                                 0.3. The pressure of this linear field stands for the
  %                                 rarefactional one
  %                    hydrophone   with 'hydrophone', struct of what it tells at the peak:
  %                                 pressure [Pa], the magnitude of p averaged over its face, error
  %                                 of the average [Pa], level relative to the peak [dB], and
  %                                 widths as above [m]
  %                    power        the radiated power, a period's mean [W], as that of
  %                                 pistonfield_pressure; not with p, nor with losses unless all
  %                                 faces are in one plane and the baffle is rigid
  %   text         - the table
  %
  % EXAMPLES
  %   % The beam of a piston of 15 mm by 10 mm at 2 MHz that radiates 1 W.
  %   piston = struct('width', 15e-3, 'height', 10e-3);
  %   region = pistonfield_grid((-15:15) * 1e-3, (-10:10) * 1e-3, (20:5:200) * 1e-3);
  %   pistonfield_beam(piston, region, 'frequency', 2e6, 'power', 1);
  %
  %   % That of a steered array, as a hydrophone of 0.4 mm tells it.
  %   array = pistonfield_array('line', 'elements', 32, 'pitch', 0.5e-3, 'width', 0.45e-3, ...
  %                             'height', 8e-3);
  %   w = pistonfield_focus(array, [8e-3 0 30e-3], 'frequency', 2e6);
  %   region = pistonfield_grid((0:0.5:16) * 1e-3, (-4:4) * 1e-3, (10:50) * 1e-3);
  %   r = pistonfield_beam(array, region, 'frequency', 2e6, 'weights', w, 'hydrophone', 0.4e-3, ...
  %                        'duty', 0.01);
  %   r.widths(1, 2) * 1e3  % the -6 dB width across the beam, in mm
  %
  % See also: pistonfield_hydrophone, pistonfield_pressure, pistonfield_focus, pistonfield_grid

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_beam';
  require(nargin >= 2, caller, 'arguments', ...
          'give a source or a pressure, a grid and the frequency');
  require_module(caller);
  require_grid(caller, grid);
  [options, own] = read_beam_options(caller, varargin);
  if isnumeric(source)
    answer = of_pressure(caller, source, grid, options);
  else
    answer = of_source(caller, source, grid, options, without(varargin, fieldnames(own)));
  end
  count = answer(1);
  text = char(answer(2 + count:end));
  if nargout == 0
    fprintf('%s', text);
    return
  end
  report = struct_of(char(answer(2:1 + count)));
end

% The options, and the defaults of those that pistonfield_pressure has none of.
function [options, own] = read_beam_options(caller, given)
  own = struct('axis', [], 'duty', 1, 'derating', 0.3, 'hydrophone', [], 'total_power', true);
  others = medium_defaults(own);
  others.weights = [];
  options = read_pressure_options(caller, given, others);
  require(~options.byMode, caller, 'mode', ...
          'a beam is measured within a tolerance: it takes no mode and no order');
  options = require_positive_options(caller, options, {'duty'});
  require(options.duty <= 1, caller, 'duty', 'duty must be at most 1');
  require(is_finite_real(options.derating) && isscalar(options.derating) && ...
          options.derating >= 0, caller, 'derating', 'derating must be a number of at least 0');
  options.derating = double(options.derating);
  require_flag(caller, 'total_power', options.total_power);
  if ~isempty(options.axis)
    options.axis = require_direction(caller, 'axis', options.axis);
  end
  if ~isempty(options.hydrophone)
    options.hydrophone = require_lengths(caller, 'hydrophone', options.hydrophone);
  end
end

% The pairs of names and values but for some names.
function pairs = without(pairs, names)
  dropped = ismember(pairs(1:2:end), names);
  pairs(reshape([dropped; dropped], 1, [])) = [];
end

% What the module is told of the drive, and what is asked for.
function pairs = pairs_of(options, speed, velocity, power)
  pairs = {'frequency', options.frequency, 'speed', speed, 'density', options.density, ...
           'velocity', velocity, 'duty', options.duty, 'derating', options.derating, ...
           'axis', options.axis, 'hydrophone', options.hydrophone, 'power', double(power)};
end

function answer = of_source(caller, given, grid, options, pairs)
  source = source_as_array(caller, given, options.weights);
  physics = read_physics(caller, 'pressure', source, options);
  names = struct('elements', 'source', 'transform', 'grid', 'sizes', 'grid');
  lattice = ask_module(caller, names, 'beam_search', grid.transform, grid.sizes, ...
                       physics.wavenumber);
  search = grid;
  search.transform = reshape(lattice(1:16), 4, 4);
  search.sizes = lattice(17:19);
  [p, info] = pistonfield_pressure(given, search, pairs{:});
  magnitudes = abs(p) / (options.density * physics.speed * info.velocity);
  question = array_question('beam', source, physics, options.tolerance);
  pairs = pairs_of(options, physics.speed, info.velocity, options.total_power);
  answer = ask_module(caller, names, question{:}, search.transform, search.sizes, ...
                      magnitudes(:), options.threads, pairs{:});
end

function answer = of_pressure(caller, p, grid, options)
  k = 2 * pi * options.frequency / options.speed;
  sizes = [grid.sizes, 1];
  require(isfloat(p) && isequal([size(p), ones(1, 4 - ndims(p))], sizes), caller, 'p', ...
          'p must be complex numbers, %d by %d by %d as the grid', grid.sizes);
  p = double(p) / (options.density * options.speed);
  pairs = pairs_of(options, options.speed, 1, false);
  answer = ask_module(caller, struct('values', 'p', 'transform', 'grid', 'sizes', 'grid'), ...
                      'beam_of_grid', grid.transform, grid.sizes, real(p(:)), imag(p(:)), k, ...
                      pairs{:});
end

% A struct of lines with a name, whether it is a flag, rows, columns and numbers. Names have a dot
% where they belong to a group.
function report = struct_of(lines)
  report = struct();
  lines = strsplit(strtrim(lines), char(10)); %#ok<CHARTEN>
  for i = 1:numel(lines)
    [name, rest] = strtok(lines{i});
    numbers = sscanf(rest, '%f').';
    value = reshape(numbers(4:end), numbers(2), numbers(3));
    if numbers(1)
      value = value ~= 0;
    end
    path = strsplit(name, '.');
    report = setfield(report, path{:}, value);
  end
end

%!shared piston, region, call, report
%! piston = struct('width', 15e-3, 'height', 10e-3);
%! region = pistonfield_grid((-12:2:12) * 1e-3, (-12:2:12) * 1e-3, (35:5:150) * 1e-3);
%! call = @(varargin) pistonfield_beam(piston, region, 'frequency', 1e6, varargin{:});
%! report = call();

%!test % the peak is the largest pressure that the points around it have
%! assert(report.peak.place(1:2), [0 0], 1e-5);
%! assert(~report.peak.on_edge);
%! z = report.peak.place(3) + (-1:0.05:1) * 1e-3;
%! p = abs(pistonfield_pressure(piston, pistonfield_grid(0, 0, z), 'frequency', 1e6, ...
%!                              'tolerance', 1e-10));
%! assert(report.peak.pressure, max(p(:)), 1e-7 * max(p(:)));
%! assert(report.peak.depth, report.peak.place(3), 1e-12);
%! assert(report.focal_gain, report.peak.pressure / (998 * 1482), 1e-12);

%!test % at the ends of the widths the pressure has fallen to the levels
%! for direction = 1:3
%!   for level = 1:3
%!     for way = [-report.before(direction, level), report.behind(direction, level)]
%!       if ~isnan(way)
%!         place = report.peak.place + way * report.directions(direction, :);
%!         p = abs(pistonfield_pressure(piston, place, 'frequency', 1e6, 'tolerance', 1e-10));
%!         assert(20 * log10(p / report.peak.pressure), report.levels(level), 1e-4);
%!       end
%!     end
%!   end
%! end
%! assert(all(isfinite(report.widths(1:2, 2))));
%! assert(isnan(report.widths(3, 3)));
%! assert(report.depth_of_field, report.widths(3, 1:2));

%!test % intensities and the mechanical index are those of the pressures
%! r = call('velocity', 0.4, 'duty', 0.02, 'derating', 0.5);
%! assert(r.peak.pressure, 0.4 * report.peak.pressure, 1e-9 * report.peak.pressure);
%! assert(r.intensity.sppa, r.peak.pressure ^ 2 / (2 * 998 * 1482), 1e-9 * r.intensity.sppa);
%! assert(r.intensity.spta, 0.02 * r.intensity.sppa, 1e-9 * r.intensity.sppa);
%! z = r.derated.place(3);
%! p = abs(pistonfield_pressure(piston, r.derated.place, 'frequency', 1e6, 'velocity', 0.4, ...
%!                              'tolerance', 1e-10));
%! assert(r.derated.pressure, p * 10 ^ (-0.5 * z * 100 / 20), 1e-7 * p);
%! assert(r.mechanical_index, r.derated.pressure / 1e6, 1e-12);
%! assert(r.derated.place(3) < r.peak.place(3));

%!test % the power is that of the piston
%! [~, info] = pistonfield_pressure(piston, region, 'frequency', 1e6);
%! assert(report.power, info.power, 1e-6 * info.power);
%! r = call('power', 2);
%! assert(r.power, 2, 1e-5);
%! assert(~isfield(call('total_power', false), 'power'));

%!test % a disc has the beam of its closed form on the axis, with losses and its power
%! disc = pistonfield_piston('disc', 'radius', 8e-3);
%! axial = pistonfield_grid(0, 0, (25:5:120) * 1e-3);
%! r = pistonfield_beam(disc, axial, 'frequency', 1e6, 'nepers', 5);
%! k = 2 * pi / r.wavelength;
%! s = 5 + 1i * k;
%! p = @(z) 998 * 1482 * k * abs((exp(-s * z) - exp(-s * sqrt(z .^ 2 + 64e-6))) / s);
%! [z, least] = fminbnd(@(z) -p(z), 30e-3, 60e-3, optimset('TolX', 1e-9));
%! assert(r.peak.pressure, -least, 1e-6 * r.peak.pressure);
%! assert(r.peak.place, [0 0 z], 1e-5);
%! assert(r.peak.depth, r.peak.place(3), 1e-12);
%! assert(p(z + r.behind(3, 2)), -least * 10 ^ (-6 / 20), 1e-4 * r.peak.pressure);
%! [~, info] = pistonfield_pressure(disc, [0 0 0.1], 'frequency', 1e6, 'nepers', 5, ...
%!                                  'power', r.power);
%! assert(info.velocity, 1, 1e-7);

%!test % an array of hexagons before a soft baffle
%! honeycomb = pistonfield_array('honeycomb', 'rings', 1, 'width', 3e-3, 'pitch', 3.2e-3);
%! plane = pistonfield_grid((-6:2:6) * 1e-3, 0, (10:4:50) * 1e-3);
%! medium = {'frequency', 1e6, 'baffle', 'soft'};
%! r = pistonfield_beam(honeycomb, plane, medium{:}, 'hydrophone', 1e-3);
%! p = pistonfield_pressure(honeycomb, r.peak.place, medium{:}, 'tolerance', 1e-9);
%! assert(r.peak.pressure, abs(p), 1e-7 * abs(p));
%! q = pistonfield_hydrophone(honeycomb, r.peak.place, medium{:}, 'hydrophone', 1e-3);
%! assert(r.hydrophone.pressure, abs(q), 1e-7 * abs(q));
%! [~, info] = pistonfield_pressure(honeycomb, [0 0 0.1], medium{:}, 'power', r.power);
%! assert(info.velocity, 1, 1e-7);

%!test % a piston that is moved and turned has the same beam there
%! turn = [cosd(30) 0 sind(30); 0 1 0; -sind(30) 0 cosd(30)];
%! moved = piston;
%! moved.center = [3e-3, -2e-3, 1e-3];
%! moved.orientation = turn;
%! there = region;
%! there.transform(:, 1:3) = region.transform(:, 1:3) * turn.';
%! there.transform(4, 1:3) = there.transform(4, 1:3) + moved.center;
%! r = pistonfield_beam(moved, there, 'frequency', 1e6);
%! assert(r.widths, report.widths, 1e-6);
%! assert(r.directions, turn.', 1e-12);
%! assert(r.lobes.level(1:4), report.lobes.level(1:4), 1e-4);

%!test % a line array has its grating lobe where the pitch says so
%! array = pistonfield_array('line', 'elements', 16, 'pitch', 2.2e-3, 'width', 0.3e-3, ...
%!                           'height', 0.3e-3);
%! far = pistonfield_grid((-50:10:50) * 1e-3, 0, (3000:20:3200) * 1e-3);
%! r = pistonfield_beam(array, far, 'frequency', 1e6);
%! angles = r.lobes.angle(r.lobes.grating);
%! assert(numel(angles), 2);
%! assert(sort(angles), [-1; 1] * asind(1.482 / 2.2), 0.05);

%!test % a hydrophone tells the average over its face
%! r = call('hydrophone', [4e-3 2e-3]);
%! [x, y] = meshgrid(((0.5:39.5) / 40 - 0.5) * 4e-3, ((0.5:19.5) / 20 - 0.5) * 2e-3);
%! points = struct('x', x, 'y', y, 'z', r.peak.place(3) + 0 * x);
%! p = pistonfield_pressure(piston, points, 'frequency', 1e6);
%! assert(r.hydrophone.pressure, abs(mean(p(:))), 2e-4 * r.peak.pressure);
%! assert(r.hydrophone.level, 20 * log10(r.hydrophone.pressure / r.peak.pressure), 1e-6);
%! assert(r.hydrophone.widths(1, 2) > r.widths(1, 2));

%!test % a computed field has the same beam, to what interpolation leaves
%! fine = pistonfield_grid((-8:0.5:8) * 1e-3, (-8:0.5:8) * 1e-3, (32:1.5:90) * 1e-3);
%! p = pistonfield_pressure(piston, fine, 'frequency', 1e6);
%! r = pistonfield_beam(p, fine, 'frequency', 1e6);
%! wanted = pistonfield_beam(piston, fine, 'frequency', 1e6);
%! assert(r.peak.pressure, wanted.peak.pressure, 1e-3 * wanted.peak.pressure);
%! assert(r.peak.place, wanted.peak.place, 3e-4);
%! assert(r.widths(1:2, 1:2), wanted.widths(1:2, 1:2), 1e-5);
%! assert(r.mechanical_index, wanted.mechanical_index, 1e-3);
%! assert(isnan(r.focal_gain) && ~isfield(r, 'power'));

%!test % it prints a table, which is its second output
%! [~, text] = call();
%! printed = evalc('call();');
%! assert(~isempty(strfind(text, 'Mechanical index')));
%! assert(~isempty(strfind(text, 'beyond the region')));
%! assert(printed, text);

%!test % the peak at the edge of the region is marked
%! cut = pistonfield_grid(0, 0, (80:5:120) * 1e-3);
%! r = pistonfield_beam(piston, cut, 'frequency', 1e6);
%! assert(r.peak.on_edge && r.peak.place(3) == 80e-3);
%! assert(isnan(r.depth_of_field), true(1, 2));

%!error <duty must be at most 1> call('duty', 2)
%!error <derating must be a number of at least 0> call('derating', -1)
%!error <hydrophone must be a diameter> call('hydrophone', [1 2 3] * 1e-3)
%!error <hydrophone: must be at most 100 wavelengths> call('hydrophone', 1)
%!error <axis must be a direction> call('axis', [0 0 0])
%!error <takes no mode and no order> call('order', 20)
%!error <weights go with an array> call('weights', 1)
%!error <frequency is missing> pistonfield_beam(piston, region)
%!error <p must be complex numbers, 13 by 13 by 24> ...
%! pistonfield_beam(ones(3), region, 'frequency', 1e6)
%!error <there is no peak> pistonfield_beam(zeros(13, 13, 24), region, 'frequency', 1e6)
%!error <give a source or a pressure> pistonfield_beam(piston)
