% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function [source, elements, fields] = with_weights(caller, source, options)
  % [source, elements, fields] = with_weights(caller, source, options): an array with the weights of
  % the options, which is computed within a tolerance; or a piston, which has none. The number of
  % elements and that of the fields that are asked for.
  if ~isfield(source, 'count')
    require(isempty(options.weights), caller, 'weights', 'weights go with an array, not a piston');
    elements = 1;
    fields = 1;
    return
  end
  require(isempty(options.order), caller, 'order', ...
          'an array is computed within a tolerance: it takes no order');
  require(~options.byMode, caller, 'mode', ...
          'an array is computed within a tolerance: it takes no mode');
  source.weights = read_weights(caller, options.weights, source.count);
  elements = source.count;
  fields = size(source.weights, 2);
  require(fields == 1 || isempty(options.power), caller, 'power', ...
          'power goes with one column of weights: give velocity');
end
