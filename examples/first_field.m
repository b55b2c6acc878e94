% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The field of a small ultrasound piston in water, in the plane through its long middle line.
%
% Run it in GNU Octave from any folder, after the module has been built:
%   octave-cli examples/first_field.m
% It prints what it computed and writes build/demo/field.png.

1;  % a script, although functions come first

% The folder with the module goes on the path, unless the module is found already.
function find_module(project)
  if exist('pistonfield') ~= 3
    folder = fullfile(project, 'build', 'octave');
    if ~exist(fullfile(folder, 'pistonfield.mex'), 'file')
      error(['the module is not built: there is no %s\n' ...
             'Build it with ./demo.sh, or with\n' ...
             '  cmake --preset default && cmake --build --preset default\n' ...
             'or add the folder of your pistonfield.mex to the path with addpath.'], ...
            fullfile(folder, 'pistonfield.mex'));
    end
    addpath(folder);
  end
end

% Black over purple and orange to pale yellow; weak fields get more of the range than strong ones.
function colours = glow(count)
  stops = [0.00 0.00 0.02; 0.16 0.04 0.33; 0.42 0.09 0.43; 0.67 0.18 0.36; ...
           0.87 0.32 0.23; 0.98 0.55 0.04; 0.98 0.79 0.20; 0.99 1.00 0.75];
  colours = interp1(linspace(0, 1, rows(stops)), stops, linspace(0, 1, count) .^ 0.7);
end

function draw_field(p, x, z, s, pictureFile)
  mm = 1e3;
  warning('off', 'Octave:gnuplot-graphics', 'local');
  graphics_toolkit('gnuplot');
  figure('visible', 'off');
  imagesc(z * mm, x * mm, abs(p), [0, max(abs(p(:)))]);
  colormap(glow(256));
  hold('on');
  plot([-0.5, -0.5], [-s, s] / 2 * mm, 'color', [0 0.5 0.7], 'linewidth', 6);  % the piston
  axis('xy', 'image', [-1, z(end) * mm, x(1) * mm, x(end) * mm]);
  xlabel('z (mm)', 'fontsize', 8);
  ylabel('x (mm)', 'fontsize', 8);
  title('Pressure of a 5 mm by 7.5 mm piston at 1 MHz in water, plane y = 0', 'fontsize', 9);
  bar = colorbar();
  ylabel(bar, '|p| in units of \rho c u_0', 'fontsize', 8);
  set(gca, 'position', [0.08, 0.2, 0.79, 0.64], 'fontsize', 8, 'tickdir', 'out', ...
      'xtick', 0:20:120, 'ytick', -15:5:15);
  set(bar, 'position', [0.9, 0.21, 0.014, 0.62], 'fontsize', 8, 'ytick', 0:0.5:1.5);
  print(pictureFile, '-dpng', '-S1400,450');
end

project = fileparts(fileparts(mfilename('fullpath')));
find_module(project);

% The piston lies in the plane z = 0, centred on the origin. Lengths are in m.
l = 5.0e-3;         % side along y
s = 7.5e-3;         % side along x
frequency = 1e6;    % Hz
soundSpeed = 1500;  % m/s, water
k = 2 * pi * frequency / soundSpeed;  % wavenumber, rad/m
order = 32;         % abscissas of each edge integral

% The grid: x from -15 to 15 mm, y = 0, z from 0.5 to 120 mm, in steps of 0.1 mm.
step = 0.1e-3;
first = [-15e-3, 0, 0.5e-3];
sizes = [301, 1, 1196];

% The usual matrix takes lattice indices (ix, iy, iz, 1), counted from 0, to positions.
place = [step  0     0     first(1)
         0     step  0     first(2)
         0     0     step  first(3)
         0     0     0     1];

% The module reads a matrix row by row, but Octave stores one column by column: hence the transpose.
tic;
p = pistonfield(place.', sizes, l, s, k, 'cpu', order);
seconds = toc;

p = reshape(p, sizes(1), sizes(3));
x = first(1) + step * (0:sizes(1) - 1);
z = first(3) + step * (0:sizes(3) - 1);
[largest, at] = max(abs(p(:)));
[ix, iz] = ind2sub(size(p), at);

printf('grid: %d x %d x %d = %d points\n', sizes, numel(p));
printf('time: %.2f s, %.2f us per point\n', seconds, seconds / numel(p) * 1e6);
printf('largest |p|: %.4f at x = %.1f mm, y = 0, z = %.1f mm\n', largest, x(ix) * 1e3, z(iz) * 1e3);

folder = fullfile(project, 'build', 'demo');
if ~exist(folder, 'dir')
  mkdir(folder);
end
pictureFile = fullfile(folder, 'field.png');
draw_field(p, x, z, s, pictureFile);
printf('picture: %s\n', pictureFile);
