# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""The library's interface for C (pistonfield.h): nothing else in the package calls the library."""

from __future__ import annotations

import ctypes
from collections.abc import Callable, Mapping
from ctypes import POINTER, c_char_p, c_double, c_int, c_int32, c_int64, c_size_t, c_void_p
from dataclasses import dataclass
from pathlib import Path
from typing import Any, TypeVar

import numpy as np
import numpy.typing as npt

INTERFACE = 8
"""The interface that the structs here are of."""

Status = c_int
SUCCESS = 0
OUT_OF_RANGE = 3
OUT_OF_MEMORY = 5
DEVICE_FAILURE = 6
REFUSALS = (1, 2)

MODES = {("cpu", "double"): 0, ("cpu", "single"): 1, ("gpu", "single"): 2, ("gpu", "double"): 3}
"""The library's numbers of devices and precisions."""
DEVICES = ("cpu", "gpu")
PRECISIONS = ("double", "single")
RELATIVE = {"largest": 0, "local": 1}
ALONG = {"x": 0, "y": 1, "radius": 2}
BAFFLES = {"rigid": 0, "soft": 1, "free": 2}
QUANTITIES = {"pressure": 0, "velocity": 1, "intensity": 2}

EDGE = np.dtype([("start", "f8", 2), ("to", "f8", 2), ("sweep", "f8"), ("loop", "i8")])
"""An edge of an outline."""

Progress = ctypes.CFUNCTYPE(c_int, c_int64, c_void_p)


class Message(ctypes.Structure):
    _fields_ = [("text", ctypes.c_char * 256)]


class Request(ctypes.Structure):
    _fields_ = [
        ("size", c_size_t),
        ("width", c_double),
        ("height", c_double),
        ("wavenumber", c_double),
        ("transform", c_double * 16),
        ("sizes", c_int64 * 3),
        ("mode", c_int32),
        ("order", c_int32),
        ("table", c_void_p),
        ("tolerance", c_double),
        ("tolerance_of", c_int32),
        ("behind", c_int32),
        ("x", c_void_p),
        ("y", c_void_p),
        ("z", c_void_p),
        ("points", c_int64),
        ("array", c_void_p),
        ("elements", c_int64),
        ("weights", c_void_p),
        ("weightings", c_int64),
        ("attenuation", c_double),
        ("baffle", c_int32),
        ("quantity", c_int32),
        ("outlines", c_void_p),
        ("outline_of", c_void_p),
        ("outline_count", c_int64),
        ("points_device", c_void_p),
    ]

    def __init__(self) -> None:
        super().__init__()
        self.held: list[Any] = []
        """Whose memory it points to: a call may outlive its interrupted caller."""


class Device(ctypes.Structure):
    _fields_ = [("number", c_int32), ("stream", c_void_p)]


class OutlineStruct(ctypes.Structure):
    _fields_ = [("edges", c_void_p), ("count", c_int64)]


class Box(ctypes.Structure):
    _fields_ = [("first", c_int64 * 3), ("size", c_int64 * 3)]


class CostStruct(ctypes.Structure):
    _fields_ = [("evaluations", c_double), ("memory", c_int64), ("device_memory", c_int64)]


class AccuracyStruct(ctypes.Structure):
    _fields_ = [
        ("bound", c_double),
        ("error", c_double),
        ("evaluations", c_double),
        ("points", c_int64),
    ]


class Conduct(ctypes.Structure):
    _fields_ = [
        ("size", c_size_t),
        ("progress", Progress),
        ("user", c_void_p),
        ("threads", c_int64),
        ("to_next_field", c_int64),
    ]


_Number = POINTER(c_double)
_Whole = POINTER(c_int64)


class Line(ctypes.Structure):
    _fields_ = [
        ("elements", c_int64),
        ("width", c_double),
        ("height", c_double),
        ("pitch", _Number),
        ("kerf", _Number),
    ]


class Matrix(ctypes.Structure):
    _fields_ = [
        ("columns", c_int64),
        ("rows", c_int64),
        ("width", c_double),
        ("height", c_double),
        ("pitch_x", _Number),
        ("kerf_x", _Number),
        ("pitch_y", _Number),
        ("kerf_y", _Number),
    ]


class Convex(ctypes.Structure):
    _fields_ = [
        ("elements", c_int64),
        ("radius", c_double),
        ("width", c_double),
        ("height", c_double),
        ("pitch", _Number),
        ("angle", _Number),
        ("kerf", _Number),
    ]


