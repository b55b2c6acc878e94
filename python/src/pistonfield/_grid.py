# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Regular grids of points."""

from __future__ import annotations

from typing import Any

import numpy as np
import numpy.typing as npt

from . import _checks


class Grid:
    """A regular grid of points, from coordinates along the axes or from an origin and steps.

    Parameters
    ----------
    x, y, z : array_like, optional
        Coordinates along each axis in m: a number, or evenly spaced ones, rising or falling.
    origin : array_like, optional
        In place of these: the first point in m.
    steps : array_like, optional
        3 by 3 matrix in m whose columns lead from a point to the next one along the grid's first,
        second and third direction.
    sizes : array_like, optional
        The number of points along each direction.

    Examples
    --------
    A plane through the axis, every half millimetre:

    >>> import numpy as np
    >>> import pistonfield as pf
    >>> grid = pf.Grid(x=np.arange(-20, 21) * 0.5e-3, y=0, z=np.arange(1, 121) * 0.5e-3)
    >>> grid.shape
    (41, 1, 120)

    A line at 30 degrees to the axis:

    >>> along = np.array([np.sin(np.pi / 6), 0, np.cos(np.pi / 6)])
    >>> steps = 0.5e-3 * np.column_stack([along, [0, 1, 0], np.cross(along, [0, 1, 0])])
    >>> pf.Grid(origin=[0, 0, 1e-3], steps=steps, sizes=[100, 1, 1]).shape
    (100, 1, 1)
    """

    __slots__ = ("_origin", "_sizes", "_steps")

    def __init__(
        self,
        *,
        x: npt.ArrayLike | None = None,
        y: npt.ArrayLike | None = None,
        z: npt.ArrayLike | None = None,
        origin: npt.ArrayLike | None = None,
        steps: npt.ArrayLike | None = None,
        sizes: npt.ArrayLike | None = None,
    ) -> None:
        ranges = {"x": x, "y": y, "z": z}
        place = {"origin": origin, "steps": steps, "sizes": sizes}
        given = [name for name, value in {**ranges, **place}.items() if value is not None]
        if set(given) == set(ranges):
            read = [_range(value, name) for name, value in ranges.items()]
            self._origin = np.array([first for first, _, _ in read])
            self._steps = np.diag([step for _, step, _ in read])
            self._sizes = (read[0][2], read[1][2], read[2][2])
        elif set(given) == set(place):
            self._origin = _checks.vector(origin, "origin")
            self._steps = _steps(steps)
            self._sizes = _sizes(sizes)
        else:
            raise TypeError(
                "Grid: give x, y and z, or origin, steps and sizes; "
                f"there are {', '.join(given) or 'none'}"
            )
        self._origin.flags.writeable = False
        self._steps.flags.writeable = False

    @property
    def origin(self) -> npt.NDArray[np.float64]:
        """The first point in m; not to be written."""
        return self._origin

    @property
    def steps(self) -> npt.NDArray[np.float64]:
        """Columns: from a point to the next one along each direction, in m; not to be written."""
        return self._steps

    @property
    def shape(self) -> tuple[int, int, int]:
        """The number of points along each direction."""
        return self._sizes

    @property
    def size(self) -> int:
        """The number of all points."""
        return self._sizes[0] * self._sizes[1] * self._sizes[2]

    @property
    def is_aligned(self) -> bool:
        """Whether its directions are x, y and z; one with a single point may be any."""
        across = self._steps[:, np.array(self._sizes) > 1]
        along = np.eye(3, dtype=bool)[:, np.array(self._sizes) > 1]
        return not across[~along].any()

    @property
    def x(self) -> npt.NDArray[np.float64]:
        """Coordinates along x in m, of a grid that is aligned with the axes."""
        return self._coordinates(0)

    @property
    def y(self) -> npt.NDArray[np.float64]:
        """Coordinates along y in m, of a grid that is aligned with the axes."""
        return self._coordinates(1)

    @property
    def z(self) -> npt.NDArray[np.float64]:
        """Coordinates along z in m, of a grid that is aligned with the axes."""
        return self._coordinates(2)

    def positions(self) -> npt.NDArray[np.float64]:
        """Give where all points lie.

        Returns
        -------
        ndarray
            Of the grid's shape and 3: x, y and z in m.

        Examples
        --------
        >>> import pistonfield as pf
        >>> pf.Grid(x=0, y=0, z=[0.01, 0.02]).positions()[0, 0]
        array([[0.  , 0.  , 0.01],
               [0.  , 0.  , 0.02]])
        """
        place = self._origin
        for size, step in zip(self._sizes, self._steps.T, strict=True):
            place = place[..., np.newaxis, :] + np.arange(size)[:, np.newaxis] * step
        return place

    def __repr__(self) -> str:
        sizes = " by ".join(str(size) for size in self._sizes)
        last = self._origin + self._steps @ (np.array(self._sizes) - 1)
        return (
            f"<Grid of {sizes} points from ({_millimetres(self._origin)}) "
            f"to ({_millimetres(last)}) mm>"
        )

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Grid):
            return NotImplemented
        return self._values() == other._values()

    def __hash__(self) -> int:
        return hash(self._values())

    def __reduce__(self) -> tuple[Any, ...]:
        return _grid, (self._origin, self._steps, self._sizes)

    def _values(self) -> tuple[float, ...]:
        return (*self._origin.tolist(), *self._steps.ravel().tolist(), *self._sizes)

    def _coordinates(self, axis: int) -> npt.NDArray[np.float64]:
        if not self.is_aligned:
            raise ValueError("grid: it is turned against the axes; positions() has its points")
        along: npt.NDArray[np.float64] = np.arange(self._sizes[axis]) * self._steps[axis, axis]
        along += self._origin[axis]
        return along


