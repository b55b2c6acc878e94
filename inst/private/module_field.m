% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function p = module_field(place, sizes, piston, k, mode, order)
  % p = module_field(place, sizes, piston, k, mode, order): the module's field, without the lines
  % that it prints on the console.
  [~, p] = evalc('pistonfield(place, sizes, piston.height, piston.width, k, mode, order)');
  p = reshape(p, sizes);
end
