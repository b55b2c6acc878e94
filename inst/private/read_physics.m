% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function physics = read_physics(caller, quantity, source, options)
  % physics = read_physics(caller, quantity, source, options): what the options of
  % pistonfield_pressure say about the medium and the plane about a piston; the struct of read_medium
  % with the fields
  %   quantity     'pressure', 'velocity' or 'intensity'
  %   isPlain      whether this is a pressure before a rigid baffle without losses, of rectangles
  physics = read_medium(caller, options);
  physics.quantity = quantity;
  isShaped = isfield(source, 'outlines');
  reasons = {'attenuation', physics.attenuation > 0, 'losses are'
             'baffle', ~strcmp(physics.baffle, 'rigid'), 'all baffles but the rigid one are'
             'quantity', ~strcmp(quantity, 'pressure'), ['the ', quantity, ' is']
             'piston', isShaped, 'other shapes than rectangles are'};
  reasons = reasons([reasons{:, 2}], :);
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
end
