# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Where the power of a disc flows.

The pressure before a disc of 10 mm at 1 MHz, and the active intensity as arrows. Near the face the
power flows through the places of high pressure, and around those of none.
"""

import numpy as np
from matplotlib import pyplot

import pistonfield as pf

disc = pf.Disc(radius=5e-3)
fine = pf.Grid(x=np.linspace(-8e-3, 8e-3, 161), y=0, z=np.linspace(0.1e-3, 30e-3, 300))
p = pf.pressure(disc, fine, 1e6, velocity=0.05)

coarse = pf.Grid(x=np.linspace(-7.5e-3, 7.5e-3, 16), y=0, z=np.linspace(1e-3, 29e-3, 29))
flow = pf.intensity(disc, coarse, 1e6, velocity=0.05)[:, 0].real
length = np.linalg.norm(flow, axis=-1).max()

_, ax = pyplot.subplots(figsize=(8, 4.5), layout="constrained")
pf.plot(p, fine, ax=ax)
ax.quiver(
    1e3 * coarse.z, 1e3 * coarse.x, flow[..., 2] / length, flow[..., 0] / length, color="white"
)
ax.figure.savefig("disc_intensity.png")
