% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The five modes side by side: how far each is from 'cpu', and how long it takes.
% It calls the module itself, which the functions of the other examples stand on.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example2_compare_modes.m
% A module that was built without the CUDA toolkit computes the GPU modes on the CPU.

addpath(fileparts(mfilename('fullpath')));
example_folder();

% The piston of the first example: 5 mm by 7.5 mm at 1 MHz in water. Lengths are in m.
l = 5.0e-3;
s = 7.5e-3;
k = 2 * pi * 1e6 / 1500;  % rad/m
order = 32;

% The plane y = 0 before the piston, x from -15 to 15 mm, z from 0.5 to 120 mm.
sizes = [101, 1, 240];
place = [0.3e-3, 0, 0, -15e-3
         0, 1, 0, 0
         0, 0, 0.5e-3, 0.5e-3
         0, 0, 0, 1];

modes = {'cpu', 'cpudp', 'cpusp', 'cuda', 'cudadp'};
difference = zeros(size(modes));
seconds = zeros(size(modes));
for i = 1:numel(modes)
  tic;
  p = pistonfield(place.', sizes, l, s, k, modes{i}, order);
  seconds(i) = toc;
  if i == 1
    reference = p;
  end
  difference(i) = max(abs(p(:) - reference(:)));
end

% The module's own lines come before the table.
fprintf('\n%d points, order %d, largest |p| %.4f\n\n', prod(sizes), order, max(abs(reference(:))));
fprintf('mode     largest difference from cpu   time per point\n');
for i = 1:numel(modes)
  fprintf('%-6s   %27.1e   %11.3f us\n', modes{i}, difference(i), seconds(i) / prod(sizes) * 1e6);
end
