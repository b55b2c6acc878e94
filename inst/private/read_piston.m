% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function piston = read_piston(caller, given)
  % piston = read_piston(caller, given): the piston checked, with what it left out filled in.
  require(~is_array(given), caller, 'piston', ...
          'an array of pistons stands where %s takes one piston', caller);
  require(~(isstruct(given) && isscalar(given) && isfield(given, 'shape')), caller, 'piston', ...
          'a piston of another shape stands where %s takes rectangles alone', caller);
  require(isstruct(given) && isscalar(given), caller, 'piston', ...
          'piston, which comes first, must be a struct with the fields width and height');
  piston = struct('width', 0, 'height', 0, 'center', zeros(3, 1), 'orientation', eye(3));
  names = fieldnames(given);
  for i = 1:numel(names)
    require(isfield(piston, names{i}), caller, 'piston', ...
            'piston.%s is no field of a piston; there are: %s', ...
            names{i}, strjoin(fieldnames(piston)', ', '));
    piston.(names{i}) = given.(names{i});
  end
  for side = {'width', 'height'}
    require(isfield(given, side{1}), caller, 'piston', ...
            'piston.%s is missing: give it in m', side{1});
  end

  % The module takes thinner sides for something else.
  thinnest = 1e-7;
  for side = {'width', 'height'}
    value = piston.(side{1});
    require(is_positive(value) && value >= thinnest, caller, 'piston', ...
            'piston.%s must be a length of at least %g m', side{1}, thinnest);
    piston.(side{1}) = double(value);
  end
  require(is_finite_real(piston.center) && numel(piston.center) == 3, caller, 'piston', ...
          'piston.center must be three real, finite numbers');
  piston.center = double(piston.center(:));
  require(is_rotation(piston.orientation), caller, 'piston', ...
          ['piston.orientation must be a 3 by 3 rotation: columns of length 1, at right ', ...
           'angles, the third the cross product of the others']);
  piston.orientation = double(piston.orientation);
end
