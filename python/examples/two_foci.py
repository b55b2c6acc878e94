# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""A matrix with two foci.

32 by 32 elements at 1 MHz make 1 MPa at two points at once, in opposite phase. The iterations even
the drive of the elements out.
"""

import numpy as np

import pistonfield as pf

array = pf.Array.matrix(elements=(32, 32), pitch=1e-3, width=0.9e-3, height=0.9e-3)
foci = [[-6e-3, 0, 40e-3], [6e-3, 0, 40e-3]]
weights = pf.focus(array, foci, 1e6, pressures=[1e6, -1e6], iterations=50)
grid = pf.Grid(x=np.linspace(-16e-3, 16e-3, 129), y=0, z=np.linspace(2e-3, 70e-3, 273))
p = pf.pressure(array, grid, 1e6, weights=weights)
ax = pf.plot(p, grid)
ax.set_title(f"largest velocity of an element: {abs(weights).max():.2f} m/s")
ax.figure.savefig("two_foci.png")
