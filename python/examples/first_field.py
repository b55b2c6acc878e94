# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""A first field.

A piston of 7.5 mm (x) by 5 mm (y) at 1 MHz in water, in the plane y = 0.
"""

import numpy as np

import pistonfield as pf

piston = pf.Piston(width=7.5e-3, height=5e-3)
grid = pf.Grid(x=np.linspace(-15e-3, 15e-3, 151), y=0, z=np.linspace(0.5e-3, 80e-3, 400))
p = pf.pressure(piston, grid, 1e6, velocity=0.01)
ax = pf.plot(p, grid)
ax.set_title("|p| at 0.01 m/s")
ax.figure.savefig("first_field.png")
