# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Where points lie in the frame of a piston."""

from __future__ import annotations

import numpy as np
import numpy.typing as npt

from ._flat import Flat
from ._grid import Grid

_Numbers = npt.NDArray[np.float64]

_ROUNDING = 64 * float(np.finfo(np.float64).eps)
"""Of positions, relative to the lengths that they are made of: turned points may touch the piston's
plane but for it."""


def grid_before(piston: Flat, grid: Grid, behind: bool) -> tuple[_Numbers, _Numbers]:
    """Give the grid's origin and steps in the piston's frame.

    Unless `behind`, a grid that reaches behind the piston's plane is refused.
    """
    origin = _turned(grid.origin - piston.center, piston)
    steps = np.stack([_turned(step, piston) for step in grid.steps.T], axis=-1)
    ways = (np.array(grid.shape, dtype=np.float64) - 1) * steps[2]
    lowest = origin[2] + np.minimum(ways, 0).sum()
    with np.errstate(over="ignore"):
        lengths = np.abs(ways).sum() + np.linalg.norm(grid.origin) + np.linalg.norm(piston.center)
    if not behind and lowest < -_ROUNDING * lengths:
        raise ValueError(
            f"behind: the grid reaches {-lowest:g} m behind the plane of the piston, "
            "where there is no field"
        )
    return origin, steps


def points_before(piston: Flat, points: _Numbers, behind: bool) -> _Numbers:
    """Give a list of points in the piston's frame, three rows.

    Unless `behind`, points behind the piston's plane are refused.
    """
    center, turn = piston.center, piston.orientation
    place = np.zeros((3, len(points)))
    # Not a product of matrices, in which a point's rounding may depend on its neighbours.
    for i in range(3):
        for j in range(3):
            place[i] += (points[:, j] - center[j]) * turn[j, i]
    if not behind:
        _require_before(place[2], points, center)
    return place


def _require_before(z: _Numbers, points: _Numbers, center: _Numbers) -> None:
    rounding = _ROUNDING * (np.abs(points).sum(axis=1) + np.linalg.norm(center))
    found = np.flatnonzero(z < -rounding)
    if found.size:
        first = found[0]
        x, y, z_of = points[first]
        raise ValueError(
            f"behind: point {first}, ({x:g}, {y:g}, {z_of:g}) m, lies {-z[first]:g} m behind the "
            "plane of the piston, where there is no field"
        )


def _turned(vector: _Numbers, piston: Flat) -> _Numbers:
    turn = piston.orientation
    return np.array([sum(vector[j] * turn[j, i] for j in range(3)) for i in range(3)])
