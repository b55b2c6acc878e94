# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Arrays of pistons."""

from __future__ import annotations

import os
from collections.abc import Iterable, Iterator
from typing import Any, overload

import numpy as np
import numpy.typing as npt

from . import _checks, _library
from ._documents import documented
from ._flat import Flat
from ._outline import Outline
from ._piston import Piston
from ._shapes import Shape, shape_of

_NAMES = {
    "columns": "elements",
    "rows": "elements",
    "pitch_x": "pitch",
    "pitch_y": "pitch",
    "kerf_x": "kerf",
    "kerf_y": "kerf",
    "rings": "counts",
}

_Columns = npt.NDArray[np.float64]

_POSE = """center : array_like, optional
    Where the array's origin goes, three numbers in m.
orientation : array_like, optional
    3 by 3 rotation matrix whose columns are the array's x, y and z."""


class Array:
    """Pistons that radiate together, each as if in an infinite rigid baffle of its own plane.

    `Array.line`, `Array.matrix`, `Array.convex`, `Array.bowl`, `Array.annular` and
    `Array.honeycomb` build arrays about the origin that radiate to +z; their `center` and
    `orientation` then move and turn the whole array. `Array.from_table` reads one from a file. An
    array is a sequence of its elements.

    Parameters
    ----------
    elements : iterable of Piston, Disc, Ring, Sector or Polygon
        The elements; one or more.
    weights : array_like, optional
        How they are driven where `pressure` is given no weights: a complex amplitude for each, in
        units of the velocity. By default all are 1.

    Examples
    --------
    >>> import pistonfield as pf
    >>> array = pf.Array.line(elements=64, pitch=0.3e-3, width=0.27e-3, height=10e-3)
    >>> array
    <Array of 64 elements, 19.17 by 10 by 0 mm>
    >>> array[0].width
    0.00027
    """

    __slots__ = ("_columns", "_outline_of", "_outlines", "_weights")

    _columns: _Columns
    _weights: npt.NDArray[np.complex128]
    _outlines: tuple[Outline, ...]
    _outline_of: npt.NDArray[np.int64] | None

    def __init__(self, elements: Iterable[Flat], *, weights: npt.ArrayLike | None = None) -> None:
        listed = list(_each(elements))
        rows = [row_of(element) for element in listed]
        if not rows:
            raise ValueError("elements: an array has one or more")
        driven = None
        if weights is not None:
            driven = _checks.complexes(weights, "weights", "one for each element")
            if driven.shape != (len(rows),):
                raise ValueError(
                    f"weights: must be {len(rows)} numbers, one for each element, "
                    f"not of the shape {driven.shape}"
                )
        self._set(np.array(rows), driven, *_outlines_of(listed))

    def _set(
        self,
        columns: _Columns,
        weights: npt.NDArray[np.complex128] | None = None,
        outlines: tuple[Outline, ...] = (),
        outline_of: npt.NDArray[np.int64] | None = None,
    ) -> None:
        self._columns = columns
        self._weights = np.ones(len(columns), complex) if weights is None else weights
        self._outlines = outlines
        self._outline_of = outline_of
        self._columns.flags.writeable = False
        self._weights.flags.writeable = False

    @classmethod
    def _of(cls, columns: _Columns, *others: Any) -> Array:
        array = cls.__new__(cls)
        array._set(columns, *others)
        return array

    @classmethod
    @documented(pose=_POSE)
    def line(
        cls,
        *,
        elements: int,
        width: float,
        height: float,
        pitch: float | None = None,
        kerf: float | None = None,
        center: npt.ArrayLike = (0, 0, 0),
        orientation: npt.ArrayLike | None = None,
    ) -> Array:
        """Place elements side by side along x.

        Parameters
        ----------
        elements : int
            Their number.
        width, height : float
            Sides of an element along x and y, in m.
        pitch : float, optional
            From centre to centre, in m.
        kerf : float, optional
            In its place: from edge to edge, in m.
        {pose}

        Returns
        -------
        Array
            From the least x on.

        Examples
        --------
        >>> import pistonfield as pf
        >>> pf.Array.line(elements=3, pitch=1e-3, width=0.9e-3, height=5e-3).center[:, 0]
        array([-0.001,  0.   ,  0.001])
        """
        given = _library.Line(
            elements=_checks.whole(elements, "elements"),
            width=_checks.real(width, "width"),
            height=_checks.real(height, "height"),
            pitch=_number(pitch, "pitch"),
            kerf=_number(kerf, "kerf"),
        )
        return cls._built(_library.functions.array_line, given, center, orientation)

    @classmethod
    @documented(pose=_POSE)
    def matrix(
        cls,
        *,
        elements: tuple[int, int],
        width: float,
        height: float,
        pitch: npt.ArrayLike | None = None,
        kerf: npt.ArrayLike | None = None,
        center: npt.ArrayLike = (0, 0, 0),
        orientation: npt.ArrayLike | None = None,
    ) -> Array:
        """Place elements in columns along x and rows along y.

        Parameters
        ----------
        elements : (int, int)
            The numbers of columns and of rows.
        width, height : float
            Sides of an element along x and y, in m.
        pitch : float or (float, float), optional
            From centre to centre in m: for both directions, or along x and y.
        kerf : float or (float, float), optional
            In its place: from edge to edge, in m.
        {pose}

        Returns
        -------
        Array
            Row by row: from the least y on, and in each row from the least x on.

        Examples
        --------
        >>> import pistonfield as pf
        >>> pf.Array.matrix(elements=(32, 32), pitch=1e-3, width=0.9e-3, height=0.9e-3)
        <Array of 1024 elements, 31.9 by 31.9 by 0 mm>
        """
        columns, rows = _counts_of_matrix(elements)
        pitch_x, pitch_y = _both(pitch, "pitch")
        kerf_x, kerf_y = _both(kerf, "kerf")
        given = _library.Matrix(
            columns=columns,
            rows=rows,
            width=_checks.real(width, "width"),
            height=_checks.real(height, "height"),
            pitch_x=_library.optional_number(pitch_x),
            kerf_x=_library.optional_number(kerf_x),
            pitch_y=_library.optional_number(pitch_y),
            kerf_y=_library.optional_number(kerf_y),
        )
        return cls._built(_library.functions.array_matrix, given, center, orientation)

    @classmethod
    @documented(pose=_POSE)
    def convex(
        cls,
        *,
        elements: int,
        radius: float,
        width: float,
        height: float,
        pitch: float | None = None,
        angle: float | None = None,
        kerf: float | None = None,
        center: npt.ArrayLike = (0, 0, 0),
        orientation: npt.ArrayLike | None = None,
    ) -> Array:
        """Place elements side by side on the outside of a cylinder, whose axis is along y.

        The middle of the array is at the origin.

        Parameters
        ----------
        elements : int
            Their number.
        radius : float
            The cylinder's, in m.
        width, height : float
            Sides of an element along the arc and along y, in m.
        pitch : float, optional
            From centre to centre along the arc, in m.
        angle : float, optional
            In its place: from centre to centre as seen from the axis, in degrees.
        kerf : float, optional
            In its place: from edge to edge, in m.
        {pose}

        Returns
        -------
        Array
            From the least x on.

        Examples
        --------
        >>> import pistonfield as pf
        >>> pf.Array.convex(elements=64, radius=60e-3, angle=0.9, width=0.9e-3, height=10e-3)
        <Array of 64 elements, 57.77 by 10 by 7.412 mm>
        """
        given = _library.Convex(
            elements=_checks.whole(elements, "elements"),
            radius=_checks.real(radius, "radius"),
            width=_checks.real(width, "width"),
            height=_checks.real(height, "height"),
            pitch=_number(pitch, "pitch"),
            angle=_angle(angle, "angle"),
            kerf=_number(kerf, "kerf"),
        )
        return cls._built(_library.functions.array_convex, given, center, orientation)

    @classmethod
    @documented(pose=_POSE)
    def bowl(
        cls,
        *,
        radius: float,
        width: float,
        height: float,
        aperture: float | None = None,
        opening_angle: float | None = None,
        hole: float = 0.0,
        elements: int | None = None,
        pitch: float | None = None,
        kerf: float | None = None,
        counts: Iterable[int] | None = None,
        center: npt.ArrayLike = (0, 0, 0),
        orientation: npt.ArrayLike | None = None,
    ) -> Array:
        """Place elements on the inside of a spherical cap, with its apex at the origin.

        They radiate to its focus, at z = radius. With `elements` they lie along a spiral, each in
        its own part of the surface; otherwise in rings, as `pitch`, `kerf` or `counts` say.

        Parameters
        ----------
        radius : float
            Of curvature, in m.
        width, height : float
            Sides of an element along the ring and across it, in m.
        aperture : float, optional
            Diameter of the rim, in m.
        opening_angle : float, optional
            In its place: that of the rim as seen from the focus, in degrees.
        hole : float, optional
            Diameter of a hole about the apex, in m; 0 is none.
        elements : int, optional
            The number of elements of a spiral.
        pitch : float, optional
            Of rings: the least distance of centres along them and between them, in m.
        kerf : float, optional
            In its place: the least distance from edge to edge, in m.
        counts : iterable of int, optional
            In its place: the elements of each ring, from the innermost on.
        {pose}

        Returns
        -------
        Array
            From the apex outwards.

        Examples
        --------
        >>> import pistonfield as pf
        >>> bowl = pf.Array.bowl(radius=0.1, aperture=0.1, elements=256, width=3e-3, height=3e-3)
        >>> len(bowl)
        256
        """
        rings = None if counts is None else [_checks.whole(count, "counts") for count in counts]
        numbers = None
        if rings is not None:
            if not rings:
                raise ValueError("counts: there must be one or more")
            numbers = _library.whole_numbers(rings)
        given = _library.Bowl(
            radius=_checks.real(radius, "radius"),
            aperture=_number(aperture, "aperture"),
            opening_angle=_angle(opening_angle, "opening_angle"),
            hole=_checks.real(hole, "hole"),
            width=_checks.real(width, "width"),
            height=_checks.real(height, "height"),
            elements=_library.optional_whole(_checks.optional_whole(elements, "elements")),
            kerf=_number(kerf, "kerf"),
            pitch=_number(pitch, "pitch"),
            counts=numbers,
            rings=0 if rings is None else len(rings),
        )
        return cls._built(_library.functions.array_bowl, given, center, orientation)

    @classmethod
    @documented(pose=_POSE)
    def annular(
        cls,
        *,
        radii: npt.ArrayLike | None = None,
        elements: int | None = None,
        radius: float | None = None,
        inner: float | None = None,
        kerf: float = 0.0,
        center: npt.ArrayLike = (0, 0, 0),
        orientation: npt.ArrayLike | None = None,
    ) -> Array:
        """Place concentric rings about the origin; the innermost one may be a disc.

        Where they end is said by `radii`, or by `elements` and `radius`: the rings then have equal
        areas.

        Parameters
        ----------
        radii : array_like, optional
            The inner radius of the first ring, 0 of a disc, and the outer ones of all, rising, in
            m; with a kerf the middles of the gaps.
        elements : int, optional
            In its place: the number of rings.
        radius : float, optional
            The outer radius of the last of so many rings, in m.
        inner : float, optional
            The inner radius of the first of so many rings, in m; 0 by default.
        kerf : float, optional
            From ring to ring, in m.
        {pose}

        Returns
        -------
        Array
            From the innermost ring on.

        Examples
        --------
        >>> import pistonfield as pf
        >>> pf.Array.annular(elements=8, radius=12e-3, kerf=0.1e-3)
        <Array of 8 elements, 24 by 24 by 0 mm>
        """
        edges: list[float] = []
        if radii is not None:
            edges = _checks.reals(radii, "radii", "rising numbers").reshape(-1).tolist()
        given = _library.Annular(
            radii=_library.numbers(edges) if radii is not None else None,
            count=len(edges),
            elements=_library.optional_whole(_checks.optional_whole(elements, "elements")),
            radius=_number(radius, "radius"),
            inner=_number(inner, "inner"),
            kerf=_checks.real(kerf, "kerf"),
        )
        return cls._built(_library.functions.array_annular, given, center, orientation)

    @classmethod
    @documented(pose=_POSE)
    def honeycomb(
        cls,
        *,
        rings: int,
        width: float,
        pitch: float | None = None,
        kerf: float | None = None,
        center: npt.ArrayLike = (0, 0, 0),
        orientation: npt.ArrayLike | None = None,
    ) -> Array:
        """Place regular hexagons in rings about one in the middle.

        Sides of neighbours are parallel, and a row of centres lies along x.

        Parameters
        ----------
        rings : int
            About the middle: 0 is one hexagon, 1 are 7, 2 are 19.
        width : float
            Of a hexagon, from side to side, in m.
        pitch : float, optional
            From centre to centre, in m.
        kerf : float, optional
            In its place: from side to side, in m.
        {pose}

        Returns
        -------
        Array
            Ring by ring from the middle on, each ring from the x axis towards the y axis.

        Examples
        --------
        >>> import pistonfield as pf
        >>> len(pf.Array.honeycomb(rings=2, width=3e-3, kerf=0.2e-3))
        19
        """
        given = _library.Honeycomb(
            rings=_checks.whole(rings, "rings"),
            width=_checks.real(width, "width"),
            pitch=_number(pitch, "pitch"),
            kerf=_number(kerf, "kerf"),
        )
        return cls._built(_library.functions.array_honeycomb, given, center, orientation, {})

    @classmethod
    def from_table(
        cls,
        path: str | os.PathLike[str],
        *,
        center: npt.ArrayLike = (0, 0, 0),
        orientation: npt.ArrayLike | None = None,
    ) -> Array:
        r"""Read an array from comma-separated values.

        Parameters
        ----------
        path : str or path
            A file whose first line names the columns: x [mm], y [mm], z [mm], width [mm],
            height [mm], with units of m, cm, mm or um; or in place of the sides outline [mm], as
            docs/run.md has it. Optional: normal x, normal y, normal z; along x, ... of the
            direction of the width, up x, ... of the height; and amplitude and phase [deg], or re
            and im, of weights.
        center : array_like, optional
            Where the table's origin goes, three numbers in m.
        orientation : array_like, optional
            3 by 3 rotation matrix whose columns are the table's x, y and z.

        Returns
        -------
        Array
            Line by line, with the weights of the table where it has some.

        Examples
        --------
        >>> import pathlib, tempfile
        >>> import pistonfield as pf
        >>> with tempfile.TemporaryDirectory() as folder:
        ...     table = pathlib.Path(folder) / "array.csv"
        ...     _ = table.write_text("x [mm],y [mm],width [mm],height [mm]\n-1,0,2,5\n1,0,2,5\n")
        ...     array = pf.Array.from_table(table)
        >>> array
        <Array of 2 elements, 4 by 5 by 0 mm>
        """
        try:
            name = os.fsencode(path)
        except TypeError:
            raise TypeError(f"path: must be a path, not {type(path).__name__}") from None
        if b"\0" in name:
            raise ValueError("path: must be a path without zeros")
        # For the operating system's own words about what cannot be opened.
        with open(path, "rb"):
            pass
        pose = _pose(center, orientation)
        built = _library.take_array(
            _library.functions.array_read, name, names={"elements": "table"}
        )
        return cls._taken(built, pose)

    @classmethod
    def _built(
        cls,
        make: Any,
        given: Any,
        center: npt.ArrayLike,
        orientation: npt.ArrayLike | None,
        names: _library.Names = _NAMES,
    ) -> Array:
        pose = _pose(center, orientation)
        try:
            built = _library.take_array(make, given, names=names)
        except ValueError as refusal:
            # One word stands for both directions.
            text = str(refusal)
            for name in ("pitch", "kerf"):
                text = text.replace(f"{name}_x", name).replace(f"{name}_y", name)
            raise ValueError(text) from None
        return cls._taken(built, pose)

    @classmethod
    def _taken(cls, built: _library.Elements, pose: _Pose) -> Array:
        """Move and turn what the library has made."""
        outlines = tuple(Outline(edges) for edges in built.outlines)
        return cls._shaped(_moved(built.rows, *pose), built.weights, outlines, built.outline_of)

    @classmethod
    def _shaped(
        cls,
        rows: _Columns,
        weights: npt.NDArray[np.complex128] | None,
        outlines: tuple[Outline, ...],
        outline_of: npt.NDArray[np.int64] | None,
    ) -> Array:
        """Take elements of which those with an outline have its extents for their sides."""
        if outline_of is None:
            return cls._of(rows, weights)
        shaped = outline_of >= 0
        rows[shaped, :2] = np.array([outline.sides for outline in outlines])[outline_of[shaped]]
        return cls._of(rows, weights, outlines, outline_of)

    @property
    def width(self) -> npt.NDArray[np.float64]:
        """Extents of the elements along their x, in m; not to be written, as all of these."""
        return self._columns[:, 0]

    @property
    def height(self) -> npt.NDArray[np.float64]:
        """Extents of the elements along their y, in m."""
        return self._columns[:, 1]

    @property
    def center(self) -> npt.NDArray[np.float64]:
        """The elements' centres in m, a row of x, y and z for each."""
        return self._columns[:, 2:5]

    @property
    def orientation(self) -> npt.NDArray[np.float64]:
        """For each element a rotation whose columns are its x, its y and its normal."""
        along, up = self._columns[:, 5:8], self._columns[:, 8:11]
        axes = np.stack([along, up, _normals(self._columns)], axis=-1)
        axes.flags.writeable = False
        return axes

    @property
    def weights(self) -> npt.NDArray[np.complex128]:
        """How the elements are driven where `pressure` is given no weights."""
        return self._weights

    def __len__(self) -> int:
        return len(self._columns)

    def __iter__(self) -> Iterator[Piston | Shape]:
        return (self[i] for i in range(len(self)))

    @overload
    def __getitem__(self, key: int) -> Piston | Shape: ...
    @overload
    def __getitem__(self, key: slice) -> Array: ...
    def __getitem__(self, key: int | slice) -> Piston | Shape | Array:
        if isinstance(key, slice):
            columns = self._columns[key].copy()
            if not len(columns):
                raise ValueError("array: the slice has no elements")
            of = None if self._outline_of is None else self._outline_of[key].copy()
            return Array._of(columns, self._weights[key].copy(), self._outlines, of)
        number = range(len(self))[_checks.whole(key, "array's index")]
        row = self._columns[number]
        turn = np.stack([row[5:8], row[8:11], np.cross(row[5:8], row[8:11])], axis=-1)
        which = -1 if self._outline_of is None else int(self._outline_of[number])
        if which >= 0:
            return shape_of(self._outlines[which], row[2:5], turn)
        return Piston(width=row[0], height=row[1], center=row[2:5], orientation=turn)

    def __repr__(self) -> str:
        rims = np.concatenate([rim.reshape(-1, 3) for face in faces_of(self) for rim in face])
        sides = " by ".join(f"{1e3 * side:.4g}" for side in np.ptp(rims, axis=0))
        plural = "" if len(self) == 1 else "s"
        return f"<Array of {len(self)} element{plural}, {sides} mm>"

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Array):
            return NotImplemented
        return (
            np.array_equal(self._columns, other._columns)
            and np.array_equal(self._weights, other._weights)
            and self._each_outline() == other._each_outline()
        )

    __hash__ = None  # type: ignore[assignment]

    def __reduce__(self) -> tuple[Any, ...]:
        parts = (self._columns.copy(), self._weights.copy(), self._outlines, self._outline_of)
        return Array._of, parts

    def _each_outline(self) -> list[Outline | None]:
        if self._outline_of is None:
            return []
        return [self._outlines[of] if of >= 0 else None for of in self._outline_of]


