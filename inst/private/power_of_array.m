% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function power = power_of_array(caller, source, medium, threads)
  % power = power_of_array(caller, source, medium, threads): what an array with its weights, or a piston
  % with the weight 1, radiates in a medium of read_medium, per density * speed * velocity^2 [m^2]. It is asked for about half a second of the search at a time,
  % and Ctrl-C is heeded in between.
  state = zeros(1, 4);
  found = [];
  while isempty(found)
    answer = ask_module(caller, struct('elements', 'array'), 'array_power', source.width, ...
                        source.height, source.center, source.orientation, real(source.weights), ...
                        imag(source.weights), medium.wavenumber, medium.attenuation, ...
                        medium.baffle, state, threads);
    state = answer(1:4);
    found = answer(5:end);
  end
  power = found(1);
end
