% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function info = field_accuracy(caller, place, sizes, piston, k, options)
  % info = field_accuracy(caller, place, sizes, piston, k, options): how exact the field on a grid or
  % at a list of points in the piston's frame is that the options of pistonfield_pressure ask for: the
  % fields order to tolerance of its info.
  info = struct('order', NaN, 'estimate', NaN, 'engine', '', 'tolerance', NaN, 'bound', NaN, ...
                'error', NaN, 'evaluations', NaN);
  if options.byMode
    [info.order, info.estimate] = choose_order(caller, place, sizes, piston, k, options);
    return
  end
  warn_of_wavelengths(piston, k);
  accuracy = engine_accuracy(caller, place, sizes, piston, k, options);
  info.engine = ['tolerance engine, ', options.arithmetic];
  info.tolerance = options.tolerance;
  for name = fieldnames(accuracy).'
    info.(name{1}) = accuracy.(name{1});
  end
  info.estimate = info.error;
end
