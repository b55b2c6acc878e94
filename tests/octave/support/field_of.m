% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% q = field_of(c, rule): the field of random_field's request in mode 'cpu', with an order or a table.
function q = field_of(c, rule)
  q = field(c.grid.transform, c.grid.sizes, c.piston.height, c.piston.width, ...
            2 * pi * c.frequency / c.speed, 'cpu', rule);
end
