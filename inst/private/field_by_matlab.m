% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function source = field_by_matlab(caller, file)
  % source = field_by_matlab(caller, file): a file of pistonfield-run as MATLAB reads it: struct
  % with the request, the points in the file, and read(first, count).
  try
    contents = h5info(file, '/');
    names = {contents.Attributes.Name};
    values = intersect({contents.Datasets.Name}, {'pressure', 'velocity', 'intensity'});
    points = h5info(file, ['/', values{1}]).Dataspace.Size(end - 2:end);
  catch reason
    require(false, caller, 'file', '%s', reason.message);
  end
  % A run that was killed may have left the new value of a text beside the text.
  for i = find(cellfun(@isvarname, names))
    found.(names{i}) = plain(h5readatt(file, '/', names{i}));
  end
  require(isfield(found, 'creator') && strcmp(found.creator, 'pistonfield-run'), caller, 'file', ...
          '%s is not a file of pistonfield-run', file);
  if any(strcmp({contents.Datasets.Name}, 'parts'))
    require_parts(caller, file);
  end
  % MATLAB turns the dimensions of a file around.
  found.transform = found.transform.';
  if any(strcmp({contents.Datasets.Name}, 'table'))
    found.table = h5read(file, '/table').';
  end
  if any(strcmp({contents.Datasets.Name}, 'elements'))
    found.elements = h5info(file, '/elements').Dataspace.Size(2);
  end
  found.complete = found.complete ~= 0;
  request = field_request(found);
  source = struct('request', request, 'points', points, ...
                  'read', @(first, count) read(file, request, first, count), ...
                  'array', @() array_in(file));
end

% Every part of a joined field has to be one of the same request and points, and complete.
function require_parts(caller, file)
  parts = h5read(file, '/parts');
  for i = 1:numel(parts.file)
    part = fullfile(fileparts(file), char(parts.file(i)));
    require(exist(part, 'file') == 2, caller, 'part', 'the part %s of %s is missing', part, file);
    require(strcmp(plain(h5readatt(part, '/', 'identity')), ...
                   sprintf('%016x', parts.identity(:, i))), caller, 'part', ...
            '%s has another request or other points than the part of %s', part, file);
    require(plain(h5readatt(part, '/', 'complete')) ~= 0, caller, 'part', ...
            'the part %s of %s is not complete', part, file);
  end
end

% Numbers in double precision; texts without what fills their room; arrays of one dimension as rows.
function value = plain(value)
  if isnumeric(value)
    value = double(value);
  else
    value = char(value);
    value = value(value ~= 0);
  end
  if isvector(value)
    value = value(:).';
  end
end

% The elements of an array with their weights.
function [array, weights] = array_in(file)
  rows = h5read(file, '/elements');
  normals = cross(rows(6:8, :), rows(9:11, :), 1);
  pairs = h5read(file, '/weights');
  outlines = [];
  if any(strcmp({h5info(file, '/').Datasets.Name}, 'outlines'))
    outlines = h5read(file, '/outlines');
    outlines(1:2, :) = outlines(1:2, :) + 1;
    numbers = double(h5read(file, '/outline_of')) + 1;
    require(all(numbers > 0), 'pistonfield_read', 'array', ...
            'some elements of %s are rectangles and others have outlines', file);
    rows(2, :) = numbers(:).';
  end
  [array, weights] = array_of_table([rows; normals; pairs.r(:).'; pairs.i(:).'], outlines);
end

% Of several components at each point a last dimension.
function p = read(file, request, first, count)
  components = components_of_request(request);
  isSeveral = components > 1;
  pairs = h5read(file, ['/', request.quantity], [ones(1, isSeveral), double(first(:)')], ...
                 [repmat(components, 1, isSeveral), count]);
  p = permute(reshape(complex(pairs.r, pairs.i), [components, count]), [2 3 4 1]);
end
