% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function info = field_accuracy(caller, place, sizes, source, k, options)
  % info = field_accuracy(caller, place, sizes, source, k, options): how exact the field on a grid or
  % at a list of points in the frame of the source, a piston or an array with its weights, is that the
  % options of pistonfield_pressure ask for: the fields order to tolerance of its info.
  info = struct('order', NaN, 'estimate', NaN, 'engine', '', 'tolerance', NaN, 'bound', NaN, ...
                'error', NaN, 'evaluations', NaN);
  if options.byMode
    [info.order, info.estimate] = choose_order(caller, place, sizes, source, k, options);
    return
  end
  warn_of_wavelengths(source, k);
  accuracy = engine_accuracy(caller, place, sizes, source, k, options);
  info.tolerance = options.tolerance;
  for name = fieldnames(accuracy).'
    info.(name{1}) = accuracy.(name{1});
  end
  info.estimate = info.error;
end
