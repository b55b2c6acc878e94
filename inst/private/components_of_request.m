% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function count = components_of_request(request)
  % count = components_of_request(request): the numbers at each point of a field that field_request
  % tells of.
  count = 3 - 2 * strcmp(request.quantity, 'pressure');
end
