% SPDX-License-Identifier: BSD-3-Clause
% SPDX-FileCopyrightText: the pistonfield developers

% The plan of MATLAB's build tool, R2022b or newer: `buildtool` builds the module and checks it.
function plan = buildfile
plan = buildplan(localfunctions);
plan("check").Dependencies = "mex";
plan.DefaultTasks = "check";
end

function mexTask(~)
% Build the modules for this MATLAB in build-matlab/matlab
run_outside("cmake --preset matlab -D Matlab_ROOT_DIR='" + matlabroot + "'");
run_outside("cmake --build --preset matlab");
end

function checkTask(~)
% Compare the pressures that both modules compute at a point with the integral over the piston's surface
addpath(fullfile(pwd, "build-matlab", "matlab"));
l = 3;
s = 2;
k = 2.5;
z = 4;
place = [1 0 0 0; 0 1 0 0; 0 0 1 z; 0 0 0 1];
p = pistonfield(place.', [1 1 1], l, s, k, 'cpu', 40);

distance = @(x, y) sqrt(x.^2 + y.^2 + z^2);
over_surface = @(f) integral2(@(x, y) f(k * distance(x, y)) ./ distance(x, y), ...
                              -s/2, s/2, -l/2, l/2, "AbsTol", 1e-11, "RelTol", 1e-11);
expected = k / (2*pi) * (over_surface(@cos) - 1j * over_surface(@sin));
assert(abs(p - expected) < 1e-9, "The pressure is off by %g.", abs(p - expected));

p = pistonfield_internal('field', place.', [1 1 1], s, l, k, 'cpu', 40, [0 0 0], [1 1 1], 0);
assert(abs(p - expected) < 1e-9, "The functions' pressure is off by %g.", abs(p - expected));
end

function run_outside(command)
% MATLAB's own libraries are not those of the system's programs.
status = system("env -u LD_LIBRARY_PATH " + command);
assert(status == 0, "%s ended with status %d.", command, status);
end
