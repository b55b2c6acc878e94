# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Pistons of other shapes than rectangles."""

from __future__ import annotations

from collections.abc import Iterable
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _checks, _library
from ._flat import Flat
from ._outline import Outline


class Shape(Flat):
    """A flat piston of any shape: an element of an array.

    `Disc`, `Ring`, `Sector` and `Polygon` make them, and so do the builders of arrays. Their fields
    are integrals along their outlines, in which arcs are arcs and no polygons.

    Parameters
    ----------
    outline : Outline
        The boundary, as an array's element has it.
    center : array_like, optional
        Where the piston's origin goes, three numbers in m.
    orientation : array_like, optional
        3 by 3 rotation matrix whose columns are the piston's x, its y and its normal.
    """

    __slots__ = ("_outline",)

    def __init__(
        self,
        *,
        outline: Outline,
        center: npt.ArrayLike = (0, 0, 0),
        orientation: npt.ArrayLike | None = None,
    ) -> None:
        if not isinstance(outline, Outline):
            raise TypeError(f"outline: must be one of an element, not {type(outline).__name__}")
        self._outline = outline
        super().__init__(center, orientation)

    @property
    def outline(self) -> Outline:
        """Its boundary."""
        return self._outline

    @property
    def sides(self) -> tuple[float, float]:
        """Extents along the piston's x and y, in m."""
        return self._outline.sides

    @property
    def parameters(self) -> dict[str, Any]:
        """The outline."""
        return {"outline": self._outline}

    def __repr__(self) -> str:
        if type(self) is not Shape:
            return super().__repr__()
        along, up = (f"{1e3 * side:.4g}" for side in self.sides)
        return f"<Shape of {len(self._outline.edges)} edges, {along} by {up} mm>"


class Disc(Shape):
    """A flat circular piston.

    Parameters
    ----------
    radius : float
        In m.
    center : array_like, optional
        The disc's centre, three numbers in m.
    orientation : array_like, optional
        3 by 3 rotation matrix whose columns are the piston's x, its y and its normal.

    Examples
    --------
    >>> import pistonfield as pf
    >>> pf.Disc(radius=5e-3)
    Disc(radius=0.005)
    """

    __slots__ = ("_radius",)

    def __init__(
        self,
        *,
        radius: float,
        center: npt.ArrayLike = (0, 0, 0),
        orientation: npt.ArrayLike | None = None,
    ) -> None:
        self._radius = _checks.real(radius, "radius")
        outline = _built(_library.functions.array_disc, self._radius)
        super().__init__(outline=outline, center=center, orientation=orientation)

    @property
    def radius(self) -> float:
        """In m."""
        return self._radius

    @property
    def parameters(self) -> dict[str, Any]:
        """The radius by its name."""
        return {"radius": self._radius}


class Ring(Shape):
    """What lies between two circles.

    Parameters
    ----------
    inner, outer : float
        The radii, in m. An inner one of 0 leaves a disc.
    center : array_like, optional
        The circles' centre, three numbers in m.
    orientation : array_like, optional
        3 by 3 rotation matrix whose columns are the piston's x, its y and its normal.

    Examples
    --------
    >>> import pistonfield as pf
    >>> pf.Ring(inner=2e-3, outer=5e-3)
    Ring(inner=0.002, outer=0.005)
    """

    __slots__ = ("_radii",)

    def __init__(
        self,
        *,
        inner: float,
        outer: float,
        center: npt.ArrayLike = (0, 0, 0),
        orientation: npt.ArrayLike | None = None,
    ) -> None:
        self._radii = _checks.real(inner, "inner"), _checks.real(outer, "outer")
        outline = _built(_library.functions.array_ring, *self._radii)
        super().__init__(outline=outline, center=center, orientation=orientation)

    @property
    def inner(self) -> float:
        """The inner radius, in m."""
        return self._radii[0]

    @property
    def outer(self) -> float:
        """The outer radius, in m."""
        return self._radii[1]

    @property
    def parameters(self) -> dict[str, Any]:
        """The radii by their names."""
        return {"inner": self._radii[0], "outer": self._radii[1]}


