% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function accuracy = engine_accuracy(caller, place, sizes, piston, k, options)
  % accuracy = engine_accuracy(caller, place, sizes, piston, k, options): how exact the values of
  % engine_field are on a grid, relative to what the tolerance is relative to; a struct with
  %   bound        no value is further off
  %   error        the largest error that was measured, at some of the points
  %   evaluations  of the integrand, at a point
  % A tolerance that the engine cannot keep is refused.
  question = {'accuracy', place, sizes, piston.width, piston.height, k, options.mode, ...
              options.tolerance, options.relative, options.threads};
  try
    found = pistonfield_internal(question{:});
  catch failure
    isTolerance = strcmp(failure.identifier, 'pistonfield:pistonfield_internal:tolerance');
    require(~isTolerance, caller, 'tolerance', '%s', ...
            strrep(failure.message, 'pistonfield_internal: ', ''));
    rethrow(failure);
  end
  accuracy = struct('bound', found(1), 'error', found(2), 'evaluations', found(3));
end
