# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""What a beam is like.

A piston of 15 mm by 10 mm that radiates 1 W at 2 MHz: its beam's widths at -3, -6 and -20 dB are
measured within a region, and drawn into a profile across the axis through the peak.
"""

import numpy as np

import pistonfield as pf

piston = pf.Piston(width=15e-3, height=10e-3)
side = np.linspace(-15e-3, 15e-3, 31)
region = pf.Grid(x=side, y=side, z=np.linspace(60e-3, 0.2, 29))
beam = pf.beam(piston, region, 2e6, power=1)

across = pf.Grid(x=np.linspace(-15e-3, 15e-3, 301), y=0, z=beam.peak.place[2])
p = pf.pressure(piston, across, 2e6, power=1)
ax = pf.plot(p, across, quantity="level", limits=(-40, 1))
ends = zip(beam.levels, beam.before[0], beam.behind[0], strict=True)
for level, before, behind in ends:
    x = 1e3 * (beam.peak.place[0] + np.array([-before, behind]))
    ax.plot(x, [level, level], "o-", label=f"{x[1] - x[0]:.1f} mm")
ax.set_title(f"{beam.peak.pressure / 1e3:.0f} kPa at {1e3 * beam.peak.depth:.0f} mm")
ax.legend()
ax.figure.savefig("beam_widths.png")
