% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [velocity, power] = drive_of(caller, source, k, options)
  % [velocity, power] = drive_of(caller, source, k, options): the amplitude of the velocity [m/s] and
  % the radiated power [W], of which options have one. But for a rectangle in a rigid baffle without
  % losses it may take long to find, and is NaN where it was not asked for.
  medium = struct('wavenumber', k, 'speed', options.speed, 'attenuation', 0, 'baffle', 'rigid');
  if isfield(options, 'physics')
    medium = options.physics;
  end
  isArray = isfield(source, 'weights');
  isRectangle = ~isArray && ~isfield(source, 'outlines');
  if isRectangle && strcmp(medium.baffle, 'rigid') && medium.attenuation == 0
    [velocity, power] = velocity_and_power(source, k, options);
    return
  end
  velocity = options.velocity;
  power = NaN;
  if ~isempty(options.power)
    if ~isArray
      source.weights = 1;
    end
    power = options.power;
    velocity = sqrt(power / (options.density * medium.speed * ...
                             power_of_array(caller, source, medium, options.threads)));
  end
end
