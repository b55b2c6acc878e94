% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function question = engine_question(name, place, sizes, source, k, options)
  % question = engine_question(name, place, sizes, source, k, options): what a question to the module
  % about a field within a tolerance begins with. place is the transform of a grid, or a list of
  % points, in the frame of the source: a piston, or an array with its weights.
  isPlain = ~isfield(options, 'physics') || options.physics.isPlain;
  radiating = {source.width, source.height};
  if isfield(source, 'weights')
    radiating = [radiating, {source.center, source.orientation, real(source.weights), ...
                             imag(source.weights), double(options.behind)}];
  elseif ~isPlain
    % An array of one in its own frame, where the functions have looked what lies behind it.
    radiating = [radiating, {zeros(3, 1), eye(3), 1, 0, 1}];
  end
  others = {};
  if ~isPlain
    name = ['full_', name];
    others = {options.physics.attenuation, options.physics.baffle, options.physics.quantity};
  elseif isfield(source, 'weights')
    name = ['array_', name];
  end
  if isstruct(place)
    points = {[name, '_of_list'], place.x, place.y, place.z};
  else
    points = {name, place, sizes};
  end
  question = [points, radiating, {k, options.mode, options.tolerance, options.relative}, others];
end
