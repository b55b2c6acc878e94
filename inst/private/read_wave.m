% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function wave = read_wave(caller, options)
  % wave = read_wave(caller, options): the wave that the options of pistonfield_pressure ask for, those
  % of losses among them, which are empty where they were left out: a struct with the fields
  % wavenumber [rad/m], speed, of the phase [m/s], attenuation [Np/m] and dispersionFrequency, at which
  % that is the speed that was given [Hz]; empty without dispersion.
  require(isempty(options.attenuation) || isempty(options.nepers), caller, 'nepers', ...
          'give attenuation or nepers, not both');
  given = {'speed', options.speed, 'frequency', options.frequency};
  for name = {'attenuation', 'exponent', 'nepers'}
    value = options.(name{1});
    if ~isempty(value)
      require(is_finite_real(value) && isscalar(value), caller, name{1}, ...
              '%s must be a real, finite number', name{1});
      given = [given, {name{1}, double(value)}]; %#ok<AGROW>
    end
  end
  hasLosses = ~isempty(options.attenuation) || ~isempty(options.nepers);
  require(hasLosses || isempty(options.exponent), caller, 'exponent', ...
          'exponent goes with attenuation or nepers');
  wave = struct('wavenumber', 2 * pi * options.frequency / options.speed, ...
                'speed', options.speed, 'attenuation', 0, 'dispersionFrequency', []);
  reference = reference_of(caller, hasLosses, options);
  wave.dispersionFrequency = reference;
  if ~hasLosses
    return
  end
  if ~isempty(reference)
    given = [given, {'dispersionFrequency', reference}];
  end
  names = struct('dispersionFrequency', 'dispersionfrequency');
  found = ask_module(caller, names, 'wave', given{:});
  wave.attenuation = found(2);
  if ~isempty(reference)
    wave.wavenumber = found(1);
    wave.speed = 2 * pi * options.frequency / found(1);
  end
end

% The frequency at which the phase speed is the speed; none where that is at all frequencies.
function reference = reference_of(caller, hasLosses, options)
  isAsked = ~isempty(options.dispersion);
  if isAsked
    require_flag(caller, 'dispersion', options.dispersion);
    isAsked = logical(options.dispersion);
  end
  require(hasLosses || ~isAsked, caller, 'dispersion', ...
          'dispersion goes with losses: give attenuation or nepers');
  reference = options.dispersionfrequency;
  require(isAsked || isempty(reference), caller, 'dispersionfrequency', ...
          'dispersionfrequency goes with dispersion, true');
  if isAsked && isempty(reference)
    reference = 1e6;
  elseif isAsked
    require(is_positive(reference), caller, 'dispersionfrequency', ...
            'dispersionfrequency must be a number above 0, in Hz');
    reference = double(reference);
  end
end
