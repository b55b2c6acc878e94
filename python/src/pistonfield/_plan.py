# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Fields that are computed again and again, or in parts."""

from __future__ import annotations

import ctypes
import math
import sys
import weakref
from collections.abc import Callable
from dataclasses import dataclass
from typing import Any, NoReturn

import numpy as np
import numpy.typing as npt

from . import _checks, _library, _medium, _placement
from ._array import Array, rows_of
from ._grid import Grid
from ._jobs import Job, interruptible
from ._medium import WATER, Medium
from ._piston import Piston

Progress = Callable[[int, int], object]
Box = int | slice | tuple[int | slice, ...]

_LONG = 2e6
"""Evaluations of the integrand from which on a computation is watched: hundredths of a second."""

_MANY_VALUES = 2**17
"""The same in values, which have to be put where they belong."""

_MANY = 4096
"""Points or elements from which on it takes hundredths of a second to make a plan."""

_OUT = {"re": "out", "im": "out", "stride": "out", "to_next_field": "out"}


@dataclass(frozen=True)
class Cost:
    """What a field takes.

    Attributes
    ----------
    evaluations : float
        Of the edges' integrand, about.
    memory : int
        Bytes beside the result.
    """

    evaluations: float
    memory: int


@dataclass(frozen=True)
class Accuracy:
    """How exact values are, relative to what the tolerance is relative to.

    Attributes
    ----------
    bound : float
        No value is further off than this.
    error : float
        The largest error that was measured.
    evaluations : float
        Of the edges' integrand at a point, on average.
    points : int
        At which the error was measured.
    """

    bound: float
    error: float
    evaluations: float
    points: int


@dataclass(frozen=True)
class _Part:
    """The points of a part of a field: first indices and sizes, and the shape of its values."""

    first: tuple[int, ...]
    sizes: tuple[int, ...]
    shape: tuple[int, ...]

    @property
    def points(self) -> int:
        return math.prod(self.sizes)


