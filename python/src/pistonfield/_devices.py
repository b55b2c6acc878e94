# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Arrays of other libraries, in the memory of a GPU or of the processor.

They come by DLPack, or by the CUDA array interface (version 3), which has GPUs alone.
"""

from __future__ import annotations

import ctypes
import operator
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _dlpack, _library
from ._dlpack import Described, reading

DEFAULT_STREAM = 1
"""The default stream, as both protocols and the CUDA runtime know it."""

_THREADS_OWN = 2
"""The default stream of each thread."""

_VARIANT = "the variant for NVIDIA GPUs has it"


class _View:
    """An array of another library as NumPy takes one."""

    def __init__(self, described: Described) -> None:
        self._held = described.held
        self.__array_interface__ = {
            "data": (described.address, described.read_only),
            "shape": described.shape,
            "strides": described.strides,
            "typestr": described.dtype.str,
            "version": 3,
        }


def stream(value: Any) -> int | None:
    """Read the argument `stream`: a handle, or an object with ``__cuda_stream__``; or None."""
    if value is None:
        return None
    with reading("stream", "__cuda_stream__"):
        if hasattr(value, "__cuda_stream__"):
            asked = value.__cuda_stream__
            _, value = asked() if callable(asked) else asked
    return _for_any_thread(_handle(value, "stream:"), "stream:")


def _handle(value: Any, said: str) -> int:
    """Read the handle of a stream, which is said to be something."""
    if isinstance(value, (bool, np.bool_)) or not hasattr(value, "__index__"):
        raise TypeError(f"{said} must be a whole number, not {type(value).__name__}")
    handle = operator.index(value)
    if not 0 <= handle < 1 << 64:
        raise ValueError(f"{said} must be a handle of the CUDA runtime's, not {handle}")
    # Some say 0 for the default stream.
    return handle or DEFAULT_STREAM


def _for_any_thread(handle: int, said: str) -> int:
    if handle == _THREADS_OWN:
        raise ValueError(
            f"{said} is 2, the default stream of each thread, and values come from another "
            "thread than the caller's: a stream that the threads share is needed"
        )
    return handle


def require_variant(name: str, what: str) -> None:
    """Refuse what the build for NVIDIA GPUs alone can do."""
    if not _library.HAS_GPUS:
        raise TypeError(
            f"{name}: {what}, for which this build of the package has no support: it computes on "
            f"the processor; {_VARIANT}"
        )


def room(out: Any, stream: int | None) -> tuple[npt.NDArray[Any] | Described, int]:
    """Find where values can go, as an array of NumPy or in the memory of a GPU; and the stream."""
    handle = stream
    if isinstance(out, np.ndarray):
        found: npt.NDArray[Any] | Described | None = out
    else:
        found, handle = _described(out, "out", handle, in_place=True)
        if stream is None and handle is not None:
            _for_any_thread(handle, "out: its stream")
    if found is None:
        raise TypeError(
            "out: must be an array of NumPy, or one by DLPack or the CUDA array interface, "
            f"not {type(out).__name__}"
        )
    if isinstance(found, np.ndarray) and stream is not None:
        raise TypeError("stream: goes with an out in the memory of a GPU")
    return found, handle or DEFAULT_STREAM


def on_host(value: Any, name: str) -> Any:
    """Give what NumPy can read, copied where it is in the memory of a GPU."""
    if isinstance(value, np.ndarray):
        return value
    on_gpu = _is_on_gpu(value, name)
    with reading(name, "__array__"):
        if not on_gpu and hasattr(value, "__array__"):
            return np.asarray(value)
    found, handle = _described(value, name, None, in_place=False)
    if found is None:
        return value
    if isinstance(found, np.ndarray):
        return found
    return _copied(found, name, handle or DEFAULT_STREAM)


def device(described: Described, stream: int) -> _library.Device:
    """Say where an array is and in which order it is used."""
    return _library.Device(number=described.device, stream=stream)


def _is_on_gpu(value: Any, name: str) -> bool:
    with reading(name, "DLPack"):
        kind = int(value.__dlpack_device__()[0]) if hasattr(value, "__dlpack_device__") else None
    if kind is None:
        with reading(name, "the CUDA array interface"):
            return hasattr(value, "__cuda_array_interface__")
    if kind not in (*_dlpack.CUDA, *_dlpack.HOST):
        # A GPU of another make.
        raise TypeError(
            f"{name}: is in the memory of a GPU, for which this build of the package has no "
            "support; copy the array to the processor"
        )
    return kind in _dlpack.CUDA


def _described(
    value: Any, name: str, stream: int | None, *, in_place: bool
) -> tuple[npt.NDArray[Any] | Described | None, int | None]:
    """Describe an array of another library, if it is one; and its stream."""
    on_gpu = _is_on_gpu(value, name)
    if on_gpu:
        require_variant(name, "is in the memory of a GPU")
    with reading(name, "DLPack"):
        has_dlpack = hasattr(value, "__dlpack__") and hasattr(value, "__dlpack_device__")
    if has_dlpack:
        order = (stream or DEFAULT_STREAM) if on_gpu else None
        found = _dlpack.describe(value, name, order, in_place=in_place)
        return (found if found.on_gpu else np.asarray(_View(found))), order
    if on_gpu:
        return _by_cuda(value, name, stream)
    if hasattr(value, "__dlpack__"):
        raise TypeError(f"{name}: has __dlpack__, but no __dlpack_device__ to tell where it is")
    return None, stream


def _by_cuda(value: Any, name: str, stream: int | None) -> tuple[Described, int | None]:
    """Read the CUDA array interface. Its stream counts unless the caller has named another."""
    with reading(name, "the CUDA array interface"):
        interface = dict(value.__cuda_array_interface__)
        dtype = np.dtype(interface["typestr"])
        shape = _dlpack.sizes(interface["shape"])
        given = interface.get("strides")
        strides = (
            _dlpack.dense(shape, dtype.itemsize)
            if given is None
            else tuple(int(step) for step in given)
        )
        if len(strides) != len(shape):
            raise ValueError(f"its strides are {strides} and its shape is {shape}")
        address, read_only = interface["data"]
        address = operator.index(address)
        if not 0 <= address < 1 << 64:
            raise ValueError(f"its address is {address}")
    if interface.get("mask") is not None:
        raise TypeError(f"{name}: has a mask, which there is nothing to do with")
    own = interface.get("stream")
    if own is not None:
        if own == 0:
            raise ValueError(f"{name}: its stream is 0, which means none")
        own = _handle(own, f"{name}: its stream")
    found = Described(
        address=address,
        shape=shape,
        strides=strides,
        dtype=dtype,
        read_only=bool(read_only),
        device=_device_of(address, name) if 0 not in shape else 0,
        on_gpu=True,
        held=value,
    )
    return found, stream or own


def _device_of(address: int, name: str) -> int:
    number = ctypes.c_int32()
    _library.call(_library.functions.device_of, address, number, names={"address": name})
    return number.value


def _copied(described: Described, name: str, stream: int) -> npt.NDArray[Any]:
    """Copy an array from the memory of a GPU."""
    if 0 in described.shape:
        return np.empty(described.shape, described.dtype)
    reaches = [
        (size - 1) * step for size, step in zip(described.shape, described.strides, strict=True)
    ]
    before = sum(reach for reach in reaches if reach < 0)
    behind = sum(reach for reach in reaches if reach > 0) + described.dtype.itemsize
    memory = np.empty(behind - before, np.uint8)
    _library.call(
        _library.functions.device_read,
        device(described, stream),
        described.address + before,
        memory.size,
        _library.address(memory),
        names={"from": name},
    )
    copied: npt.NDArray[Any] = np.ndarray(
        described.shape, described.dtype, memory.data, -before, described.strides
    )
    return copied
