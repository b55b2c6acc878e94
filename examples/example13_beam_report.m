% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% The beam of a steered line array: a table of what it is like, and a picture with its widths.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example13_beam_report.m
% The picture shows the beam's plane, the peak and the -6 dB widths across the beam and along it.

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

frequency = 2e6;           % Hz
focus = [8 0 35] * 1e-3;   % m
array = pistonfield_array('line', 'elements', 48, 'pitch', 0.5e-3, 'width', 0.4e-3, ...
                          'height', 8e-3);
w = pistonfield_focus(array, focus, 'frequency', frequency);
drive = {'frequency', frequency, 'weights', w, 'velocity', 0.1};

region = pistonfield_grid((-5:0.5:20) * 1e-3, (-4:0.5:4) * 1e-3, (10:0.5:70) * 1e-3);
[report, text] = pistonfield_beam(array, region, drive{:}, 'duty', 0.01, 'hydrophone', 0.5e-3);
fprintf('%s', text);

plane = pistonfield_grid((-5:0.2:20) * 1e-3, 0, (10:0.2:70) * 1e-3);
p = pistonfield_pressure(array, plane, drive{:});
h = pistonfield_plot(p, plane, 'show', 'level', 'range', 40);
hold on;
for direction = [1 3]
  ways = [-report.before(direction, 2); report.behind(direction, 2)];
  ends = report.peak.place + ways * report.directions(direction, :);
  plot(ends(:, 3) * 1e3, ends(:, 1) * 1e3, 'k-', 'LineWidth', 2);
end
plot(report.peak.place(3) * 1e3, report.peak.place(1) * 1e3, 'ko', 'LineWidth', 2);
example_picture(h.figure, folder, 'beam_report');
