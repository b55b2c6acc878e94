% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function colours = colours_of(caller, given, show)
  % colours = colours_of(caller, given, show): the colours for what pistonfield_plot shows, of a name
  % or of N by 3 values; refused where they are none.
  if isempty(given)
    colours = field_colours(show);
    return
  end
  colours = given;
  if ischar(given)
    try
      colours = feval(given, 256);
    catch
      colours = [];
    end
  end
  require(is_finite_real(colours) && ndims(colours) == 2 && size(colours, 2) == 3 && ...
          all(colours(:) >= 0 & colours(:) <= 1), caller, 'colormap', ... %#ok<ISMAT>
          'colormap must be N by 3 values from 0 to 1, or the name of a map of colours');
end
