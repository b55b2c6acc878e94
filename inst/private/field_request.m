% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function request = field_request(found)
  % request = field_request(found): what pistonfield_read tells of a file, among what was found.
  request = struct('transform', [], 'sizes', [], 'l', [], 's', [], 'k', [], 'mode', '', ...
                   'order', [], 'table', [], 'first_point', [], 'complete', false, 'host', '', ...
                   'started', '', 'finished', '', 'seconds', [], 'processes', [], ...
                   'peak_memory', [], 'tolerance', [], 'relative', '', 'precision', '', ...
                   'device', '', 'behind', [], 'error_bound', [], 'error', [], 'error_points', [], ...
                   'evaluations', [], 'elements', [], 'engine', '', 'attenuation', [], ...
                   'baffle', '', 'quantity', 'pressure');
  for name = intersect(fieldnames(request), fieldnames(found)).'
    request.(name{1}) = found.(name{1});
  end
  if isempty(request.tolerance)
    return
  end
  % A rule means nothing there, and the mode is the precision's and the device's.
  request.order = [];
  request.behind = request.behind ~= 0;
  request.precision = 'double';
  if is_single_mode(request.mode)
    request.precision = 'single';
  end
  request.device = 'cpu';
  if any(strcmp(request.mode, {'cuda', 'cudadp'}))
    request.device = 'gpu';
  end
end