def rows_of(array: Array) -> _Columns:
    """Give the elements as the library takes them: a row of 11 numbers for each."""
    return array._columns


def shapes_of(array: Array) -> tuple[tuple[Outline, ...], npt.NDArray[np.int64] | None]:
    """Give the outlines, and for each element the number of its one or -1."""
    return array._outlines, array._outline_of


def faces_of(array: Array) -> list[list[npt.NDArray[np.float64]]]:
    """Give the rims of faces in m, of equal outlines together.

    For each outline, or for all rectangles, a list of its loops: (elements, points, 3) each.
    """
    rows, of = array._columns, array._outline_of
    if of is None:
        return [[_placed(rows, _corners(rows))]]
    faces = []
    if (of < 0).any():
        faces.append([_placed(rows[of < 0], _corners(rows[of < 0]))])
    for number in np.unique(of[of >= 0]):
        loops = array._outlines[number].loops()
        faces.append([_placed(rows[of == number], loop) for loop in loops])
    return faces


def _corners(rows: _Columns) -> npt.NDArray[np.float64]:
    """Give the four corners of rectangles in their own planes, in turn."""
    corners: npt.NDArray[np.float64] = rows[:, None, :2] / 2 * [[-1, -1], [1, -1], [1, 1], [-1, 1]]
    return corners


