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
from types import EllipsisType
from typing import TYPE_CHECKING, Any, NoReturn

import numpy as np
import numpy.typing as npt

from . import _checks, _devices, _library, _medium
from ._array import Array
from ._dlpack import Described
from ._documents import documented
from ._flat import Flat
from ._grid import Grid
from ._jobs import Job, interruptible, stopping
from ._options import (
    OPTIONS,
    SOURCE,
    FieldOptions,
    Progress,
    Settings,
    settings,
    with_options,
)
from ._piston import Piston
from ._power import velocity_of
from ._request import NAMES, Place, Source, new_request, refuse
from ._scaling import scale

if TYPE_CHECKING:
    from ._options import Unpack

Index = int | slice | EllipsisType
Box = Index | tuple[Index, ...]

_LONG = 2e6
"""Evaluations of the integrand from which on a computation is watched: hundredths of a second."""

_MANY_VALUES = 2**17
"""The same in values, which have to be put where they belong."""

_OUT = {"re": "out", "im": "out", "stride": "out", "to_next_field": "out", "values": "out"}


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


class _Room:
    """An array of NumPy that values go to."""

    def __init__(self, values: npt.NDArray[Any], stride: int, to_next_field: int) -> None:
        self.values = values
        self._stride = stride
        self.to_next_field = to_next_field
        self._double = values.dtype == np.complex128

    def fill(self, plan: Any, box: Any, conduct: Any, message: Any) -> int:
        compute = _library.functions
        begin = _library.address(self.values)
        return int(
            (compute.plan_compute_double if self._double else compute.plan_compute_float)(
                plan, box, begin, begin + (8 if self._double else 4), self._stride, conduct, message
            )
        )

    def give_unit(self, unit: complex) -> None:
        scale(self.values, unit)


class _RoomOnGpu:
    """The same in the memory of a GPU, where values have their unit from the beginning."""

    to_next_field = 0

    def __init__(self, array: Described, stream: int, unit: complex) -> None:
        self._array = array
        self._device = _devices.device(array, stream)
        self._unit = _library.numbers([unit.real, unit.imag])
        self._double = array.dtype == np.complex128

    def fill(self, plan: Any, box: Any, conduct: Any, message: Any) -> int:
        compute = _library.functions
        return int(
            (compute.plan_compute_double_on if self._double else compute.plan_compute_float_on)(
                plan, box, self._array.address, self._device, self._unit, conduct, message
            )
        )

    def give_unit(self, _unit: complex) -> None:
        pass


