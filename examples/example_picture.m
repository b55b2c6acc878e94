% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function example_picture(figure_, folder, name)
  % example_picture(figure, folder, name): writes a figure as it is shown to folder/name.png.
  file = fullfile(folder, [name, '.png']);
  print(figure_, file, '-dpng', '-r100');
  fprintf('picture: %s\n', file);
end