def checked(grid: Grid) -> Grid:
    """Refuse what is no grid."""
    if not isinstance(grid, Grid):
        raise TypeError(f"grid: must be a Grid, not {type(grid).__name__}")
    return grid


def _grid(
    origin: npt.NDArray[np.float64], steps: npt.NDArray[np.float64], sizes: tuple[int, int, int]
) -> Grid:
    return Grid(origin=origin, steps=steps, sizes=sizes)


def _range(value: Any, name: str) -> tuple[float, float, int]:
    """Read the first coordinate, the step and the number of evenly spaced ones."""
    values = np.atleast_1d(_checks.reals(value, name, "evenly spaced coordinates"))
    if values.ndim != 1 or values.size == 0:
        raise ValueError(
            f"{name}: must be a number or a vector of coordinates, not of the shape {values.shape}"
        )
    first = float(values[0])
    count = values.size
    if count == 1:
        return first, 1.0, 1  # any step will do, and 1 m keeps the grid's matrix invertible
    # Two coordinates that are far apart may have a step beyond the numbers.
    with np.errstate(over="ignore", invalid="ignore"):
        step = (float(values[-1]) - first) / (count - 1)
        off = np.abs(first + step * np.arange(count) - values).max()
    rounding = np.finfo(np.float64).eps
    kind = np.asarray(value).dtype
    if kind.kind == "f":
        rounding = max(rounding, np.finfo(kind).eps)
    allowed = max(1e-6 * abs(step), 8 * float(rounding) * np.abs(values).max())
    if not (off <= allowed and step != 0):
        raise ValueError(f"{name}: must be evenly spaced; any points go as an (N, 3) array")
    return first, step, count


def _steps(value: Any) -> npt.NDArray[np.float64]:
    steps = _checks.reals(value, "steps", "a 3 by 3 matrix")
    if steps.shape != (3, 3):
        raise ValueError(f"steps: must be a 3 by 3 matrix, not of the shape {steps.shape}")
    return steps


def _sizes(value: Any) -> tuple[int, int, int]:
    try:
        listed = [_checks.whole(size, "sizes") for size in value]
    except TypeError:
        raise TypeError("sizes: must be three whole numbers") from None
    if len(listed) != 3:
        raise ValueError(f"sizes: must be three whole numbers, not {len(listed)}")
    if min(listed) < 1:
        raise ValueError(f"sizes: each must be 1 or more, not {min(listed)}")
    return listed[0], listed[1], listed[2]


def _millimetres(place: npt.NDArray[np.float64]) -> str:
    return ", ".join(f"{1e3 * coordinate:g}" for coordinate in place)
