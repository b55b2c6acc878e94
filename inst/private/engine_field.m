% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function p = engine_field(place, sizes, source, k, options, first, count)
  % p = engine_field(place, sizes, source, k, options, first, count): what the tolerance engine
  % computes of a grid or a list of points, without unit, in a box of count points along each direction
  % from the indices first on, counted from 0; of several weightings one after the other. A point's
  % bits do not depend on the box. options are those of read_pressure_options. A list has the sizes
  % [n 1 1].
  question = engine_question('field_within', place, sizes, source, k, options);
  p = pistonfield_internal(question{:}, first, count, options.threads);
end
