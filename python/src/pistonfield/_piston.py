# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""A piston that radiates alone."""

from __future__ import annotations

from typing import Any

import numpy as np
import numpy.typing as npt

from . import _checks

LEAST_SIDE = 1e-7
"""The library takes thinner sides for something else."""


class Piston:
    """A flat rectangular piston in an infinite rigid baffle in its own plane.

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

    Examples
    --------
    >>> import pistonfield as pf
    >>> pf.Piston(width=7.5e-3, height=5e-3)
    Piston(width=0.0075, height=0.005)
    """

    __slots__ = ("_center", "_height", "_orientation", "_width")

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
        self._center = _checks.vector(center, "center")
        self._orientation = (
            np.eye(3) if orientation is None else _checks.rotation(orientation, "orientation")
        )
        self._center.flags.writeable = False
        self._orientation.flags.writeable = False

    @property
    def width(self) -> float:
        """Side along the piston's x, in m."""
        return self._width

    @property
    def height(self) -> float:
        """Side along the piston's y, in m."""
        return self._height

    @property
    def center(self) -> npt.NDArray[np.float64]:
        """The centre, three numbers in m; not to be written."""
        return self._center

    @property
    def orientation(self) -> npt.NDArray[np.float64]:
        """Columns: the piston's x, its y and its normal; not to be written."""
        return self._orientation

    def __repr__(self) -> str:
        parts = [f"width={self.width!r}", f"height={self.height!r}"]
        if self.center.any():
            parts.append(f"center={self.center.tolist()}")
        if not np.array_equal(self.orientation, np.eye(3)):
            parts.append(f"orientation={self.orientation.tolist()}")
        return f"Piston({', '.join(parts)})"

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Piston):
            return NotImplemented
        return self._values() == other._values()

    def __hash__(self) -> int:
        return hash(self._values())

    def __reduce__(self) -> tuple[Any, ...]:
        return _piston, (self.width, self.height, self.center, self.orientation)

    def _values(self) -> tuple[float, ...]:
        return (self.width, self.height, *self.center.tolist(), *self.orientation.ravel().tolist())


def _piston(
    width: float,
    height: float,
    center: npt.NDArray[np.float64],
    orientation: npt.NDArray[np.float64],
) -> Piston:
    return Piston(width=width, height=height, center=center, orientation=orientation)


def _side(value: Any, name: str) -> float:
    side = _checks.real(value, name)
    if side < LEAST_SIDE:
        raise ValueError(f"{name}: must be a length of at least {LEAST_SIDE:g} m, not {side:g}")
    return side
