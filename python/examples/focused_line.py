# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""A line that is focused and steered.

64 elements at 2.5 MHz: a focus on the axis, one beside it, and a plane wave to the side. Three
weightings are three fields of one call.
"""

import numpy as np
from matplotlib import pyplot

import pistonfield as pf

array = pf.Array.line(elements=64, pitch=0.3e-3, width=0.27e-3, height=10e-3)
weights = [
    pf.focus(array, [0, 0, 30e-3], 2.5e6),
    pf.focus(array, [8e-3, 0, 30e-3], 2.5e6),
    pf.focus(array, frequency=2.5e6, steer=-20, apodization="hann"),
]
grid = pf.Grid(x=np.linspace(-20e-3, 20e-3, 201), y=0, z=np.linspace(1e-3, 60e-3, 296))
fields = pf.pressure(array, grid, 2.5e6, weights=weights)

_, axes = pyplot.subplots(3, 1, figsize=(6, 11), layout="constrained")
titles = ["on the axis", "beside it", "a plane wave"]
for p, ax, title in zip(fields, axes, titles, strict=True):
    pf.plot(p, grid, quantity="level", limits=(-40, 0), ax=ax)
    ax.set_title(title)
axes[0].figure.savefig("focused_line.png")
