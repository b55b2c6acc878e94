# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Rings that are focused at two depths.

Eight rings of equal areas in a disc of 24 mm at 1.5 MHz: the array to scale, and its field with the
focus at 30 mm and at 60 mm.
"""

import numpy as np
from matplotlib import pyplot

import pistonfield as pf

rings = pf.Array.annular(elements=8, radius=12e-3, kerf=0.2e-3)
grid = pf.Grid(x=np.linspace(-12e-3, 12e-3, 97), y=0, z=np.linspace(5e-3, 90e-3, 171))

figure = pyplot.figure(figsize=(7, 9), layout="constrained")
pf.plot(rings, ax=figure.add_subplot(3, 1, 1, projection="3d"))
for place, depth in ((2, 30e-3), (3, 60e-3)):
    weights = pf.focus(rings, [0, 0, depth], 1.5e6)
    p = pf.pressure(rings, grid, 1.5e6, weights=weights, velocity=0.05)
    ax = figure.add_subplot(3, 1, place)
    pf.plot(p, grid, quantity="level", limits=(-40, 0), ax=ax)
    ax.set_title(f"{1e3 * depth:.0f} mm")
figure.savefig("annular.png")
