# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""The sound fields of flat pistons of any shape and of arrays of them.

All quantities are in SI units. The time dependence is exp(+jωt).

>>> import numpy as np
>>> import pistonfield as pf
>>> array = pf.Array.line(elements=64, pitch=0.3e-3, width=0.27e-3, height=10e-3)
>>> weights = pf.focus(array, [0, 0, 30e-3], 2.5e6)
>>> grid = pf.Grid(x=np.linspace(-10e-3, 10e-3, 101), y=0, z=np.linspace(1e-3, 60e-3, 296))
>>> p = pf.pressure(array, grid, 2.5e6, weights=weights, velocity=0.01)  # Pa
"""

from ._array import Array
from ._beam import Beam, beam
from ._fields import intensity, particle_velocity, pressure
from ._focus import focus
from ._grid import Grid
from ._library import version
from ._medium import WATER, Medium
from ._piston import Piston
from ._plan import Accuracy, Cost, Plan
from ._plotting import plot
from ._power import power
from ._reading import Field, read
from ._shapes import Disc, Polygon, Ring, Sector, Shape
from ._xarray import to_xarray

__version__ = version()

__all__ = [
    "WATER",
    "Accuracy",
    "Array",
    "Beam",
    "Cost",
    "Disc",
    "Field",
    "Grid",
    "Medium",
    "Piston",
    "Plan",
    "Polygon",
    "Ring",
    "Sector",
    "Shape",
    "__version__",
    "beam",
    "focus",
    "intensity",
    "particle_velocity",
    "plot",
    "power",
    "pressure",
    "read",
    "to_xarray",
]
