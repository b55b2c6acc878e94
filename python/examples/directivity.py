# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""A directivity, at any points.

The level on circles around a piston, near and far: the far one is what formulas for the far field
give.
"""

import numpy as np
from matplotlib import pyplot

import pistonfield as pf

piston = pf.Piston(width=5e-3, height=5e-3)
angle = np.linspace(-np.pi / 2, np.pi / 2, 361)
_, ax = pyplot.subplots(layout="constrained")
for radius in (10e-3, 30e-3, 1.0):
    points = radius * np.stack([np.sin(angle), 0 * angle, np.abs(np.cos(angle))], axis=1)
    p = abs(pf.pressure(piston, points, 1e6))
    ax.plot(np.degrees(angle), 20 * np.log10(p / p.max()), label=f"{1e3 * radius:g} mm")
ax.set_xlabel("angle (°)")
ax.set_ylabel("level (dB)")
ax.set_ylim(-50, 1)
ax.legend()
ax.figure.savefig("directivity.png")
