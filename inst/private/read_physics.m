% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function physics = read_physics(caller, quantity, source, options)
  % physics = read_physics(caller, quantity, source, options): what the options of
  % pistonfield_pressure say about the medium and the plane about a piston; a struct with
  %   wavenumber   [rad/m], with the dispersion that was asked for
  %   speed        of the phase [m/s]
  %   dispersionFrequency  where that is the speed that was given [Hz]; empty without dispersion
  %   attenuation  [Np/m]
  %   baffle       'rigid', 'soft' or 'free'
  %   quantity     'pressure', 'velocity' or 'intensity'
  %   hasPower     whether the radiated power is known
  %   isPlain      whether this is a pressure before a rigid baffle without losses, of rectangles
  physics = read_wave(caller, options);
  physics.baffle = baffle_of(caller, options.baffle);
  physics.quantity = quantity;
  isShaped = isfield(source, 'outlines');
  reasons = {'attenuation', physics.attenuation > 0, 'losses are'
             'baffle', ~strcmp(physics.baffle, 'rigid'), 'all baffles but the rigid one are'
             'quantity', ~strcmp(quantity, 'pressure'), ['the ', quantity, ' is']
             'piston', isShaped, 'other shapes than rectangles are'};
  reasons = reasons([reasons{:, 2}], :);
  physics.hasPower = ~isShaped && strcmp(physics.baffle, 'rigid') && physics.attenuation == 0;
  physics.isPlain = isempty(reasons);
  if physics.isPlain
    return
  end
  text = [reasons{1, 3}, ' computed within a tolerance, in double precision on the CPU: '];
  require(isempty(options.order), caller, 'order', '%sthere is no order', text);
  require(~options.byMode, caller, 'mode', '%sthere is no mode', text);
  require(strcmp(options.device, 'cpu'), caller, 'device', '%sdevice must be cpu', text);
  require(strcmp(options.precision, 'double'), caller, 'precision', ...
          '%sprecision must be double', text);
  require(physics.hasPower || isempty(options.power), caller, 'power', ...
          ['power goes with rectangles before a rigid baffle, without losses: give velocity ', ...
           'instead']);
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
