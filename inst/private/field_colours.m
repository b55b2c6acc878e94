% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function colours = field_colours(show)
  % colours = field_colours(show): 256 colours for what pistonfield_plot shows. Magnitudes and
  % levels go from black to pale yellow, phases around a circle, real parts through white.
  switch show
    case 'phase'
      stops = [0.16 0.11 0.30; 0.25 0.41 0.65; 0.62 0.77 0.80; 0.95 0.92 0.88; ...
               0.86 0.62 0.48; 0.60 0.22 0.30; 0.16 0.11 0.30];
      bend = 1;
    case 'real'
      stops = [0.02 0.19 0.38; 0.13 0.40 0.67; 0.57 0.77 0.87; 0.97 0.97 0.97; ...
               0.96 0.65 0.51; 0.70 0.09 0.17; 0.40 0.00 0.12];
      bend = 1;
    otherwise
      stops = [0.00 0.00 0.02; 0.16 0.04 0.33; 0.42 0.09 0.43; 0.67 0.18 0.36; ...
               0.87 0.32 0.23; 0.98 0.55 0.04; 0.98 0.79 0.20; 0.99 1.00 0.75];
      bend = 1;
      if strcmp(show, 'magnitude')
        bend = 0.7;  % weak fields get more of the range than strong ones
      end
  end
  colours = interp1(linspace(0, 1, size(stops, 1)), stops, linspace(0, 1, 256) .^ bend);
  colours = min(max(colours, 0), 1);  % interpolation rounds
end
