% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function p = module_field(place, sizes, piston, k, mode, order, threads, first, count)
  % p = module_field(place, sizes, piston, k, mode, order, threads): the field of a grid, without
  % unit; of at most so many threads, or 0 for as many as the environment or the cores allow.
  % p = module_field(..., first, count): a box of it, of count points along each direction from the
  % indices first on, counted from 0. A point's bits do not depend on the box.
  if nargin < 8
    first = [0 0 0];
    count = sizes;
  end
  p = pistonfield_internal('field', place, sizes, piston.width, piston.height, k, mode, order, ...
                           first, count, threads);
end
