% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function medium = read_medium(caller, options)
  % medium = read_medium(caller, options): what the options of medium_defaults, the frequency and the
  % speed say about the medium and the plane about a piston: the struct of read_wave with the field
  %   baffle       'rigid', 'soft' or 'free'
  medium = read_wave(caller, options);
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
