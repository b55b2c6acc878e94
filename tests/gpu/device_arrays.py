#!/usr/bin/env python3
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Arrays in the memory of a GPU, through the package for Python: values and points.

Takes NumPy alone, and CuPy and PyTorch where they are; the package is in the folder of this script or
installed. The exit status is 77 where there is no GPU.
"""

import ctypes
import sys
import time
from pathlib import Path

import numpy as np

import pistonfield as pf
from pistonfield import _library

LIBRARY = ctypes.CDLL(str(Path(_library.__file__).parent / "lib" / "libpistonfield.so"))
PISTON = pf.Piston(width=7.5e-3, height=5e-3)
ARRAY = pf.Array.matrix(elements=(16, 16), pitch=0.6e-3, width=0.5e-3, height=0.5e-3)
GRID = pf.Grid(
    x=np.linspace(-10e-3, 10e-3, 151),
    y=np.linspace(-8e-3, 8e-3, 121),
    z=np.linspace(1e-3, 0.05, 99),
)


class OnGpu:
    """An array in memory that the library's own functions make."""

    def __init__(self, values, stream=None):
        self.shape, self.dtype, self.nbytes = values.shape, values.dtype, values.nbytes
        self.strides = values.strides
        self._address = ctypes.c_void_p()
        size = ctypes.c_size_t(self.nbytes)
        status = LIBRARY._ZN12cuda_runtime10cudaMallocEPPvm(ctypes.byref(self._address), size)
        if status:
            raise MemoryError(f"cudaMalloc: {status}")
        start = ctypes.c_void_p(_library.address(values))
        copy = LIBRARY._ZN12cuda_runtime10cudaMemcpyEPvPKvmNS_14cudaMemcpyKindE
        if copy(self._address, start, size, 1):
            raise RuntimeError("cudaMemcpy failed")
        self.__cuda_array_interface__ = {
            "shape": self.shape,
            "typestr": self.dtype.str,
            "data": (self._address.value, False),
            "strides": self.strides,
            "stream": stream,
            "version": 3,
        }

    def fetch(self):
        room = np.empty(self.nbytes, np.uint8)
        _library.call(
            _library.functions.device_read,
            _library.Device(),
            self._address.value,
            self.nbytes,
            _library.address(room),
        )
        return np.ndarray(self.shape, self.dtype, room, strides=self.strides)


def has_gpu():
    number = ctypes.c_int32()
    message = _library.Message()
    status = _library.functions.device_of(ctypes.addressof(number), number, message)
    if status == _library.DEVICE_FAILURE:
        print(message.text.decode())
    return status != _library.DEVICE_FAILURE


def check(what, found, wanted, error):
    off = abs(found - wanted).max() / abs(wanted).max()
    print(f"{what}: {off:.1e} of at most {error:.1e}", flush=True)
    if not off <= error:
        sys.exit(f"{what} is wrong")


def check_values():
    for source in (PISTON, ARRAY):
        exact = pf.pressure(source, GRID, 1e6, tolerance=1e-9)
        for precision, tolerance in (("double", 1e-8), ("single", 1e-4)):
            options = {"device": "gpu", "precision": precision, "tolerance": tolerance}
            plan = pf.Plan(source, GRID, 1e6, **options)
            begin = time.perf_counter()
            p = plan.compute()
            seconds = time.perf_counter() - begin
            check(f"{source!r} in {precision}, {seconds:.3f} s", p, exact, tolerance + 1e-9)
            for stream in (None, 1, 2):
                out = OnGpu(plan.empty(), stream)
                begin = time.perf_counter()
                plan.compute(out=out)
                seconds = time.perf_counter() - begin
                check(f"  into its memory, {seconds:.3f} s", out.fetch(), p, 1e-15)
            single = OnGpu(plan.empty(np.complex64))
            plan.compute(out=single)
            check("  in complex64", single.fetch(), p, 2e-7)


def check_points():
    points = np.random.default_rng(1).uniform(0, 0.03, (1000, 3))
    p = pf.pressure(ARRAY, points, 1e6)
    found = pf.pressure(ARRAY, OnGpu(points), 1e6, weights=OnGpu(np.ones(256, complex)))
    check("points and weights from its memory", found, p, 0)


def check_libraries():
    plan = pf.Plan(PISTON, GRID, 1e6, device="gpu")
    p = plan.compute()
    try:
        import cupy
    except ImportError:
        print("CuPy is not there")
    else:
        stream = cupy.cuda.Stream(non_blocking=True)
        with stream:
            out = cupy.zeros(plan.shape, complex, order="F")
            plan.compute(out=out, stream=stream.ptr)
        check("CuPy", cupy.asnumpy(out), p, 1e-15)
    try:
        import torch
    except ImportError:
        print("PyTorch is not there")
    else:
        for device in ("cpu", "cuda"):
            room = torch.zeros(plan.shape[::-1], dtype=torch.complex128, device=device)
            plan.compute(out=room.permute(2, 1, 0))
            check(f"PyTorch on {device}", room.permute(2, 1, 0).cpu().numpy(), p, 1e-15)


def main():
    if not has_gpu():
        return 77
    if not _library.HAS_GPUS:
        sys.exit("the package is the variant without GPUs")
    check_values()
    check_points()
    check_libraries()
    return 0


if __name__ == "__main__":
    sys.exit(main())