def _placed(rows: _Columns, flat: npt.NDArray[np.float64]) -> npt.NDArray[np.float64]:
    """Give where points in the planes of elements lie."""
    placed: npt.NDArray[np.float64] = (
        rows[:, None, 2:5]
        + flat[..., 0, None] * rows[:, None, 5:8]
        + flat[..., 1, None] * rows[:, None, 8:11]
    )
    return placed


def _each(elements: Any) -> Iterator[Any]:
    try:
        return iter(elements)
    except TypeError:
        raise TypeError(
            f"elements: must be several of Piston, not {type(elements).__name__}"
        ) from None


def row_of(element: Any) -> list[float]:
    """Give an element as the library takes it: 11 numbers."""
    if not isinstance(element, Flat):
        raise TypeError(
            "elements: each must be a Piston or of another shape, such as a Disc, not "
            f"{type(element).__name__}"
        )
    turn = element.orientation
    return [*element.sides, *element.center, *turn[:, 0], *turn[:, 1]]


def _outlines_of(
    elements: list[Flat],
) -> tuple[tuple[Outline, ...], npt.NDArray[np.int64] | None]:
    numbers: dict[Outline, int] = {}
    of = [
        -1 if element.outline is None else numbers.setdefault(element.outline, len(numbers))
        for element in elements
    ]
    return tuple(numbers), np.array(of, np.int64) if numbers else None


