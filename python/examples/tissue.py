# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""A focus in tissue.

A line array at 3 MHz, focused at 40 mm in water and in a medium that takes 0.5 dB/(cm MHz). What is
lost on the way moves the largest pressure towards the array.
"""

import numpy as np
from matplotlib import pyplot

import pistonfield as pf

water = pf.Medium(speed=1540, density=1000)
tissue = pf.Medium(speed=1540, density=1000, attenuation=0.5)
array = pf.Array.line(elements=48, pitch=0.4e-3, width=0.36e-3, height=8e-3)
grid = pf.Grid(x=0, y=0, z=np.linspace(5e-3, 80e-3, 301))

_, ax = pyplot.subplots(figsize=(7, 4), layout="constrained")
for medium, name in ((water, "without losses"), (tissue, "0.5 dB/(cm MHz)")):
    weights = pf.focus(array, [0, 0, 40e-3], 3e6, medium=medium)
    p = pf.pressure(array, grid, 3e6, medium=medium, weights=weights, velocity=0.05)
    ax.plot(1e3 * grid.z, abs(p[0, 0]) / 1e3, label=name)
ax.set_xlabel("z (mm)")
ax.set_ylabel("|p| (kPa)")
ax.legend()
ax.figure.savefig("tissue.png")
