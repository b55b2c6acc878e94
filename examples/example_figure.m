% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function figure_ = example_figure(width, height)
  % figure = example_figure(width, height): an invisible figure of so many pixels, which
  % example_picture prints.
  state = warning('off', 'Octave:gnuplot-graphics');
  restore = onCleanup(@() warning(state));
  figure_ = figure('visible', 'off', 'position', [100, 100, width, height], ...
                   'paperunits', 'inches', 'paperposition', [0, 0, width, height] / 100);
end