def _normals(rows: _Columns) -> npt.NDArray[np.float64]:
    return np.cross(rows[:, 5:8], rows[:, 8:11])


def _number(value: Any, name: str) -> Any:
    return _library.optional_number(_checks.optional_real(value, name))


def _angle(value: Any, name: str) -> Any:
    degrees = _checks.optional_real(value, name)
    return _library.optional_number(None if degrees is None else degrees * np.pi / 180)


def _counts_of_matrix(elements: Any) -> tuple[int, int]:
    try:
        listed = [_checks.whole(count, "elements") for count in elements]
    except TypeError:
        raise TypeError("elements: must be two whole numbers, of columns and of rows") from None
    if len(listed) != 2:
        raise ValueError("elements: must be two whole numbers, of columns and of rows")
    return listed[0], listed[1]


def _both(value: Any, name: str) -> tuple[float | None, float | None]:
    """Read one number for both directions or two, or none."""
    if value is None:
        return None, None
    numbers = np.atleast_1d(_checks.reals(value, name, "one number or two"))
    if numbers.shape not in ((1,), (2,)):
        raise ValueError(f"{name}: must be one number, or two along x and y")
    return float(numbers[0]), float(numbers[-1])


_Pose = tuple[npt.NDArray[np.float64], npt.NDArray[np.float64] | None]


def _pose(center: npt.ArrayLike, orientation: npt.ArrayLike | None) -> _Pose:
    turn = None if orientation is None else _checks.rotation(orientation, "orientation")
    return _checks.vector(center, "center"), turn


def _moved(rows: _Columns, center: npt.NDArray[np.float64], turn: Any) -> _Columns:
    if turn is not None:
        for first in (2, 5, 8):
            rows[:, first : first + 3] = rows[:, first : first + 3] @ turn.T
    rows[:, 2:5] += center
    return rows
