% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function accuracy = engine_accuracy(caller, place, sizes, piston, k, options)
  % accuracy = engine_accuracy(caller, place, sizes, piston, k, options): how exact the values of
  % engine_field are on a grid or at a list of points, relative to what the tolerance is relative to; a
  % struct with
  %   bound        no value is further off
  %   error        the largest error that was measured, at some of the points
  %   evaluations  of the integrand, at a point
  % A tolerance that the engine cannot keep is refused, and so is a piston of far too few or too many
  % wavelengths.
  question = engine_question('accuracy', place, sizes, piston, k, options);
  try
    found = pistonfield_internal(question{:}, options.threads);
  catch failure
    refuse(caller, failure);
  end
  accuracy = struct('bound', found(1), 'error', found(2), 'evaluations', found(3));
end

% What the module says of its arguments, in the words of the caller's.
function refuse(caller, failure)
  reason = regexprep(failure.identifier, '.*:', '');
  text = strrep(failure.message, 'pistonfield_internal: ', '');
  require(~any(strcmp(reason, {'tolerance', 'points'})), caller, reason, '%s', text);
  require(~any(strcmp(reason, {'width', 'height'})), caller, 'piston', ...
          'piston.%s; lengths are in m, the speed in m/s, the frequency in Hz', text);
  rethrow(failure);
end
