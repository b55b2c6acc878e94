% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% A matrix array of 32 by 32 elements with two foci at once, one twice as strong as the other.
%
% Run it from any folder, after the module has been built:
%   octave-cli examples/example11_two_foci.m
% On the left the phases of the weights, in the middle the plane through the foci and the axis, on the
% right the focal plane.

addpath(fileparts(mfilename('fullpath')));
folder = example_folder();

frequency = 1e6;                  % Hz
foci = [-6 0 40; 6 0 40] * 1e-3;  % m
demanded = [1e6; -0.5e6];         % Pa
array = pistonfield_array('matrix', 'elements', [32 32], 'pitch', 1e-3, 'width', 0.9e-3, ...
                          'height', 0.9e-3);

% The velocity's amplitude is 0.1 m/s times the weight's. With iterations the elements are driven more
% evenly, for the same pressures.
drive = {'frequency', frequency, 'velocity', 0.1};
[~, plain] = pistonfield_focus(array, foci, drive{:}, 'pressures', demanded);
[w, info] = pistonfield_focus(array, foci, drive{:}, 'pressures', demanded, 'iterations', 50);
fprintf('largest |weight| %.3f, efficiency %.2f; without iterations %.3f and %.2f\n', info.drive, ...
        info.efficiency, plain.drive, plain.efficiency);
fprintf('at the foci: %.3f MPa and %.3f MPa\n', real(info.pressures) / 1e6);

step = 0.3e-3;  % m
grids = {pistonfield_grid(-15e-3:step:15e-3, 0, 10e-3:step:60e-3)
         pistonfield_grid(-15e-3:step:15e-3, -15e-3:step:15e-3, foci(1, 3))};
field = @(place) pistonfield_pressure(array, place, drive{:}, 'weights', w, ...
                                      'tolerance', 1e-3);
figure_ = example_figure(1500, 470);
bounds = {[0 0 0.31 1], [0.31 0 0.38 1], [0.69 0 0.31 1]};
panel = @(i) axes('parent', figure_, 'outerposition', bounds{i});
pistonfield_plot(array, 'weights', w, 'axes', panel(1), ...
                 'title', '32 x 32 elements of 0.9 mm, 1 MHz');
titles = {'Two foci, 40 mm before the array', 'The focal plane'};
for i = 1:2
  pistonfield_plot(field(grids{i}), grids{i}, 'axes', panel(i + 1), 'title', titles{i}, ...
                   'limits', [0 1e6]);
end
example_picture(figure_, folder, 'two_foci');
