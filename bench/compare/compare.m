% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% compare(project, scratch): one field by the module and by what a user would do without it.
% bench/compare.sh calls it; the table goes to standard error, since the module writes progress
% lines to standard output.
function compare(project, scratch)
  addpath(fullfile(project, 'build-bench', 'octave'));
  page_screen_output(false);
  repetitions = 3;

  % Lengths in wavelengths. No point lies over a corner of the piston.
  f.l = 5;
  f.s = 7.5;
  f.k = 2 * pi;
  f.x = linspace(-8, 8, 101);
  f.y = linspace(-8, 8, 101);
  f.z = linspace(1, 50, 50);
  points = numel(f.x) * numel(f.y) * numel(f.z);

  reference = with_module(f, 'cpu', 200);
  largest = max(abs(reference(:)));
  distance = @(p, q) max(abs(p(:) - q(:))) / largest;
  say('field: piston of 5 by 7.5 wavelengths, %d x %d x %d = %d points\n', ...
      numel(f.x), numel(f.y), numel(f.z), points);
  say('       x and y from -8 to 8, z from 1 to 50 wavelengths\n');
  say('reference: mode cpu, order 200; order 150 differs by %.1e of the largest |p|\n', ...
      distance(with_module(f, 'cpu', 150), reference));
  say('time: the fastest of %d repetitions (of one for the surface sum), of whole calls\n', ...
      repetitions);
  say('ratio: to mode cpu of the same order, of order 32 for methods without an order\n');
  say('error: the largest one, relative to the largest |p|\n\n');
  say('%-36s %5s %8s %12s %9s %10s\n', ...
      'method', 'order', 'points', 'us/point', 'ratio', 'error');

  baseline = [];
  for order = [10, 32]
    module_time = NaN;
    for mode = {'cpu', 'cpusp', 'cuda', 'cudadp'}
      [p, seconds] = fastest(@() with_module(f, mode{1}, order), repetitions);
      if strcmp(mode{1}, 'cpu')
        module_time = seconds / points;
      end
      row(['pistonfield ', mode{1}], order, points, seconds, module_time, distance(p, reference));
    end
    [nodes, weights] = gauss_rule(order);
    [p, seconds] = fastest( ...
      @() near_field(f.x, f.y, f.z, f.l, f.s, f.k, nodes, weights), repetitions);
    row('the same method in Octave', order, points, seconds, module_time, distance(p, reference));
    [p, seconds] = with_numpy(f, order, repetitions, project, scratch);
    row('the same method in NumPy', order, points, seconds, module_time, distance(p, reference));
  end

  some = 5:10:50;  % planes
  [p, seconds] = fastest( ...
    @() surface_sum(f.x, f.y, f.z(some), f.l, f.s, f.k, 0.1), 1);
  row('surface sum, 10 a wavelength, Octave', '-', points / numel(f.z) * numel(some), seconds, ...
      module_time, distance(p, reference(:, :, some)));
  for n = [256, 1024]
    [p, seconds] = fastest( ...
      @() angular_spectrum(f.x, f.y, f.z, f.l, f.s, f.k, n), repetitions);
    row(sprintf('angular spectrum, FFT %d, Octave', n), '-', points, seconds, module_time, ...
        distance(p, reference));
  end
end

function say(varargin)
  fprintf(stderr, varargin{:});
end

function row(name, order, points, seconds, module_time, distance)
  each = seconds / points;
  say('%-36s %5s %8d %12.4f %9.2f %10.1e\n', ...
      name, num2str(order), points, each * 1e6, each / module_time, distance);
end

function [p, seconds] = fastest(compute, repetitions)
  seconds = Inf;
  for i = 1:repetitions
    start = tic();
    p = compute();
    seconds = min(seconds, toc(start));
  end
end

function p = with_module(f, mode, order)
  step = @(v) v(2) - v(1);
  place = diag([step(f.x), step(f.y), step(f.z), 1]);
  place(1:3, 4) = [f.x(1); f.y(1); f.z(1)];
  % The CPU modes on one core, as what they are compared with; the GPU modes on all.
  one = {'', '1'};
  setenv('PISTONFIELD_THREADS', one{1 + strncmp(mode, 'cpu', 3)});
  p = pistonfield(place.', [numel(f.x), numel(f.y), numel(f.z)], f.l, f.s, f.k, mode, order);
end

function [p, seconds] = with_numpy(f, order, repetitions, project, scratch)
  input = fullfile(scratch, 'field');
  output = fullfile(scratch, 'pressure');
  file = fopen(input, 'w');
  fwrite(file, [numel(f.x), numel(f.y), numel(f.z), f.l, f.s, f.k, f.x, f.y, f.z], 'double');
  fclose(file);
  [status, text] = system(sprintf('/usr/bin/python3 "%s" "%s" "%s" %d %d', ...
    fullfile(project, 'bench', 'compare', 'near_field.py'), input, output, order, repetitions));
  if status ~= 0
    error('near_field.py failed');
  end
  seconds = str2double(text);
  file = fopen(output);
  values = fread(file, [2, Inf], 'double');
  fclose(file);
  p = reshape(complex(values(1, :), values(2, :)), numel(f.x), numel(f.y), numel(f.z));
end