class Bowl(ctypes.Structure):
    _fields_ = [
        ("radius", c_double),
        ("aperture", _Number),
        ("opening_angle", _Number),
        ("hole", c_double),
        ("width", c_double),
        ("height", c_double),
        ("elements", _Whole),
        ("kerf", _Number),
        ("pitch", _Number),
        ("counts", _Whole),
        ("rings", c_int64),
    ]


class Annular(ctypes.Structure):
    _fields_ = [
        ("radii", _Number),
        ("count", c_int64),
        ("elements", _Whole),
        ("radius", _Number),
        ("inner", _Number),
        ("kerf", c_double),
    ]


class Honeycomb(ctypes.Structure):
    _fields_ = [
        ("rings", c_int64),
        ("width", c_double),
        ("pitch", _Number),
        ("kerf", _Number),
    ]


class Polygon(ctypes.Structure):
    _fields_ = [
        ("corners", c_void_p),
        ("count", c_int64),
        ("holes", c_void_p),
        ("hole_sizes", c_void_p),
        ("hole_count", c_int64),
    ]


class Medium(ctypes.Structure):
    _fields_ = [
        ("speed", c_double),
        ("attenuation", c_double),
        ("exponent", c_double),
        ("nepers", _Number),
        ("dispersion_frequency", _Number),
    ]


class Places(ctypes.Structure):
    _fields_ = [
        ("x", c_void_p),
        ("y", c_void_p),
        ("z", c_void_p),
        ("points", c_int64),
        ("tolerance", c_double),
        ("behind", c_int32),
    ]


class Foci(ctypes.Structure):
    _fields_ = [
        ("places", Places),
        ("pressures", c_void_p),
        ("least_ratio", c_double),
        ("largest_weight", _Number),
        ("iterations", c_int32),
    ]


class FociResult(ctypes.Structure):
    _fields_ = [
        ("dropped", c_int64),
        ("least_kept", c_double),
        ("efficiency", c_double),
        ("iterations", c_int64),
        ("scale", c_double),
        ("residual", c_double),
    ]


class Window(ctypes.Structure):
    _fields_ = [("name", c_char_p), ("parameter", c_double), ("along", c_int32)]


class BeamOptions(ctypes.Structure):
    _fields_ = [
        ("size", c_size_t),
        ("frequency", c_double),
        ("speed", c_double),
        ("density", c_double),
        ("velocity", c_double),
        ("duty", c_double),
        ("derating", c_double),
        ("axis", c_void_p),
        ("hydrophone", c_void_p),
        ("hydrophone_sides", c_int32),
        ("without_power", c_int32),
    ]


class Sampled(ctypes.Structure):
    _fields_ = [
        ("transform", c_double * 16),
        ("sizes", c_int64 * 3),
        ("wavenumber", c_double),
        ("values", c_void_p),
    ]


class Figure(ctypes.Structure):
    _fields_ = [
        ("name", c_char_p),
        ("numbers", c_void_p),
        ("rows", c_int64),
        ("columns", c_int64),
        ("rank", c_int32),
        ("is_flag", c_int32),
    ]


_Message = POINTER(Message)
_Made = POINTER(c_void_p)