class Plan:
    """A field that is prepared: all of it, or parts of it, can be computed as often as one likes.

    A point has the same bits in every part and with any number of threads. Any threads may use a
    plan at the same time.

    Parameters
    ----------
    source, grid, frequency
        As of `pressure`.
    medium, velocity, weights, tolerance, relative, precision, threads, behind
        As of `pressure`, too.

    Examples
    --------
    >>> import numpy as np
    >>> import pistonfield as pf
    >>> grid = pf.Grid(x=0, y=0, z=np.arange(1, 101) * 1e-3)
    >>> plan = pf.Plan(pf.Piston(width=7.5e-3, height=5e-3), grid, 1e6)
    >>> plan.shape
    (1, 1, 100)
    >>> bool(plan.compute()[0, 0, 49] == plan.compute(np.s_[0, 0, 49]))
    True
    """

    def __init__(
        self,
        source: Piston | Array,
        grid: Grid | npt.ArrayLike,
        frequency: float,
        *,
        medium: Medium = WATER,
        velocity: float = 1.0,
        weights: npt.ArrayLike | None = None,
        tolerance: float = 1e-4,
        relative: str = "largest",
        precision: str = "double",
        threads: int | None = None,
        behind: bool = False,
    ) -> None:
        request = _library.Request()
        _library.call(_library.functions.request_init, request, ctypes.sizeof(request))
        request.wavenumber = _medium.checked(medium).wavenumber(frequency)
        self._unit = 1j * _medium.pascal(
            medium, _checks.positive(velocity, "velocity", "a velocity in m/s")
        )
        request.tolerance = _checks.positive(tolerance, "tolerance", "a number")
        request.tolerance_of = _library.RELATIVE[
            _checks.word(relative, "relative", _library.RELATIVE)
        ]
        request.mode = _library.MODES[_checks.word(precision, "precision", _library.MODES)]
        self._threads = _threads(threads)
        given = _Given(source, weights, grid, _checks.flag(behind, "behind"))
        self._fields = given.fields
        self._has_weightings = given.has_weightings
        self._place_shape = given.shape
        given.fill(request)
        _require_addressable(self.shape)

        handle = ctypes.c_void_p()

        def create() -> None:
            _library.call(_library.functions.plan_create, request, handle, names=given.names)

        try:
            if given.is_large:
                interruptible(create)
            else:
                create()
        except ValueError as refusal:
            _refuse(refusal)
        self._handle = handle
        # Threads may compute with it until the process ends.
        weakref.finalize(self, _library.functions.plan_destroy, handle).atexit = False
        whole = self._part(None)
        self._whole = whole
        self._evaluations_of_point = self._cost(whole).evaluations / whole.points
        self._double = _library.functions.plan_compute_double
        self._single = _library.functions.plan_compute_float

    @property
    def engine(self) -> str:
        """What computes: "points", "runs", "sum" or "convolution"; others may be added."""
        name: bytes = _library.functions.plan_engine(self._handle)
        return name.decode()

    @property
    def shape(self) -> tuple[int, ...]:
        """The shape of all values: several weightings come first."""
        return (self._fields, *self._place_shape) if self._has_weightings else self._place_shape

    def cost(self, box: Box | None = None) -> Cost:
        """Tell what the field takes, or a part of it.

        Parameters
        ----------
        box : optional
            As of `compute`.

        Returns
        -------
        Cost
            Evaluations and memory.

        Examples
        --------
        >>> import pistonfield as pf
        >>> grid = pf.Grid(x=0, y=0, z=[0.01, 0.02])
        >>> pf.Plan(pf.Piston(width=7.5e-3, height=5e-3), grid, 1e6).cost().evaluations > 0
        True
        """
        return self._cost(self._part(box))

    def accuracy(self) -> Accuracy:
        """Measure how exact the values are, at some hundred points against a finer evaluation.

        Returns
        -------
        Accuracy
            The bound and the largest error.

        Examples
        --------
        >>> import pistonfield as pf
        >>> grid = pf.Grid(x=0, y=0, z=[0.01, 0.02])
        >>> accuracy = pf.Plan(pf.Piston(width=7.5e-3, height=5e-3), grid, 1e6).accuracy()
        >>> accuracy.error <= accuracy.bound <= 1e-4
        True
        """
        found = _library.AccuracyStruct()
        interruptible(lambda: _library.call(_library.functions.plan_accuracy, self._handle, found))
        return Accuracy(found.bound, found.error, found.evaluations, found.points)

    def empty(self, dtype: npt.DTypeLike = np.complex128) -> npt.NDArray[Any]:
        """Make room for all values, as `out` has to be.

        Parameters
        ----------
        dtype : optional
            complex128 or complex64.

        Returns
        -------
        ndarray
            Of the shape `shape`, in which x is fastest.

        Examples
        --------
        >>> import pistonfield as pf
        >>> plan = pf.Plan(pf.Piston(width=1e-3, height=1e-3), pf.Grid(x=0, y=0, z=[0, 0.1]), 1e6)
        >>> out = plan.empty()
        >>> plan.compute(out=out) is out
        True
        """
        return self._room(self._whole, np.dtype(dtype))

    def compute(
        self,
        box: Box | None = None,
        out: npt.NDArray[Any] | None = None,
        *,
        progress: Progress | None = None,
    ) -> npt.NDArray[Any]:
        """Compute the field, or a part of it.

        Parameters
        ----------
        box : int, slice or tuple of these, optional
            The points as an index of an array of the grid's shape says, in steps of 1, such as
            ``np.s_[:, 0, 10:20]``. By default all.
        out : ndarray, optional
            Where the values go: complex128 or complex64, of the shape of the result and with x
            fastest, as `empty` makes it. A view of every second value or so may do as well.
        progress : callable, optional
            Is told now and then how many points are done, and of how many, and at the end that all
            are. What it raises ends the computation.

        Returns
        -------
        ndarray
            The pressure in Pa, or `out`.

        Examples
        --------
        >>> import numpy as np
        >>> import pistonfield as pf
        >>> grid = pf.Grid(x=np.arange(5) * 1e-3, y=0, z=np.arange(1, 9) * 1e-3)
        >>> plan = pf.Plan(pf.Piston(width=7.5e-3, height=5e-3), grid, 1e6)
        >>> plan.compute(np.s_[:, 0, 2:4]).shape
        (5, 2)
        """
        part = self._whole if box is None else self._part(box)
        if out is None:
            values = self._room(part, np.dtype(np.complex128))
            stride, to_next_field = 2, 2 * part.points
        else:
            values = out
            stride, to_next_field = self._layout(part, out)
        if progress is not None and not callable(progress):
            raise TypeError(f"progress: must be callable, not {type(progress).__name__}")
        if progress is None and self._is_short(part):
            self._fill(part, values, stride, to_next_field, None)
        else:
            self._fill_watched(part, values, stride, to_next_field, progress)
        np.multiply(values, self._unit, out=values)
        return values

    def __repr__(self) -> str:
        sizes = " by ".join(str(size) for size in self._place_shape)
        fields = f", {self._fields} weightings" if self._has_weightings else ""
        return f"<Plan of {sizes} points{fields}, {self.engine}>"

    def __reduce__(self) -> NoReturn:
        raise TypeError("a Plan cannot be copied: make one of the same arguments")

    def _is_short(self, part: _Part) -> bool:
        values = part.points * self._fields
        return self._evaluations_of_point * part.points < _LONG and values < _MANY_VALUES

    def _fill_watched(
        self,
        part: _Part,
        values: npt.NDArray[Any],
        stride: int,
        to_next_field: int,
        progress: Progress | None,
    ) -> None:
        total = part.points

        def work(job: Job[None]) -> None:
            def told(points: int, _user: object) -> int:
                job.done = points
                return job.stop

            self._fill(part, values, stride, to_next_field, told)

        if progress is None:
            Job(work).run()
            return
        tell = progress
        Job(work).run(lambda done: tell(done, total))
        tell(total, total)

    def _fill(
        self,
        part: _Part,
        values: npt.NDArray[Any],
        stride: int,
        to_next_field: int,
        told: Callable[[int, object], int] | None,
    ) -> None:
        conduct = _library.Conduct(
            size=ctypes.sizeof(_library.Conduct),
            threads=self._threads,
            to_next_field=to_next_field,
        )
        if told is not None:
            conduct.progress = _library.Progress(told)
        box = _library.Box(part.first, part.sizes)
        is_double = values.dtype == np.complex128
        begin = _library.address(values)
        message = _library.Message()
        status = (self._double if is_double else self._single)(
            self._handle, box, begin, begin + (8 if is_double else 4), stride, conduct, message
        )
        if status != _library.SUCCESS:
            _library.raise_failure(status, message.text.decode(errors="replace"), _OUT)

    def _cost(self, part: _Part) -> Cost:
        cost = _library.CostStruct()
        box = _library.Box(part.first, part.sizes)
        _library.call(_library.functions.plan_cost, self._handle, box, cost)
        return Cost(cost.evaluations, cost.memory)

    def _room(self, part: _Part, dtype: np.dtype[Any]) -> npt.NDArray[Any]:
        if dtype not in (np.complex128, np.complex64):
            raise TypeError(f"dtype: must be complex128 or complex64, not {dtype}")
        order = part.shape[::-1]
        if self._has_weightings:
            values = np.empty((self._fields, *order), dtype)
            axes = (0, *range(values.ndim - 1, 0, -1))
        else:
            values = np.empty(order, dtype)
            axes = tuple(range(values.ndim - 1, -1, -1))
        room: npt.NDArray[Any] = np.transpose(values, axes)
        return room

    def _shape_of(self, part: _Part) -> tuple[int, ...]:
        return (self._fields, *part.shape) if self._has_weightings else part.shape

    def _layout(self, part: _Part, out: Any) -> tuple[int, int]:
        """Read how far apart the values in `out` are, in real numbers."""
        if not isinstance(out, np.ndarray):
            raise TypeError(f"out: must be an array of NumPy, not {type(out).__name__}")
        if out.dtype not in (np.complex128, np.complex64) or not out.dtype.isnative:
            raise TypeError(f"out: must be of complex128 or complex64, not {out.dtype.str}")
        if not out.flags.writeable:
            raise ValueError("out: is read-only")
        shape = self._shape_of(part)
        if out.shape != shape:
            raise ValueError(f"out: must be of the shape {shape}, not {out.shape}")
        number = out.itemsize // 2
        strides = out.strides[1:] if self._has_weightings else out.strides
        step = _common_step(part.shape, strides, out.itemsize)
        if step is None or step <= 0 or step % number:
            raise ValueError(
                "out: must have x fastest, then y, then z, as Plan.empty() makes it, "
                "or numpy.empty(shape, complex, order='F') where there is one weighting"
            )
        apart = out.strides[0] if self._has_weightings and self._fields > 1 else step * part.points
        if apart <= 0 or apart % number:
            raise ValueError("out: the weightings must follow each other")
        return step // number, apart // number

    def _part(self, box: Any) -> _Part:
        sizes = self._place_shape
        if box is None:
            box = ()
        keys = box if isinstance(box, tuple) else (box,)
        if len(keys) > len(sizes):
            raise ValueError(f"box: has {len(keys)} parts, where the field has {len(sizes)}")
        keys = (*keys, *(slice(None),) * (len(sizes) - len(keys)))
        firsts, counts, kept = [], [], []
        for key, size in zip(keys, sizes, strict=True):
            first, count = _range(key, size)
            firsts.append(first)
            counts.append(count)
            if isinstance(key, slice):
                kept.append(count)
        others = 3 - len(sizes)
        return _Part((*firsts, *(0,) * others), (*counts, *(1,) * others), tuple(kept))


