# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""The library's interface for C (pistonfield.h): nothing else in the package calls the library."""

from __future__ import annotations

import ctypes
from collections.abc import Callable, Mapping
from ctypes import POINTER, c_char_p, c_double, c_int, c_int32, c_int64, c_size_t, c_void_p
from pathlib import Path
from typing import Any, TypeVar

import numpy as np
import numpy.typing as npt

INTERFACE = 5
"""The interface that the structs here are of."""

Status = c_int
SUCCESS = 0
OUT_OF_RANGE = 3
OUT_OF_MEMORY = 5
REFUSALS = (1, 2)

MODES = {"double": 0, "single": 1}
RELATIVE = {"largest": 0, "local": 1}
ALONG = {"x": 0, "y": 1, "radius": 2}

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
    ]


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


class Driven(ctypes.Structure):
    _fields_ = [("array", c_void_p), ("elements", c_int64), ("wavenumber", c_double)]


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


_SIGNATURES: dict[str, tuple[Any, list[Any]]] = {
    "version": (c_char_p, []),
    "interface": (c_int32, []),
    "most_threads": (c_int32, []),
    "request_init": (Status, [POINTER(Request), c_size_t, POINTER(Message)]),
    "plan_create": (Status, [POINTER(Request), POINTER(c_void_p), POINTER(Message)]),
    "plan_destroy": (None, [c_void_p]),
    "plan_engine": (c_char_p, [c_void_p]),
    "plan_cost": (Status, [c_void_p, POINTER(Box), POINTER(CostStruct), POINTER(Message)]),
    "plan_accuracy": (Status, [c_void_p, POINTER(AccuracyStruct), POINTER(Message)]),
    "plan_compute_double": (
        Status,
        [c_void_p, POINTER(Box), c_void_p, c_void_p, c_int64, POINTER(Conduct), POINTER(Message)],
    ),
    "plan_compute_float": (
        Status,
        [c_void_p, POINTER(Box), c_void_p, c_void_p, c_int64, POINTER(Conduct), POINTER(Message)],
    ),
    "array_line": (Status, [POINTER(Line), POINTER(c_void_p), POINTER(Message)]),
    "array_matrix": (Status, [POINTER(Matrix), POINTER(c_void_p), POINTER(Message)]),
    "array_convex": (Status, [POINTER(Convex), POINTER(c_void_p), POINTER(Message)]),
    "array_bowl": (Status, [POINTER(Bowl), POINTER(c_void_p), POINTER(Message)]),
    "array_read": (Status, [c_char_p, POINTER(c_void_p), POINTER(Message)]),
    "array_destroy": (None, [c_void_p]),
    "array_elements": (c_void_p, [c_void_p]),
    "array_count": (c_int64, [c_void_p]),
    "array_weights": (c_void_p, [c_void_p]),
    "weights_of_focus": (Status, [POINTER(Driven), POINTER(Places), c_void_p, POINTER(Message)]),
    "weights_of_foci": (
        Status,
        [POINTER(Driven), POINTER(Foci), c_void_p, POINTER(FociResult), POINTER(Message)],
    ),
    "weights_of_plane_wave": (
        Status,
        [POINTER(Driven), POINTER(c_double), c_void_p, POINTER(Message)],
    ),
    "direction": (None, [c_double, c_double, POINTER(c_double)]),
    "weights_window": (Status, [POINTER(Driven), POINTER(Window), c_void_p, POINTER(Message)]),
    "weights_round_phases": (Status, [c_void_p, c_int64, c_int32, POINTER(Message)]),
    "weights_round_delays": (Status, [c_void_p, c_int64, c_double, c_double, POINTER(Message)]),
    "weights_round_amplitudes": (Status, [c_void_p, c_int64, c_int64, POINTER(Message)]),
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
    if status == OUT_OF_MEMORY:
        raise MemoryError(text)
    raise RuntimeError(text)


def call(function: Callable[..., int], *arguments: Any, names: Names | None = None) -> None:
    """Call a function that returns a status, and raise what is not success."""
    message = Message()
    status = function(*arguments, message)
    if status != SUCCESS:
        raise_failure(status, message.text.decode(errors="replace"), names or {})


def address(values: npt.NDArray[Any]) -> int:
    """Where the values of an array begin."""
    return int(values.__array_interface__["data"][0])


def optional_number(value: float | None) -> Any:
    """Point to a number, or nowhere."""
    return None if value is None else ctypes.pointer(c_double(value))


def whole_numbers(values: list[int]) -> Any:
    """Give an array of whole numbers."""
    return (c_int64 * len(values))(*values)


def optional_whole(value: int | None) -> Any:
    """Point to a whole number, or nowhere."""
    return None if value is None else ctypes.pointer(c_int64(value))


def take_array(
    make: Callable[..., int], given: Any, names: Names
) -> tuple[npt.NDArray[np.float64], npt.NDArray[np.complex128] | None]:
    """Have the library make an array: a row of 11 numbers for each element, and the weights."""
    handle = c_void_p()
    call(make, given, handle, names=names)
    try:
        count = functions.array_count(handle)
        elements = _copy(functions.array_elements(handle), 11 * count).reshape(count, 11)
        weights = functions.array_weights(handle)
        if not weights:
            return elements, None
        return elements, _copy(weights, 2 * count).view(np.complex128)
    finally:
        functions.array_destroy(handle)


def _copy(begin: int, count: int) -> npt.NDArray[np.float64]:
    values = np.empty(count)
    ctypes.memmove(address(values), begin, values.nbytes)
    return values