class Sector(Shape):
    """A part of a ring or a disc between two angles.

    Parameters
    ----------
    outer : float
        The radius where it ends, in m.
    angles : (float, float)
        Where it begins and ends, from the x axis towards the y axis in degrees: rising, by less
        than 360.
    inner : float, optional
        The radius where it begins, in m.
    center : array_like, optional
        The circles' centre, three numbers in m.
    orientation : array_like, optional
        3 by 3 rotation matrix whose columns are the piston's x, its y and its normal.

    Examples
    --------
    >>> import pistonfield as pf
    >>> pf.Sector(outer=5e-3, angles=(0, 90))
    Sector(outer=0.005, angles=[0.0, 90.0], inner=0.0)
    """

    __slots__ = ("_angles", "_radii")

    def __init__(
        self,
        *,
        outer: float,
        angles: npt.ArrayLike,
        inner: float = 0.0,
        center: npt.ArrayLike = (0, 0, 0),
        orientation: npt.ArrayLike | None = None,
    ) -> None:
        self._radii = _checks.real(inner, "inner"), _checks.real(outer, "outer")
        self._angles = _checks.reals(angles, "angles", "two angles in degrees")
        if self._angles.shape != (2,):
            raise ValueError("angles: must be two, where it begins and ends, in degrees")
        self._angles.flags.writeable = False
        turns = (self._angles * np.pi / 180).tolist()
        outline = _built(_library.functions.array_sector, *self._radii, *turns)
        super().__init__(outline=outline, center=center, orientation=orientation)

    @property
    def inner(self) -> float:
        """The radius where it begins, in m."""
        return self._radii[0]

    @property
    def outer(self) -> float:
        """The radius where it ends, in m."""
        return self._radii[1]

    @property
    def angles(self) -> npt.NDArray[np.float64]:
        """Where it begins and ends, in degrees; not to be written."""
        return self._angles

    @property
    def parameters(self) -> dict[str, Any]:
        """The radii and the angles by their names."""
        return {"outer": self._radii[1], "angles": self._angles, "inner": self._radii[0]}


class Polygon(Shape):
    """A polygon, which may have holes.

    Parameters
    ----------
    corners : array_like
        (N, 2): x and y of each corner in m, in either sense of turning.
    holes : iterable of array_like, optional
        The corners of holes in it, each as those of the polygon.
    center : array_like, optional
        Where the piston's origin goes, three numbers in m.
    orientation : array_like, optional
        3 by 3 rotation matrix whose columns are the piston's x, its y and its normal.

    Examples
    --------
    >>> import pistonfield as pf
    >>> pf.Polygon(corners=[[0, 0], [4e-3, 0], [0, 3e-3]]).sides
    (0.004, 0.003)
    """

    __slots__ = ("_corners", "_holes")

    def __init__(
        self,
        *,
        corners: npt.ArrayLike,
        holes: Iterable[npt.ArrayLike] = (),
        center: npt.ArrayLike = (0, 0, 0),
        orientation: npt.ArrayLike | None = None,
    ) -> None:
        self._corners = _corners(corners, "corners")
        self._holes = tuple(_corners(hole, "holes") for hole in holes)
        of_holes = np.concatenate([np.empty((0, 2)), *self._holes])
        sizes = np.array([len(hole) for hole in self._holes], np.int64)
        given = _library.Polygon(
            _library.address(self._corners),
            len(self._corners),
            _library.address(of_holes),
            _library.address(sizes),
            len(self._holes),
        )
        outline = _built(_library.functions.array_polygon, given)
        super().__init__(outline=outline, center=center, orientation=orientation)

    @property
    def corners(self) -> npt.NDArray[np.float64]:
        """(N, 2): x and y of each corner in m; not to be written."""
        return self._corners

    @property
    def holes(self) -> tuple[npt.NDArray[np.float64], ...]:
        """The corners of each hole, as those of the polygon."""
        return self._holes

    @property
    def parameters(self) -> dict[str, Any]:
        """The corners by their names."""
        holes = {"holes": self._holes} if self._holes else {}
        return {"corners": self._corners, **holes}


def shape_of(outline: Outline, center: npt.ArrayLike, orientation: npt.ArrayLike | None) -> Shape:
    """Make the shape of an outline: a disc or a ring where that has the very same one."""
    edges = outline.edges
    if len(edges) in (2, 4) and edges["sweep"].all():
        outer, inner = float(edges["start"][0, 0]), float(edges["start"][-2, 0])
        place: dict[str, Any] = {"center": center, "orientation": orientation}
        if outer > 0 and len(edges) == 2:
            made: Shape = Disc(radius=outer, **place)
        elif outer > inner > 0:
            made = Ring(inner=inner, outer=outer, **place)
        else:
            return Shape(outline=outline, **place)
        if made.outline == outline:
            return made
    return Shape(outline=outline, center=center, orientation=orientation)


def _built(make: Any, *given: Any) -> Outline:
    return Outline(_library.take_array(make, *given, names={}).outlines[0])


def _corners(value: Any, name: str) -> npt.NDArray[np.float64]:
    corners = _checks.reals(value, name, "an (N, 2) array")
    if corners.ndim != 2 or corners.shape[1] != 2:
        raise ValueError(
            f"{name}: must be an (N, 2) array, x and y of each corner, not of the shape "
            f"{corners.shape}"
        )
    corners.flags.writeable = False
    return corners