_SIGNATURES: dict[str, tuple[Any, list[Any]]] = {
    "version": (c_char_p, []),
    "interface": (c_int32, []),
    "has_gpus": (c_int32, []),
    "most_threads": (c_int32, []),
    "request_init": (Status, [POINTER(Request), c_size_t, _Message]),
    "plan_create_watched": (Status, [POINTER(Request), POINTER(Conduct), _Made, _Message]),
    "plan_destroy": (None, [c_void_p]),
    "plan_engine": (c_char_p, [c_void_p]),
    "plan_cost": (Status, [c_void_p, POINTER(Box), POINTER(CostStruct), _Message]),
    "plan_accuracy": (Status, [c_void_p, POINTER(AccuracyStruct), _Message]),
    "plan_compute_double": (
        Status,
        [c_void_p, POINTER(Box), c_void_p, c_void_p, c_int64, POINTER(Conduct), _Message],
    ),
    "plan_compute_float": (
        Status,
        [c_void_p, POINTER(Box), c_void_p, c_void_p, c_int64, POINTER(Conduct), _Message],
    ),
    "plan_compute_double_on": (
        Status,
        [c_void_p, POINTER(Box), c_void_p, POINTER(Device), _Number, POINTER(Conduct), _Message],
    ),
    "plan_compute_float_on": (
        Status,
        [c_void_p, POINTER(Box), c_void_p, POINTER(Device), _Number, POINTER(Conduct), _Message],
    ),
    "device_of": (Status, [c_void_p, POINTER(c_int32), _Message]),
    "device_read": (Status, [POINTER(Device), c_void_p, c_int64, c_void_p, _Message]),
    "wave": (Status, [POINTER(Medium), c_double, _Number, _Number, _Message]),
    "array_line": (Status, [POINTER(Line), _Made, _Message]),
    "array_matrix": (Status, [POINTER(Matrix), _Made, _Message]),
    "array_convex": (Status, [POINTER(Convex), _Made, _Message]),
    "array_bowl": (Status, [POINTER(Bowl), _Made, _Message]),
    "array_annular": (Status, [POINTER(Annular), _Made, _Message]),
    "array_honeycomb": (Status, [POINTER(Honeycomb), _Made, _Message]),
    "array_disc": (Status, [c_double, _Made, _Message]),
    "array_ring": (Status, [c_double, c_double, _Made, _Message]),
    "array_sector": (Status, [c_double, c_double, c_double, c_double, _Made, _Message]),
    "array_polygon": (Status, [POINTER(Polygon), _Made, _Message]),
    "array_read": (Status, [c_char_p, _Made, _Message]),
    "array_destroy": (None, [c_void_p]),
    "array_elements": (c_void_p, [c_void_p]),
    "array_count": (c_int64, [c_void_p]),
    "array_weights": (c_void_p, [c_void_p]),
    "array_outlines": (POINTER(OutlineStruct), [c_void_p]),
    "array_outline_of": (c_void_p, [c_void_p]),
    "array_outline_count": (c_int64, [c_void_p]),
    "request_focus_watched": (
        Status,
        [POINTER(Request), POINTER(Places), POINTER(Conduct), c_void_p, _Message],
    ),
    "request_foci_watched": (
        Status,
        [
            POINTER(Request),
            POINTER(Foci),
            POINTER(Conduct),
            c_void_p,
            POINTER(FociResult),
            _Message,
        ],
    ),
    "request_plane_wave_watched": (
        Status,
        [POINTER(Request), _Number, POINTER(Conduct), c_void_p, _Message],
    ),
    "request_window": (Status, [POINTER(Request), POINTER(Window), c_void_p, _Message]),
    "request_power": (Status, [POINTER(Request), POINTER(Conduct), _Number, _Message]),
    "beam_options_init": (Status, [POINTER(BeamOptions), c_size_t, _Message]),
    "beam_of_request": (
        Status,
        [POINTER(Request), POINTER(BeamOptions), POINTER(Conduct), _Made, _Message],
    ),
    "beam_of_samples": (Status, [POINTER(Sampled), POINTER(BeamOptions), _Made, _Message]),
    "beam_destroy": (None, [c_void_p]),
    "beam_count": (c_int64, [c_void_p]),
    "beam_figure": (Status, [c_void_p, c_int64, POINTER(Figure), _Message]),
    "beam_table": (c_char_p, [c_void_p]),
    "direction": (None, [c_double, c_double, POINTER(c_double)]),
    "weights_round_phases": (Status, [c_void_p, c_int64, c_int32, _Message]),
    "weights_round_delays": (Status, [c_void_p, c_int64, c_double, c_double, _Message]),
    "weights_round_amplitudes": (Status, [c_void_p, c_int64, c_int64, _Message]),
}


class _Functions:
    """The functions of the library, without the names' common beginning."""

    def __init__(self, library: ctypes.CDLL) -> None:
        for name, (result, arguments) in _SIGNATURES.items():
            function = getattr(library, f"pistonfield_{name}")
            function.restype = result
            function.argtypes = arguments
            setattr(self, name, function)

    def __getattr__(self, name: str) -> Any:
        raise AttributeError(name)


def _load() -> _Functions:
    path = Path(__file__).parent / "lib" / "libpistonfield.so"
    try:
        library = ctypes.CDLL(str(path))
    except OSError as failure:
        raise ImportError(
            f"{path} cannot be loaded: {failure}; install the package with pip, "
            "which builds it: the folder of its sources has none"
        ) from failure
    found = library.pistonfield_interface()
    if found < INTERFACE:
        raise ImportError(f"{path} has interface {found}, not {INTERFACE} or a later one")
    return _Functions(library)


functions = _load()


def version() -> str:
    """Give the version of the library, which is the package's."""
    return str(functions.version().decode())


