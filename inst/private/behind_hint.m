% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function text = behind_hint()
  % behind_hint(): what ends an error about points behind what radiates.
  text = '; the option ''behind'', true takes the points mirrored in the plane';
end
