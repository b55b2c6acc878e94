% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function yes = is_rotation(turn)
  % is_rotation(turn): whether it is a 3 by 3 matrix whose columns have length 1 and are at right
  % angles, the third being the cross product of the others.
  yes = is_finite_real(turn) && isequal(size(turn), [3, 3]);
  if yes
    turn = double(turn);
    yes = norm(turn' * turn - eye(3)) < 1e-9 && det(turn) > 0;
  end
end
