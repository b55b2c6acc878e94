# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""A bowl.

256 elements along a spiral on a bowl of 100 mm, which is drawn to scale; and its focal plane with
the focus moved by 10 mm.
"""

import numpy as np
from matplotlib import pyplot

import pistonfield as pf

bowl = pf.Array.bowl(radius=0.1, aperture=0.1, elements=256, width=3.5e-3, height=3.5e-3)
weights = pf.focus(bowl, [10e-3, 0, 0.1], 1e6)
grid = pf.Grid(x=np.linspace(-5e-3, 20e-3, 126), y=np.linspace(-10e-3, 10e-3, 101), z=0.1)
p = pf.pressure(bowl, grid, 1e6, weights=weights, velocity=0.05)

figure = pyplot.figure(figsize=(6, 9), layout="constrained")
pf.plot(bowl, ax=figure.add_subplot(2, 1, 1, projection="3d"))
pf.plot(p, grid, ax=figure.add_subplot(2, 1, 2))
figure.savefig("bowl.png")
