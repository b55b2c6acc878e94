% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function options = read_options(caller, defaults, given)
  % options = read_options(caller, defaults, given): the struct of defaults with the values of the
  % name-value pairs in the cell array given; a name that defaults lacks is refused.
  options = defaults;
  names = fieldnames(defaults);
  require(mod(numel(given), 2) == 0, caller, 'options', ...
          ['options come in pairs of a name and a value, as in ''%s'', ...; ', ...
           'one is without the other'], names{1});
  for i = 1:2:numel(given)
    name = given{i};
    require(ischar(name) && any(strcmp(name, names)), caller, 'options', ...
            '%s is no option; there are: %s', quoted(name), strjoin(names', ', '));
    options.(name) = given{i + 1};
  end
end

function text = quoted(name)
  if ischar(name)
    text = ['''', name, ''''];
  else
    text = ['a ', class(name)];
  end
end
