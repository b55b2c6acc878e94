% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function options = require_positive_options(caller, options, names)
  % options = require_positive_options(caller, options, names): the options with these names in
  % double precision; anything but a positive number is refused.
  for i = 1:numel(names)
    value = options.(names{i});
    require(is_positive(value), caller, names{i}, '%s must be a real, finite number above 0', ...
            names{i});
    options.(names{i}) = double(value);
  end
end