MOST_THREADS: int = functions.most_threads()

HAS_GPUS: bool = functions.has_gpus() != 0
"""Whether this is the build for NVIDIA GPUs."""

Names = Mapping[str, str]

_Named = TypeVar("_Named")


def raise_failure(status: int, text: str, names: Names) -> None:
    """Raise what a status other than success stands for.

    `names` has the caller's words for what the library names in its texts.
    """
    name, colon, reason = text.partition(": ")
    if colon and name in names:
        text = f"{names[name]}: {reason}"
    if status in REFUSALS or status == OUT_OF_RANGE:
        raise ValueError(text)
    if status == DEVICE_FAILURE and name not in names:
        text = f"device: {text}"
    if status == OUT_OF_MEMORY:
        raise MemoryError(text)
    raise RuntimeError(text)


def call(function: Callable[..., int], *arguments: Any, names: Names | None = None) -> None:
    """Call a function that returns a status, and raise what is not success."""
    message = Message()
    status = function(*arguments, message)
    if status != SUCCESS:
        raise_failure(status, message.text.decode(errors="replace"), names or {})


def conduct(
    threads: int, told: Callable[[int, Any], int] | None = None, to_next_field: int = 0
) -> Conduct:
    """Say how a computation is watched, and what it may use."""
    made = Conduct(size=ctypes.sizeof(Conduct), threads=threads, to_next_field=to_next_field)
    if told is not None:
        made.progress = Progress(told)
    return made


def address(values: npt.NDArray[Any]) -> int:
    """Where the values of an array begin."""
    return int(values.__array_interface__["data"][0])


def optional_number(value: float | None) -> Any:
    """Point to a number, or nowhere."""
    return None if value is None else ctypes.pointer(c_double(value))


def numbers(values: list[float]) -> Any:
    """Give an array of numbers."""
    return (c_double * len(values))(*values)


def whole_numbers(values: list[int]) -> Any:
    """Give an array of whole numbers."""
    return (c_int64 * len(values))(*values)


def optional_whole(value: int | None) -> Any:
    """Point to a whole number, or nowhere."""
    return None if value is None else ctypes.pointer(c_int64(value))


@dataclass(frozen=True)
class Elements:
    """What an array is made of."""

    rows: npt.NDArray[np.float64]
    """11 numbers for each element."""
    weights: npt.NDArray[np.complex128] | None
    outlines: list[npt.NDArray[Any]]
    """Edges of each outline."""
    outline_of: npt.NDArray[np.int64] | None
    """For each element the number of its outline or -1; None where all are rectangles."""


def take_array(make: Callable[..., int], *given: Any, names: Names) -> Elements:
    """Have the library make an array."""
    handle = c_void_p()
    call(make, *given, handle, names=names)
    try:
        count = functions.array_count(handle)
        rows = _copy(functions.array_elements(handle), 11 * count).reshape(count, 11)
        weights = functions.array_weights(handle)
        outline_of = functions.array_outline_of(handle)
        outlines = functions.array_outlines(handle)
        return Elements(
            rows,
            _copy(weights, 2 * count).view(np.complex128) if weights else None,
            [
                _copy(outlines[i].edges, outlines[i].count, EDGE)
                for i in range(functions.array_outline_count(handle))
            ],
            _copy(outline_of, count, np.int64) if outline_of else None,
        )
    finally:
        functions.array_destroy(handle)


def _copy(begin: int, count: int, dtype: npt.DTypeLike = np.float64) -> npt.NDArray[Any]:
    values = np.empty(count, dtype)
    ctypes.memmove(address(values), begin, values.nbytes)
    return values


def take_beam(make: Callable[..., int], *given: Any, names: Names) -> tuple[dict[str, Any], str]:
    """Have the library measure a beam: its figures by their names, and the table of them."""
    handle = c_void_p()
    call(make, *given, handle, names=names)
    try:
        figures = {}
        figure = Figure()
        for i in range(functions.beam_count(handle)):
            call(functions.beam_figure, handle, i, figure)
            figures[figure.name.decode()] = _value_of(figure)
        return figures, functions.beam_table(handle).decode()
    finally:
        functions.beam_destroy(handle)


def _value_of(figure: Figure) -> Any:
    values = _copy(figure.numbers, figure.rows * figure.columns)
    if figure.is_flag:
        values = values != 0
    if figure.rank == 0:
        return values[0].item()
    return values.reshape(figure.rows, figure.columns) if figure.rank == 2 else values
