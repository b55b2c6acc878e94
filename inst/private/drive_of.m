% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [velocity, power] = drive_of(caller, source, k, options)
  % [velocity, power] = drive_of(caller, source, k, options): the amplitude of the velocity [m/s] and
  % the radiated power [W], of which options have one. The power of an array with its weights may take
  % long to find, and is NaN where it was not asked for; so is that of what has none, by read_physics.
  isKnown = ~isfield(options, 'physics') || options.physics.hasPower;
  if ~isfield(source, 'weights') && isKnown
    [velocity, power] = velocity_and_power(source, k, options);
    return
  end
  velocity = options.velocity;
  power = NaN;
  if ~isempty(options.power)
    power = options.power;
    velocity = sqrt(power / (options.density * options.speed * ...
                             power_of_array(caller, source, k, options.threads)));
  end
end
