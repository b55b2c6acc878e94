% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [points, shape] = read_points(caller, given)
  % [points, shape] = read_points(caller, given): a list of points checked, as a struct with the
  % columns x, y and z in double precision; and the shape of the values at them.
  if ~isstruct(given)
    require_real(caller, 'points', given);
    given = struct('x', given(:, 1), 'y', given(:, 2), 'z', given(:, 3));
  end
  names = {'x', 'y', 'z'};
  for name = names
    require(isfield(given, name{1}), caller, 'points', ...
            'points.%s is missing: a list of points has x, y and z', name{1});
    require_real(caller, ['points.', name{1}], given.(name{1}));
  end
  shape = size(given.x);
  require(isequal(size(given.y), shape) && isequal(size(given.z), shape), caller, 'points', ...
          'points.x, y and z must be of one size: they are %s, %s and %s', ...
          size_as_text(given.x), size_as_text(given.y), size_as_text(given.z));
  require(~isempty(given.x), caller, 'points', 'the list of points is empty');
  for name = names
    values = double(full(given.(name{1})(:)));
    if ~all(isfinite(values))
      wrong = find(~isfinite(values), 1);
      require(false, caller, 'points', 'the %s of point %d is %g: positions must be finite', ...
              name{1}, wrong, values(wrong));
    end
    points.(name{1}) = values;
  end
end

function require_real(caller, name, values)
  require(isfloat(values) && isreal(values), caller, 'points', ...
          '%s must be real, of class double or single', name);
end

function text = size_as_text(values)
  text = strjoin(arrayfun(@(n) sprintf('%d', n), size(values), 'UniformOutput', false), ' by ');
end
