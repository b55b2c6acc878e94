# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Arrays of other libraries by DLPack, whose structs dlpack.h describes: of version 1 or before.

A capsule that is not taken over ends what it has when it goes, so that memory is there as long as
somebody holds the capsule.
"""

from __future__ import annotations

import ctypes
import math
from collections.abc import Iterable, Iterator
from contextlib import contextmanager
from ctypes import (
    POINTER,
    c_char_p,
    c_int32,
    c_int64,
    c_uint8,
    c_uint16,
    c_uint32,
    c_uint64,
    c_void_p,
    py_object,
)
from dataclasses import dataclass
from typing import Any

import numpy as np

CUDA = (2, 13)
"""The memory of a GPU, and what moves between it and the processor's."""

HOST = (1, 3, 11)
"""Memory of the processor: its own, and what a GPU reaches as well."""

_READ_ONLY = 1
_IS_COPIED = 2
_KINDS = {0: "i", 1: "u", 2: "f", 5: "c"}


class _Tensor(ctypes.Structure):
    _fields_ = [
        ("data", c_void_p),
        ("device_type", c_int32),
        ("device", c_int32),
        ("dimensions", c_int32),
        ("code", c_uint8),
        ("bits", c_uint8),
        ("lanes", c_uint16),
        ("shape", POINTER(c_int64)),
        ("strides", POINTER(c_int64)),
        ("byte_offset", c_uint64),
    ]


class _Versioned(ctypes.Structure):
    _fields_ = [
        ("major", c_uint32),
        ("minor", c_uint32),
        ("context", c_void_p),
        ("deleter", c_void_p),
        ("flags", c_uint64),
        ("tensor", _Tensor),
    ]


_pointer_of = ctypes.pythonapi.PyCapsule_GetPointer
_pointer_of.restype = c_void_p
_pointer_of.argtypes = [py_object, c_char_p]
_is_valid = ctypes.pythonapi.PyCapsule_IsValid
_is_valid.restype = ctypes.c_int
_is_valid.argtypes = [py_object, c_char_p]


@dataclass(frozen=True)
class Described:
    """An array in any memory."""

    address: int
    shape: tuple[int, ...]
    strides: tuple[int, ...]
    """In bytes."""
    dtype: np.dtype[Any]
    read_only: bool
    device: int
    """Of memory of a GPU, its number."""
    on_gpu: bool
    held: Any
    """Whatever keeps the memory."""


@contextmanager
def reading(name: str, protocol: str) -> Iterator[None]:
    """Name the argument and the protocol where an object's own code fails, or gives nonsense."""
    try:
        yield
    except MemoryError:
        raise
    except Exception as failure:
        reason = str(failure) or type(failure).__name__
        raise ValueError(f"{name}: cannot be had by {protocol}: {reason}") from failure


def describe(value: Any, name: str, stream: int | None, *, in_place: bool) -> Described:
    """Ask an object with ``__dlpack__`` for its array.

    The values are those that it has in the order of a stream of the GPU, which is None for memory
    of the processor. `in_place` refuses a copy.
    """
    with reading(name, "DLPack"):
        capsule, is_plain = _capsule(value, stream, in_place)
    found = _of_capsule(capsule, name, in_place)
    if in_place and is_plain:
        # Who does not know `copy` cannot be told not to: a second copy would lie elsewhere.
        with reading(name, "DLPack"):
            again, _ = _capsule(value, stream, in_place)
        if _of_capsule(again, name, in_place).address != found.address:
            raise _copy(name)
    return found


def _of_capsule(capsule: Any, name: str, in_place: bool) -> Described:
    if _is_valid(capsule, b"dltensor_versioned"):
        managed = _Versioned.from_address(_pointer_of(capsule, b"dltensor_versioned"))
        if managed.major != 1:
            raise ValueError(f"{name}: is of version {managed.major} of DLPack, not 1")
        if in_place and managed.flags & _IS_COPIED:
            raise _copy(name)
        return _of_tensor(managed.tensor, name, bool(managed.flags & _READ_ONLY), capsule)
    if _is_valid(capsule, b"dltensor"):
        tensor = _Tensor.from_address(_pointer_of(capsule, b"dltensor"))
        return _of_tensor(tensor, name, False, capsule)
    raise TypeError(f"{name}: its __dlpack__ gives nothing of DLPack")


def sizes(given: Iterable[Any]) -> tuple[int, ...]:
    """Read a shape."""
    shape = tuple(int(size) for size in given)
    if any(size < 0 for size in shape):
        raise ValueError(f"its shape is {shape}")
    return shape


def dense(shape: tuple[int, ...], itemsize: int) -> tuple[int, ...]:
    """Give the strides of an array whose last direction is fastest, without gaps."""
    return tuple(itemsize * math.prod(shape[i + 1 :]) for i in range(len(shape)))


def _copy(name: str) -> ValueError:
    return ValueError(f"{name}: its __dlpack__ gives a copy, which would be filled in its place")


def _capsule(value: Any, stream: int | None, in_place: bool) -> tuple[Any, bool]:
    """Ask for a capsule; and whether that was in the words of before version 1."""
    options: dict[str, Any] = {} if stream is None else {"stream": stream}
    new: dict[str, Any] = {"max_version": (1, 0)}
    if in_place:
        new["copy"] = False
    try:
        return value.__dlpack__(**options, **new), False
    except TypeError:
        return value.__dlpack__(**options), True


def _of_tensor(tensor: _Tensor, name: str, read_only: bool, capsule: Any) -> Described:
    dtype = _dtype(tensor, name)
    with reading(name, "DLPack"):
        shape = sizes(tensor.shape[: tensor.dimensions])
        if tensor.strides:
            strides = tuple(dtype.itemsize * step for step in tensor.strides[: tensor.dimensions])
        else:
            strides = dense(shape, dtype.itemsize)
        address = (tensor.data or 0) + tensor.byte_offset
        if address == 0 and 0 not in shape:
            raise ValueError("it has no address")
    return Described(
        address=address,
        shape=shape,
        strides=strides,
        dtype=dtype,
        read_only=read_only,
        device=tensor.device,
        on_gpu=tensor.device_type in CUDA,
        held=capsule,
    )


def _dtype(tensor: _Tensor, name: str) -> np.dtype[Any]:
    kind = _KINDS.get(tensor.code)
    try:
        if kind is None or tensor.lanes != 1 or tensor.bits % 8:
            raise TypeError
        return np.dtype(f"{kind}{tensor.bits // 8}")
    except TypeError:
        raise TypeError(
            f"{name}: has elements that NumPy does not have: DLPack's code {tensor.code} of "
            f"{tensor.bits} bits"
        ) from None
