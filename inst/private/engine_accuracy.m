% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function accuracy = engine_accuracy(caller, place, sizes, source, k, options)
  % accuracy = engine_accuracy(caller, place, sizes, source, k, options): how exact the values of
  % engine_field are on a grid or at a list of points, relative to what the tolerance is relative to; a
  % struct with
  %   engine       what computes, with its precision
  %   bound        no value is further off
  %   error        the largest error that was measured, at some of the points
  %   evaluations  of the integrand, at a point
  % A tolerance that the engine cannot keep is refused, and so are pistons of far too few or too many
  % wavelengths, and points behind an element of an array.
  question = engine_question('accuracy', place, sizes, source, k, options);
  try
    found = pistonfield_internal(question{:}, options.threads);
  catch failure
    refuse(caller, failure, isfield(source, 'weights'));
  end
  accuracy = struct('engine', [engine_name(char(found(4:end))), ', ', options.arithmetic], ...
                    'bound', found(1), 'error', found(2), 'evaluations', found(3));
end

% In words, what an array's field is computed by. The module names none for a piston.
function name = engine_name(word)
  names = struct('sum', 'sum over the elements', ...
                 'convolution', 'convolution over the elements'' lattice', ...
                 'contours', 'integrals along the outlines');
  name = 'tolerance engine';
  if isfield(names, word)
    name = names.(word);
  elseif ~isempty(word)
    name = word;
  end
end

% What the module says of its arguments, in the words of the caller's.
function refuse(caller, failure, isArray)
  reason = regexprep(failure.identifier, '.*:', '');
  text = strrep(failure.message, 'pistonfield_internal: ', '');
  said = regexprep(text, '^\w+: ', '');
  require(isempty(strfind(said, ' lies behind ')), caller, 'behind', ... %#ok<STREMP>
          '%s, where there is no field%s', said, behind_hint());
  units = '; lengths are in m, the speed in m/s, the frequency in Hz';
  switch reason
    case {'tolerance', 'points', 'weights', 'attenuation'}
      require(false, caller, reason, '%s', text);
    case {'width', 'height'}
      require(false, caller, 'piston', 'piston.%s%s', text, units);
    case 'elements'
      if isempty(strfind(said, 'wavelengths')) %#ok<STREMP>
        units = '';
      end
      if isArray
        require(false, caller, 'array', 'array: %s%s', said, units);
      end
      require(false, caller, 'piston', 'piston: %s%s', strrep(said, 'element 1: ', ''), units);
    case 'transform'
      require(false, caller, 'grid', 'grid: %s', said);
    case 'mode'
      require(false, caller, 'device', 'device: %s', said);
  end
  rethrow(failure);
end
