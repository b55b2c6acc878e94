% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function fig = new_figure(width, height)
  % fig = new_figure(width, height): a figure of so many pixels that is printed as it is shown, at 100
  % pixels to the inch; invisible without a screen.
  state = warning('off', 'Octave:gnuplot-graphics');
  restore = onCleanup(@() warning(state));
  visibility = {'off', 'on'};
  fig = figure('visible', visibility{1 + has_screen()});
  position = get(fig, 'position');
  set(fig, 'position', [position(1:2), round(width), round(height)], 'paperunits', 'inches', ...
      'paperposition', [0, 0, round(width), round(height)] / 100);
end

function yes = has_screen()
  yes = ispc() || ismac() || ~isempty(getenv('DISPLAY')) || ~isempty(getenv('WAYLAND_DISPLAY'));
end
