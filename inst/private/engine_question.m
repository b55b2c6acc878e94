% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function question = engine_question(name, place, sizes, piston, k, options)
  % question = engine_question(name, place, sizes, piston, k, options): what a question to the module
  % about a field within a tolerance begins with. place is the transform of a grid, or a list of
  % points.
  if isstruct(place)
    points = {[name, '_of_list'], place.x, place.y, place.z};
  else
    points = {name, place, sizes};
  end
  question = [points, {piston.width, piston.height, k, options.mode, options.tolerance, ...
                       options.relative}];
end