class _Given:
    """What radiates and where the field is asked for, as a request has it."""

    def __init__(self, source: Any, weights: Any, grid: Any, behind: bool) -> None:
        self._behind = behind
        self._source = source
        if isinstance(source, Array):
            self._rows = rows_of(source)
            self._weights = _weights(source, weights)
        elif isinstance(source, Piston):
            if weights is not None:
                raise TypeError("weights: go with an Array, not a Piston")
        else:
            raise TypeError(f"source: must be a Piston or an Array, not {type(source).__name__}")
        self._place(grid)

    def _place(self, grid: Any) -> None:
        if isinstance(grid, Grid):
            self.shape: tuple[int, ...] = grid.shape
            origin, steps = grid.origin, grid.steps
            if isinstance(self._source, Piston):
                origin, steps = _placement.grid_before(self._source, grid, self._behind)
            self._transform = np.eye(4)
            self._transform[:3, :3] = steps
            self._transform[:3, 3] = origin
            self._points = None
            return
        if grid is None or isinstance(grid, (str, bytes)):
            raise TypeError(f"grid: must be a Grid or an (N, 3) array, not {type(grid).__name__}")
        points = _checks.points(grid, "points")
        self.shape = (len(points),)
        self._points = (
            _placement.points_before(self._source, points, self._behind)
            if isinstance(self._source, Piston)
            else np.ascontiguousarray(points.T)
        )

    @property
    def fields(self) -> int:
        return 1 if isinstance(self._source, Piston) else math.prod(self._weights.shape[:-1])

    @property
    def has_weightings(self) -> bool:
        return isinstance(self._source, Array) and self._weights.ndim == 2

    @property
    def is_large(self) -> bool:
        """Whether it may take long to make a plan."""
        points = 0 if self._points is None else self._points.shape[1]
        elements = len(self._source) * self.fields if isinstance(self._source, Array) else 1
        return points > _MANY or elements > 16

    @property
    def names(self) -> dict[str, str]:
        place = "grid" if self._points is None else "points"
        return {
            "elements": "source",
            "mode": "precision",
            "sizes": place,
            "transform": place,
            "wavenumber": "frequency",
            "weightings": "weights",
        }

    def fill(self, request: _library.Request) -> None:
        # A piston's points have been looked at, with an allowance for rounding.
        request.behind = self._behind or isinstance(self._source, Piston)
        if isinstance(self._source, Piston):
            request.width = self._source.width
            request.height = self._source.height
        else:
            request.array = _library.address(self._rows)
            request.elements = len(self._rows)
            request.weights = _library.address(self._weights)
            request.weightings = self.fields
        if self._points is None:
            request.transform[:] = self._transform.ravel().tolist()
            request.sizes[:] = self.shape
        else:
            request.x, request.y, request.z = (_library.address(row) for row in self._points)
            request.points = self.shape[0]


