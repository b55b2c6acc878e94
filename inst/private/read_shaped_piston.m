% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function piston = read_shaped_piston(caller, given)
  % piston = read_shaped_piston(caller, given): a piston that is no rectangle, as pistonfield_piston
  % makes them, checked. Like an array of shapes it has a table of outlines and a number in it in the
  % place of its sides; see read_array.
  shapes = struct('disc', {{'radius'}}, 'ring', {{'inner', 'outer'}}, ...
                  'sector', {{'inner', 'outer', 'angles'}}, 'polygon', {{'corners', 'holes'}});
  require(ischar(given.shape) && isfield(shapes, given.shape), caller, 'piston', ...
          'piston.shape must be one of: %s', strjoin(fieldnames(shapes).', ', '));
  parameters = shapes.(given.shape);
  known = [{'shape'}, parameters, {'center', 'orientation'}];
  for name = fieldnames(given).'
    require(any(strcmp(name{1}, known)), caller, 'piston', ...
            'piston.%s is no field of a %s; there are: %s', name{1}, given.shape, ...
            strjoin(known, ', '));
  end
  pairs = {};
  for name = parameters
    if isfield(given, name{1})
      pairs = [pairs, pairs_of(caller, name{1}, given.(name{1}))]; %#ok<AGROW>
    end
  end
  table = outline_of(caller, given.shape, pairs);
  pose = read_pose(caller, given);
  piston = struct('width', table, 'height', 1, 'center', pose.center, ...
                  'orientation', pose.orientation, 'outlines', table);
end

% What the module says of a parameter is about the piston.
function table = outline_of(caller, shape, pairs)
  try
    table = pistonfield_internal('outline', shape, pairs{:});
  catch failure
    reason = regexprep(failure.identifier, '.*:', '');
    said = regexp(failure.message, [reason, ': (.*)$'], 'tokens', 'once');
    if isempty(said)
      rethrow(failure);
    end
    require(false, caller, 'piston', 'piston.%s: %s', reason, said{1});
  end
end

% A parameter as the module takes it: its name and numbers.
function pairs = pairs_of(caller, name, value)
  if strcmp(name, 'holes')
    require(iscell(value), caller, 'piston', ...
            'piston.holes must be a cell array of matrices of corners, N by 2 each');
    corners = cellfun(@(hole) corners_of(caller, 'piston.holes', hole), value(:).', ...
                      'UniformOutput', false);
    sizes = cellfun(@(hole) size(hole, 2), corners);
    pairs = {'holes', [zeros(2, 0), corners{:}], 'hole_sizes', sizes};
  elseif strcmp(name, 'corners')
    pairs = {'corners', corners_of(caller, 'piston.corners', value)};
  else
    require(is_finite_real(value) && ~isempty(value), caller, 'piston', ...
            'piston.%s must be real, finite numbers', name);
    value = double(full(value(:)));
    if strcmp(name, 'angles')
      value = value * pi / 180;
    end
    pairs = {name, value};
  end
end

% A column for each.
function corners = corners_of(caller, name, value)
  require(is_finite_real(value) && ismatrix(value) && size(value, 2) == 2, caller, 'piston', ...
          '%s must be real, finite numbers, N by 2: x and y of each corner', name);
  corners = double(full(value)).';
end

function pose = read_pose(caller, given)
  pose = struct('center', zeros(3, 1), 'orientation', eye(3));
  for name = fieldnames(pose).'
    if isfield(given, name{1})
      pose.(name{1}) = given.(name{1});
    end
  end
  require(is_finite_real(pose.center) && numel(pose.center) == 3, caller, 'piston', ...
          'piston.center must be three real, finite numbers');
  pose.center = double(pose.center(:));
  require(is_rotation(pose.orientation), caller, 'piston', ...
          ['piston.orientation must be a 3 by 3 rotation: columns of length 1, at right ', ...
           'angles, the third the cross product of the others']);
  pose.orientation = double(pose.orientation);
end
