% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function text = table_of_array(caller, array, weights)
  % text = table_of_array(caller, array, weights): an array as comma-separated values, which are read
  % back with all their digits; with its weights, one for each element, or none where they are empty.
  % array is that of read_array.
  require(~isfield(array, 'outlines'), caller, 'array', ...
          'a table has rectangles: an array with outlines goes into no file');
  require(all(array.width(:) > 0) && all(array.height(:) > 0), caller, 'array', ...
          'array.width and array.height must be above 0');
  require(isempty(weights) || (size(weights, 2) == 1 && all(isfinite(weights))), caller, ...
          'weights', 'a table has one column of weights, which are finite');
  each = @(values) repmat(values(:).', 1, array.count / numel(values));
  directions = reshape(array.orientation, 9, array.count);
  names = {'x [m]', 'y [m]', 'z [m]', 'width [m]', 'height [m]', 'normal x', 'normal y', ...
           'normal z', 'along x', 'along y', 'along z', 'up x', 'up y', 'up z'};
  numbers = [array.center; each(array.width); each(array.height); directions([7:9, 1:6], :)];
  if ~isempty(weights)
    names = [names, {'re', 'im'}];
    numbers = [numbers; real(weights).'; imag(weights).'];
  end
  row = [strjoin(repmat({'%.17g'}, 1, numel(names)), ','), '\n'];
  text = [strjoin(names, ','), sprintf('\n'), sprintf(row, numbers)];
end
