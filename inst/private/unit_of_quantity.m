% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function unit = unit_of_quantity(quantity, impedance, velocity)
  % unit = unit_of_quantity(quantity, impedance, velocity): what the module's values of a 'pressure', a
  % 'velocity' or an 'intensity' are relative to, with the wave's impedance and the amplitude of the
  % face's velocity.
  switch quantity
    case 'pressure'
      unit = 1i * impedance * velocity;
    case 'velocity'
      unit = velocity;
    case 'intensity'
      unit = impedance * velocity ^ 2 / 2;
  end
end