@documented(source=SOURCE, options=OPTIONS)
class Plan:
    """A field that is prepared: all of it, or parts of it, can be computed as often as one likes.

    A point has the same bits in every part and with any number of threads. Any threads may use a
    plan at the same time.

    Parameters
    ----------
    {source}
    {options}
    quantity : {"pressure", "velocity", "intensity"}, optional
        What is computed, as `pressure`, `particle_velocity` or `intensity` do.

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

    @with_options
    def __init__(
        self,
        source: Flat | Array,
        grid: Grid | npt.ArrayLike,
        frequency: float,
        *,
        quantity: str = "pressure",
        **options: Unpack[FieldOptions],
    ) -> None:
        given = settings(options)
        self._quantity = _checks.word(quantity, "quantity", _library.QUANTITIES)
        self._components = 1 if self._quantity == "pressure" else 3
        request = new_request(given.medium, frequency)
        request.tolerance = given.tolerance
        request.tolerance_of = given.relative
        request.mode = given.mode
        request.baffle = given.baffle
        request.quantity = _library.QUANTITIES[self._quantity]
        self._threads = given.threads
        elements = Source(source, given.weights)
        place = Place(grid)
        self._unit = self._unit_of(given, frequency, elements)
        self._weightings = elements.weightings
        self._has_weightings = elements.weights.ndim == 2
        self._place_shape = place.shape
        self._fill_request(request, source, elements, place, given.behind)
        _require_addressable(self.shape)
        self._handle = _created(request, place, len(elements.rows) * self._fields, self._threads)
        # Threads may compute with it until the process ends.
        weakref.finalize(self, _library.functions.plan_destroy, self._handle).atexit = False
        whole = self._part(None)
        self._whole = whole
        self._evaluations_of_point = self._cost(whole).evaluations / whole.points

    def _unit_of(self, given: Settings, frequency: float, elements: Source) -> complex:
        """Give what the library's values are relative to."""
        velocity = velocity_of(given, frequency, elements)
        pressure = _medium.pascal(given.medium, frequency, velocity)
        if self._quantity == "pressure":
            return 1j * pressure
        return velocity if self._quantity == "velocity" else pressure * velocity / 2

    def _fill_request(
        self,
        request: _library.Request,
        source: Flat | Array,
        elements: Source,
        place: Place,
        behind: bool,
    ) -> None:
        request.behind = behind
        keep = True
        if isinstance(source, Flat):
            # The components of a vector are along the axes of the frame that a request is in.
            keep = self._components > 1 and source.is_turned
            place.see_from(source, behind, keep=keep)
            # Its points have been looked at, with an allowance for rounding.
            request.behind = True
            if not keep:
                elements.stand_at_origin()
        if isinstance(source, Piston) and not keep:
            request.width, request.height = source.sides
        else:
            elements.fill(request)
        place.fill(request)

    @property
    def engine(self) -> str:
        """What computes: "points", "runs", "sum", "convolution" or "contours", or others."""
        name: bytes = _library.functions.plan_engine(self._handle)
        return name.decode()

    @property
    def shape(self) -> tuple[int, ...]:
        """The shape of all values: several weightings come first, components last."""
        return self._shape_around(self._place_shape)

    @property
    def _fields(self) -> int:
        return self._weightings * self._components

    def _shape_around(self, points: tuple[int, ...]) -> tuple[int, ...]:
        first = (self._weightings,) if self._has_weightings else ()
        last = (self._components,) if self._components > 1 else ()
        return (*first, *points, *last)

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
        out: Any = None,
        *,
        stream: Any = None,
        progress: Progress | None = None,
    ) -> npt.NDArray[Any]:
        """Compute the field, or a part of it.

        Parameters
        ----------
        box : int, slice, Ellipsis or tuple of these, optional
            The points as an index of an array of the grid's shape says, in steps of 1, such as
            ``np.s_[:, 0, 10:20]`` or ``np.s_[..., 0]``. By default all.
        out : array, optional
            Where the values go: complex128 or complex64, of the shape of the result and with x
            fastest, as `empty` makes it. A view of every second value or so may do as well. Arrays
            of other libraries are taken by DLPack, and in the variant for NVIDIA GPUs those in the
            memory of a GPU, without gaps, by DLPack or the CUDA array interface.
        stream : int, optional
            The handle of the stream in whose order values go to the memory of a GPU, or an object
            with ``__cuda_stream__``. By default that of the array, or the default stream. None is
            a thread's own, which has the handle 2. The values are there when the call returns.
        progress : callable, optional
            Is told now and then how many points are done, and of how many, and at the end that all
            are. What it raises ends the computation.

        Returns
        -------
        ndarray
            The pressure in Pa, the particle velocity in m/s or the intensity in W/m², or `out`.

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
        room: _Room | _RoomOnGpu
        if out is None:
            if stream is not None:
                raise TypeError("stream: goes with an out in the memory of a GPU")
            values = self._room(part, np.dtype(np.complex128))
            room = _Room(values, 2, 2 * part.points)
        else:
            values = out
            room = self._room_in(part, out, _devices.stream(stream))
        if progress is not None and not callable(progress):
            raise TypeError(f"progress: must be callable, not {type(progress).__name__}")
        if progress is None and self._is_short(part):
            self._fill(part, room, None)
        else:
            self._fill_watched(part, room, progress)
        room.give_unit(self._unit)
        return values

    def __repr__(self) -> str:
        sizes = " by ".join(str(size) for size in self._place_shape)
        fields = f", {self._weightings} weightings" if self._has_weightings else ""
        return f"<Plan of {sizes} points{fields}, {self.engine}>"

    def __reduce__(self) -> NoReturn:
        raise TypeError("a Plan cannot be copied: make one of the same arguments")

    def _is_short(self, part: _Part) -> bool:
        values = part.points * self._fields
        return self._evaluations_of_point * part.points < _LONG and values < _MANY_VALUES

    def _fill_watched(
        self,
        part: _Part,
        room: _Room | _RoomOnGpu,
        progress: Progress | None,
    ) -> None:
        total = part.points

        def work(job: Job[None]) -> None:
            def told(points: int, _user: object) -> int:
                job.done = points
                return job.stop

            self._fill(part, room, told)

        if progress is None:
            Job(work).run()
            return
        tell = progress
        Job(work).run(lambda done: tell(done, total))
        tell(total, total)

    def _fill(
        self,
        part: _Part,
        room: _Room | _RoomOnGpu,
        told: Callable[[int, object], int] | None,
    ) -> None:
        conduct = _library.conduct(self._threads, told, room.to_next_field)
        box = _library.Box(part.first, part.sizes)
        message = _library.Message()
        status = room.fill(self._handle, box, conduct, message)
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
        # Weightings, and in each the components, and in each the points from the last direction on.
        values = np.empty((self._weightings, self._components, *part.shape[::-1]), dtype)
        axes = (0, *range(values.ndim - 1, 1, -1), 1)
        room: npt.NDArray[Any] = np.transpose(values, axes)
        if self._components == 1:
            room = room[..., 0]
        return room if self._has_weightings else room[0, ...]

    def _room_in(self, part: _Part, out: Any, stream: int | None) -> _Room | _RoomOnGpu:
        """Read where values go in an array, of whatever library."""
        found, order = _devices.room(out, stream)
        if isinstance(found, np.ndarray):
            return _Room(found, *self._layout(part, found, found.flags.writeable))
        stride, apart = self._layout(part, found, not found.read_only)
        if stride != 2 or (self._fields > 1 and apart != 2 * part.points):
            raise ValueError("out: must have no gaps in the memory of a GPU")
        return _RoomOnGpu(found, order, self._unit)

    def _layout(
        self, part: _Part, out: npt.NDArray[Any] | Described, writeable: bool
    ) -> tuple[int, int]:
        """Read how far apart the values in `out` are, in real numbers."""
        if out.dtype not in (np.complex128, np.complex64) or not out.dtype.isnative:
            raise TypeError(f"out: must be of complex128 or complex64, not {out.dtype.str}")
        if not writeable:
            raise ValueError("out: is read-only")
        shape = self._shape_around(part.shape)
        if out.shape != shape:
            raise ValueError(f"out: must be of the shape {shape}, not {out.shape}")
        number = out.dtype.itemsize // 2
        first = int(self._has_weightings)
        strides = out.strides[first : first + len(part.shape)]
        step = _common_step(part.shape, strides, out.dtype.itemsize)
        if step is None or step <= 0 or step % number:
            raise ValueError(
                "out: must have x fastest, then y, then z, as Plan.empty() makes it, "
                "or numpy.empty(shape, complex, order='F') where there is one weighting"
            )
        apart = self._apart(out, step * part.points)
        if apart is None or apart <= 0 or apart % number:
            raise ValueError("out: the weightings must follow each other, and in each components")
        return step // number, apart // number

    def _apart(self, out: npt.NDArray[Any] | Described, dense: int) -> int | None:
        """Give the bytes from each field to the next one, where that is one number."""
        apart = None
        if self._components > 1:
            apart = out.strides[-1]
        if self._has_weightings and self._weightings > 1:
            ofweightings = out.strides[0]
            if apart is None:
                return ofweightings
            return apart if ofweightings == self._components * apart else None
        return dense if apart is None else apart

    def _part(self, box: Any) -> _Part:
        sizes = self._place_shape
        if box is None:
            box = ()
        keys = _expanded(box if isinstance(box, tuple) else (box,), len(sizes))
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


def _created(request: _library.Request, place: Place, drives: int, threads: int) -> ctypes.c_void_p:
    """Have the library make a plan, in a thread of its own where that may last."""
    handle = ctypes.c_void_p()
    names = {**NAMES, "sizes": place.name, "transform": place.name}

    def create(job: Job[None] | None = None) -> None:
        conduct = None if job is None else stopping(job, threads)
        _library.call(_library.functions.plan_create_watched, request, conduct, handle, names=names)

    try:
        if place.is_large or drives > 16:
            Job(create).run()
        else:
            create()
    except ValueError as refusal:
        refuse(refusal)
    return handle


def _require_addressable(shape: tuple[int, ...]) -> None:
    if 16 * math.prod(shape) > sys.maxsize:
        raise MemoryError(f"grid: the {math.prod(shape)} values have no place in memory")


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


def _expanded(keys: tuple[Any, ...], directions: int) -> tuple[Any, ...]:
    """Put whole directions in place of an ellipsis."""
    places = [i for i, key in enumerate(keys) if key is Ellipsis]
    if not places:
        return keys
    if len(places) > 1:
        raise ValueError("box: has more than one ellipsis")
    between = (slice(None),) * (directions - len(keys) + 1)
    return (*keys[: places[0]], *between, *keys[places[0] + 1 :])


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
