# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""What rounded delays do.

A focus across a line of 64 elements: exact delays, delays in steps of 50 ns, and 2 bits of phase.
"""

import numpy as np
from matplotlib import pyplot

import pistonfield as pf

array = pf.Array.line(elements=64, pitch=0.3e-3, width=0.27e-3, height=10e-3)
focus = [5e-3, 0, 30e-3]
drives = {"exact": {}, "50 ns": {"quantized": 50e-9}, "2 bits": {"phase_bits": 2}}
weights = [pf.focus(array, focus, 2.5e6, **drive) for drive in drives.values()]
grid = pf.Grid(x=np.linspace(-20e-3, 20e-3, 801), y=0, z=30e-3)
fields = abs(pf.pressure(array, grid, 2.5e6, weights=weights))[:, :, 0, 0]

_, ax = pyplot.subplots(layout="constrained")
for p, name in zip(fields, drives, strict=True):
    ax.plot(1e3 * grid.x, 20 * np.log10(p / fields.max()), label=name)
ax.set_xlabel("x (mm)")
ax.set_ylabel("level (dB)")
ax.set_ylim(-60, 1)
ax.legend()
ax.figure.savefig("rounded_delays.png")
