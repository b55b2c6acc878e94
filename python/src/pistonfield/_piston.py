# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""A piston that radiates alone."""

from __future__ import annotations

from typing import Any

import numpy.typing as npt

from . import _checks
from ._flat import Flat

LEAST_SIDE = 1e-7
"""The library takes thinner sides for something else."""


class Piston(Flat):
    """A flat rectangular piston.

    Parameters
    ----------
    width : float
        Side along the piston's x, in m.
    height : float
        Side along the piston's y, in m.
    center : array_like, optional
        The piston's centre, three numbers in m.
    orientation : array_like, optional
        3 by 3 rotation matrix whose columns are the piston's x, its y and its normal, the direction
        that it radiates to. By default it lies in the plane z = 0 and radiates to +z.

    See Also
    --------
    Disc, Ring, Sector, Polygon : pistons of other shapes.

    Examples
    --------
    >>> import pistonfield as pf
    >>> pf.Piston(width=7.5e-3, height=5e-3)
    Piston(width=0.0075, height=0.005)
    """

    __slots__ = ("_height", "_width")

    def __init__(
        self,
        *,
        width: float,
        height: float,
        center: npt.ArrayLike = (0, 0, 0),
        orientation: npt.ArrayLike | None = None,
    ) -> None:
        self._width = _side(width, "width")
        self._height = _side(height, "height")
        super().__init__(center, orientation)

    @property
    def width(self) -> float:
        """Side along the piston's x, in m."""
        return self._width

    @property
    def height(self) -> float:
        """Side along the piston's y, in m."""
        return self._height

    @property
    def sides(self) -> tuple[float, float]:
        """Both of them, in m."""
        return self._width, self._height

    @property
    def outline(self) -> None:
        """None: a rectangle is known by its sides."""
        return None

    @property
    def parameters(self) -> dict[str, Any]:
        """The sides by their names."""
        return {"width": self._width, "height": self._height}


def _side(value: Any, name: str) -> float:
    side = _checks.real(value, name)
    if side < LEAST_SIDE:
        raise ValueError(f"{name}: must be a length of at least {LEAST_SIDE:g} m, not {side:g}")
    return side