def _weights(array: Array, given: Any) -> npt.NDArray[np.complex128]:
    """Read the weights: of one weighting, or a row for each of several."""
    if given is None:
        return array.weights
    weights = _checks.complexes(given, "weights", "one for each element")
    count = len(array)
    if weights.ndim not in (1, 2) or weights.shape[-1] != count or weights.size == 0:
        hint = ""
        if weights.ndim == 2 and weights.shape[0] == count:
            hint = "; give them transposed, weights.T"
        raise ValueError(
            f"weights: must be of the shape ({count},) or (M, {count}), a row for each of M "
            f"weightings, not {weights.shape}{hint}"
        )
    return weights


def _threads(given: Any) -> int:
    if given is None:
        return 0
    threads = _checks.whole(given, "threads")
    if not 1 <= threads <= _library.MOST_THREADS:
        raise ValueError(
            f"threads: must be a whole number from 1 to {_library.MOST_THREADS}, not {threads}"
        )
    return threads


def _require_addressable(shape: tuple[int, ...]) -> None:
    if 16 * math.prod(shape) > sys.maxsize:
        raise MemoryError(f"grid: the {math.prod(shape)} values have no place in memory")


def _refuse(refusal: ValueError) -> NoReturn:
    """Raise a refusal of the library in the words of the package."""
    text = str(refusal)
    if " lies behind " in text:
        _, _, said = text.partition(": ")
        raise ValueError(f"behind: {said}, where there is no field") from None
    if "wavelengths" in text:
        text += "; lengths are in m, the speed in m/s, the frequency in Hz"
    raise ValueError(text) from None


def _common_step(sizes: tuple[int, ...], strides: tuple[int, ...], itemsize: int) -> int | None:
    """Give the bytes from each value to the next one, x fastest, where that is one number."""
    step = None
    inner = 1
    for size, stride in zip(sizes, strides, strict=True):
        if size > 1:
            if step is None:
                # All directions before this one are of one point.
                step = stride
            elif stride != step * inner:
                return None
            inner *= size
    return itemsize if step is None else step


def _range(key: Any, size: int) -> tuple[int, int]:
    """Read the first index and the number of those that a part of a box stands for."""
    if isinstance(key, slice):
        first, last, step = key.indices(size)
        if step != 1:
            raise ValueError("box: steps must be 1")
        if last <= first:
            raise ValueError("box: has no points")
        return first, last - first
    index = _checks.whole(key, "box")
    if not -size <= index < size:
        raise ValueError(f"box: {index} is not within {-size} to {size - 1}")
    return index % size, 1
