% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function options = read_pressure_options(caller, given, others)
  % options = read_pressure_options(caller, given, others): the options of pistonfield_pressure in
  % the cell array of names and values, checked, with what was left out filled in; and those of the
  % struct others, which has their defaults, as they are. There are as well
  %   options.demanded    whether there was a tolerance
  %   options.byMode      whether a mode of the module computes, with an order; else it is the
  %                       tolerance engine, and options.mode stands for its precision
  %                       and its device
  %   options.arithmetic  'the mode ...', '... precision' or '... precision on a GPU'
  defaults = struct('frequency', [], 'speed', 1482, 'density', 998, 'velocity', [], 'power', [], ...
                    'tolerance', [], 'relative', [], 'precision', [], 'device', [], 'behind', [], ...
                    'mode', [], 'order', [], 'memory', Inf, 'threads', [], 'progress', 'auto');
  for name = fieldnames(others).'
    defaults.(name{1}) = others.(name{1});
  end
  options = read_options(caller, defaults, given);
  require(~isempty(options.frequency), caller, 'frequency', 'frequency is missing: give it in Hz');
  options = require_one_of(caller, options, 'velocity', 'power', 1);
  options.demanded = ~isempty(options.tolerance);
  options = require_one_of(caller, options, 'tolerance', 'order', usual_tolerance());
  choices = {'velocity', 'power', 'tolerance', 'order'};
  chosen = choices(~cellfun(@(name) isempty(options.(name)), choices));
  options = require_positive_options(caller, options, [{'frequency', 'speed', 'density'}, chosen]);
  require(isempty(options.tolerance) || options.tolerance < 1, caller, 'tolerance', ...
          'tolerance must be below 1');
  require(is_positive(options.memory) || isequal(options.memory, Inf), caller, 'memory', ...
          'memory must be a number of bytes, or Inf');
  options = choose_way(caller, options);
  options.threads = read_threads(caller, options.threads);
  require_word(caller, 'progress', options.progress, {'none', 'text', 'waitbar', 'auto'});
  if ~isempty(options.order)
    require_order(caller, options.order, options.mode);
  end
end

% A mode or an order asks for the module's sums; what else there is to choose is the engine's.
function options = choose_way(caller, options)
  options.byMode = ~isempty(options.mode) || ~isempty(options.order);
  defaults = struct('relative', 'largest', 'precision', 'double', 'device', 'cpu', 'behind', false);
  for name = fieldnames(defaults).'
    given = ~isempty(options.(name{1}));
    require(~(given && options.byMode), caller, name{1}, ...
            '%s goes with a tolerance, without mode and order', name{1});
    if ~given
      options.(name{1}) = defaults.(name{1});
    end
  end
  if options.byMode
    if isempty(options.mode)
      options.mode = 'cpu';
    end
    require_mode(caller, options.mode);
    options.arithmetic = ['the mode ', options.mode];
    return
  end
  require_word(caller, 'relative', options.relative, {'largest', 'local'});
  require_word(caller, 'precision', options.precision, {'double', 'single'});
  require_word(caller, 'device', options.device, {'cpu', 'gpu'});
  require_flag(caller, 'behind', options.behind);
  modes = struct('cpu', struct('double', 'cpu', 'single', 'cpusp'), ...
                 'gpu', struct('double', 'cudadp', 'single', 'cuda'));
  options.mode = modes.(options.device).(options.precision);
  options.arithmetic = [options.precision, ' precision'];
  if strcmp(options.device, 'gpu')
    options.arithmetic = [options.arithmetic, ' on a GPU'];
  end
end

% Of two options that say the same thing in two ways at most one may be given.
function options = require_one_of(caller, options, first, second, default)
  require(isempty(options.(first)) || isempty(options.(second)), caller, second, ...
          'give %s or %s, not both', first, second);
  if isempty(options.(first)) && isempty(options.(second))
    options.(first) = default;
  end
end
