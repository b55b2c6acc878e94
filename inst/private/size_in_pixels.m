% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function pixels = size_in_pixels(fig)
  % size_in_pixels(fig): the width and the height of a figure.
  units = get(fig, 'units');
  set(fig, 'units', 'pixels');
  position = get(fig, 'position');
  set(fig, 'units', units);
  pixels = position(3:4);
end
