% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function medium = read_medium(caller, options)
  % medium = read_medium(caller, options): what the options of medium_defaults, the frequency and the
  % speed say about the medium and the plane about a piston; a struct with
  %   wavenumber   [rad/m], with the dispersion that was asked for
  %   speed        of the phase [m/s]
  %   attenuation  [Np/m]
  %   baffle       'rigid', 'soft' or 'free'
  medium = wave_of(caller, options);
  medium.baffle = baffle_of(caller, options.baffle);
end

function baffle = baffle_of(caller, baffle)
  if isempty(baffle)
    baffle = 'rigid';
  end
  require(~strcmp(baffle, 'impedance'), caller, 'baffle', ...
          ['a baffle of a given impedance is not computed: there are rigid, soft (without ', ...
           'pressure) and free (none at all)']);
  require_word(caller, 'baffle', baffle, {'rigid', 'soft', 'free'});
end

% The wavenumber, the phase speed and the losses.
function wave = wave_of(caller, options)
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
                'speed', options.speed, 'attenuation', 0);
  reference = reference_of(caller, hasLosses, options);
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
