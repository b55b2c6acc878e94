% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function request = field_request(found)
  % request = field_request(found): what pistonfield_read tells of a file, among what was found.
  request = struct('transform', [], 'sizes', [], 'l', [], 's', [], 'k', [], 'mode', '', ...
                   'order', [], 'table', [], 'tolerance', [], 'relative', '', 'precision', '', ...
                   'behind', false, 'first_point', [], 'complete', false, 'host', '', ...
                   'started', '', 'finished', '', 'seconds', [], 'processes', [], ...
                   'peak_memory', [], 'error_bound', [], 'error', [], 'evaluations', []);
  for name = intersect(fieldnames(request), fieldnames(found)).'
    request.(name{1}) = found.(name{1});
  end
  request.behind = request.behind ~= 0;
  if ~isempty(request.tolerance)
    precisions = {'double', 'single'};
    request.precision = precisions{1 + is_single_mode(request.mode)};
    request.order = [];
  end
end
