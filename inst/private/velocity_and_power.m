% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [velocity, power] = velocity_and_power(piston, k, options)
  % [velocity, power] = velocity_and_power(piston, k, options): the amplitude of the piston's
  % velocity [m/s] and the power that it radiates [W], of which options have one.
  resistance = options.density * options.speed * ...
               radiation_resistance(piston.width, piston.height, k);
  velocity = options.velocity;
  if isempty(velocity)
    velocity = sqrt(2 * options.power / resistance);
  end
  power = resistance * velocity ^ 2 / 2;
end
