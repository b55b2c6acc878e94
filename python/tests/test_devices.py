# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Arrays of other libraries, and GPUs.

In the build for NVIDIA GPUs their memory is that of one, where there is one. In others it is that
of the emulation device, which these have; the package is told that it was built for GPUs.
"""

import ctypes
import gc
import weakref

import numpy as np
import pytest

import pistonfield as pf
from pistonfield import _dlpack, _library

LIBRARY = ctypes.CDLL(_library.__file__.replace("_library.py", "lib/libpistonfield.so"))
"""Whose own functions make the memory."""

VARIANT = (
    "for which this build of the package has no support: it computes on the processor; "
    "the variant for NVIDIA GPUs has it"
)


def has_gpu() -> bool:
    message = _library.Message()
    number = ctypes.c_int32()
    status = _library.functions.device_of(ctypes.addressof(number), number, message)
    return status != _library.DEVICE_FAILURE


@pytest.fixture
def with_gpus(monkeypatch):
    if not _library.HAS_GPUS:
        monkeypatch.setattr(_library, "HAS_GPUS", True)
    elif not has_gpu():
        pytest.skip("there is no GPU")


class ByDlpack:
    """An array that is told of by DLPack, as of a device."""

    def __init__(self, values, device=(1, 0), versioned=True, read_only=False):
        self.values = values
        self.device = device
        self.versioned = versioned
        self.read_only = read_only
        self.asked = []

    def __dlpack_device__(self):
        return self.device

    def __dlpack__(self, **options):
        self.asked.append(dict(options))
        if not self.versioned and options.keys() - {"stream"}:
            raise TypeError("__dlpack__() got an unexpected keyword argument")
        if self.versioned:
            capsule = self.values.__dlpack__(max_version=(1, 0))
            start = _dlpack._pointer_of(capsule, b"dltensor_versioned")
            managed = _dlpack._Versioned.from_address(start)
            managed.flags = int(self.read_only)
            tensor = managed.tensor
        else:
            capsule = self.values.__dlpack__()
            tensor = _dlpack._Tensor.from_address(_dlpack._pointer_of(capsule, b"dltensor"))
        tensor.device_type, tensor.device = self.device
        return capsule


class ByCuda:
    """An array that is told of by the CUDA array interface."""

    def __init__(self, values, **others):
        self.values = values
        address = values.__array_interface__["data"][0]
        self.__cuda_array_interface__ = {
            "shape": values.shape,
            "typestr": values.dtype.str,
            "data": (address, False),
            "strides": values.strides,
            "version": 3,
            **others,
        }


@pytest.fixture
def on_gpu(request):
    """Copies an array to a device: what it gives has an address there, and is not to be read."""
    request.getfixturevalue("with_gpus")
    taken = []

    def copied(values):
        address = ctypes.c_void_p()
        size = ctypes.c_size_t(values.nbytes)
        assert LIBRARY._ZN12cuda_runtime10cudaMallocEPPvm(ctypes.byref(address), size) == 0
        taken.append(address)
        memory = (ctypes.c_byte * values.nbytes).from_address(address.value)
        there = np.ndarray(values.shape, values.dtype, memory, strides=values.strides)
        store(there, values)
        return there

    yield copied
    for address in taken:
        LIBRARY._ZN12cuda_runtime8cudaFreeEPv(address)


def store(there, values):
    """Copies to the memory of a device, as the CUDA runtime does."""
    to, start = (ctypes.c_void_p(_library.address(array)) for array in (there, values))
    size = ctypes.c_size_t(values.nbytes)
    copy = LIBRARY._ZN12cuda_runtime10cudaMemcpyEPvPKvmNS_14cudaMemcpyKindE
    assert copy(to, start, size, 1) == 0


def fetch(there):
    """Copies what `on_gpu` has given from there."""
    room = np.empty(there.nbytes, np.uint8)
    values = np.ndarray(there.shape, there.dtype, room, strides=there.strides)
    read = _library.functions.device_read
    start = _library.address(there)
    _library.call(read, _library.Device(), start, there.nbytes, _library.address(room))
    return values


def protocols(values):
    yield ByDlpack(values, (2, 0))
    yield ByDlpack(values, (2, 0), versioned=False)
    yield ByDlpack(values, (13, 0))
    yield ByCuda(values)


@pytest.fixture
def plan(piston, grid) -> pf.Plan:
    return pf.Plan(piston, grid, 1e6)


@pytest.mark.parametrize("dtype", [np.complex128, np.complex64])
def test_values_go_to_the_memory_of_a_gpu(plan, on_gpu, dtype):
    p = plan.compute()
    rounding = 1e-15 if dtype is np.complex128 else 2e-7
    for out in protocols(on_gpu(plan.empty(dtype))):
        store(out.values, np.full_like(p, np.nan, dtype))
        assert plan.compute(out=out) is out
        np.testing.assert_allclose(fetch(out.values), p, rtol=0, atol=rounding * abs(p).max())


def test_parts_quantities_and_weightings_go_there_too(line, grid, on_gpu):
    plan = pf.Plan(line, grid, 1e6, weights=np.array([[1] * 8, [1j] * 8]), quantity="velocity")
    p = plan.compute()
    out = ByDlpack(on_gpu(plan.empty()), (2, 0))
    plan.compute(out=out)
    np.testing.assert_allclose(fetch(out.values), p, rtol=0, atol=1e-15 * abs(p).max())
    part = ByCuda(on_gpu(np.empty((7, 6), complex, order="F")))
    alone = pf.Plan(line, grid, 1e6)
    alone.compute(np.s_[:, :, 2], out=part)
    p = alone.compute()
    np.testing.assert_allclose(fetch(part.values), p[:, :, 2], rtol=0, atol=1e-15 * abs(p).max())
    told = []
    alone.compute(np.s_[:, :, 2], out=part, progress=lambda done, total: told.append(done / total))
    assert told[-1] == 1


def test_functions_take_them(piston, grid, on_gpu):
    for function in (pf.pressure, pf.particle_velocity, pf.intensity):
        wanted = function(piston, grid, 1e6, velocity=0.3)
        out = ByDlpack(on_gpu(np.empty_like(wanted)), (2, 0))
        assert function(piston, grid, 1e6, velocity=0.3, out=out) is out
        np.testing.assert_allclose(
            fetch(out.values), wanted, rtol=0, atol=1e-15 * abs(wanted).max()
        )


@pytest.mark.skipif(_library.HAS_GPUS, reason="the emulation device takes any stream")
def test_the_order_is_that_of_a_stream(plan, on_gpu, monkeypatch):
    values = on_gpu(plan.empty())
    orders = []
    compute = _library.functions.plan_compute_double_on

    def seen(*given):
        orders.append((given[3].number, given[3].stream))
        return compute(*given)

    monkeypatch.setattr(_library.functions, "plan_compute_double_on", seen)

    class Stream:
        def __cuda_stream__(self):
            return 0, 13

    for out, stream, wanted in (
        (ByDlpack(values, (2, 0)), None, 1),
        (ByDlpack(values, (2, 0)), 0, 1),
        (ByDlpack(values, (2, 0)), 7, 7),
        (ByDlpack(values, (2, 0)), Stream(), 13),
        (ByCuda(values), None, 1),
        (ByCuda(values, stream=9), None, 9),
        (ByCuda(values, stream=2), 7, 7),
    ):
        plan.compute(out=out, stream=stream)
        assert orders[-1] == (0, wanted)
        if isinstance(out, ByDlpack):
            assert out.asked[-1] == {"stream": wanted, "max_version": (1, 0), "copy": False}


class StreamOf:
    def __init__(self, given):
        self.given = given

    def __cuda_stream__(self):
        if isinstance(self.given, Exception):
            raise self.given
        return self.given


@pytest.mark.parametrize(
    ("stream", "error", "text"),
    [
        (-1, ValueError, "^stream: must be a handle"),
        ("legacy", TypeError, "^stream: must be a whole number"),
        (True, TypeError, "^stream: must be a whole number"),
        (2**64, ValueError, "^stream: must be a handle"),
        (2, ValueError, "^stream: is 2, the default stream of each thread"),
        (StreamOf((0, 2)), ValueError, "^stream: is 2, the default stream of each thread"),
        (StreamOf((0, "legacy")), TypeError, "^stream: must be a whole number"),
        (StreamOf(5), ValueError, "^stream: cannot be had by __cuda_stream__: "),
        (StreamOf(RuntimeError("it is over")), ValueError, "^stream: cannot .*: it is over"),
    ],
)
def test_what_is_no_stream_is_refused(plan, on_gpu, stream, error, text):
    with pytest.raises(error, match=text):
        plan.compute(out=ByCuda(on_gpu(plan.empty())), stream=stream)


def test_a_stream_goes_with_the_memory_of_a_gpu(plan):
    for out in (None, plan.empty(), ByDlpack(plan.empty())):
        with pytest.raises(TypeError, match="^stream: goes with an out in the memory of a GPU"):
            plan.compute(out=out, stream=1)


def read_only(values):
    return ByCuda(values, data=(values.__array_interface__["data"][0], True))


@pytest.mark.parametrize(
    ("make", "error", "text"),
    [
        (lambda v: ByCuda(v[::-1]), ValueError, "^out: must have x fastest"),
        (lambda v: ByCuda(v[:-1]), ValueError, r"^out: must be of the shape \(7, 6, 5\)"),
        (lambda v: ByCuda(v.real), TypeError, "^out: must be of complex128 or complex64"),
        (lambda v: ByCuda(v, typestr=">c16"), TypeError, "^out: must be of complex128"),
        (lambda v: ByCuda(v, mask=v), TypeError, "^out: has a mask"),
        (lambda v: ByCuda(v, stream=0), ValueError, "^out: its stream is 0"),
        (lambda v: ByCuda(v, stream=-1), ValueError, "^out: its stream must be a handle"),
        (lambda v: ByCuda(v, stream="a"), TypeError, "^out: its stream must be a whole number"),
        (lambda v: ByCuda(v, stream=2), ValueError, "^out: its stream is 2, the default stream"),
        (lambda v: ByCuda(v, data=None), ValueError, "^out: cannot be had by the CUDA array int"),
        (lambda v: ByCuda(v, data=(2**64, False)), ValueError, "^out: cannot .*its address is"),
        (lambda v: ByCuda(v, data=(0, False)), ValueError, "^out: is null"),
        (lambda v: ByCuda(v, typestr="zz"), ValueError, "^out: cannot be had by the CUDA array"),
        (lambda v: ByCuda(v, shape=(-2,)), ValueError, "^out: cannot be had by the CUDA array"),
        (lambda v: ByCuda(v, shape=None), ValueError, "^out: cannot be had by the CUDA array"),
        (lambda v: ByCuda(v, strides=()), ValueError, r"^out: cannot .*: its strides are \(\) and"),
        (lambda v: ByCuda(v, strides=None), ValueError, "^out: must have x fastest"),
        (read_only, ValueError, "^out: is read-only"),
        (lambda v: ByDlpack(v, (2, 0), read_only=True), ValueError, "^out: is read-only"),
        (lambda v: ByDlpack(v, (2, 3)), ValueError, "^out: is said to be in the memory of device"),
        (lambda v: ByDlpack(v, (10, 0)), TypeError, "^out: is in the memory of a GPU, for which"),
        (lambda v: ByDlpack(np.empty_like(v), (2, 0)), ValueError, "^out: is not in the memory"),
        (lambda v: ByCuda(np.empty_like(v)), ValueError, "^out: is in no device's memory"),
    ],
)
def test_memory_of_a_gpu_that_values_cannot_go_to_is_refused(plan, on_gpu, make, error, text):
    values = on_gpu(plan.empty())
    with pytest.raises(error, match=text):
        plan.compute(out=make(values))


def test_gaps_in_the_memory_of_a_gpu_are_refused(plan, on_gpu):
    values = on_gpu(np.empty((14, 6, 5), complex, order="F"))
    with pytest.raises(ValueError, match="^out: must have no gaps in the memory of a GPU"):
        plan.compute(out=ByCuda(values[::2]))


def test_points_and_weights_come_from_the_memory_of_a_gpu(line, on_gpu):
    points = np.array([[0.1e-3, 0.2e-3, 5e-3], [1e-3, -2e-3, 7e-3], [0, 0, 9e-3], [0, 1e-3, 4e-3]])
    weights = np.exp(1j * np.arange(8))
    p = pf.pressure(line, points, 1e6, weights=weights)
    for there in protocols(on_gpu(points)):
        np.testing.assert_array_equal(pf.pressure(line, there, 1e6, weights=weights), p)
    for there in protocols(on_gpu(weights)):
        np.testing.assert_array_equal(pf.pressure(line, points, 1e6, weights=there), p)
    # Views: backwards, transposed, in single precision.
    backwards = ByCuda(on_gpu(points)[::-1])
    np.testing.assert_array_equal(pf.pressure(line, backwards, 1e6, weights=weights), p[::-1])
    transposed = ByCuda(on_gpu(np.asfortranarray(points)))
    np.testing.assert_array_equal(pf.pressure(line, transposed, 1e6, weights=weights), p)
    single = points.astype(np.float32)
    np.testing.assert_array_equal(
        pf.pressure(line, ByDlpack(on_gpu(single), (2, 0)), 1e6), pf.pressure(line, single, 1e6)
    )
    with pytest.raises(ValueError, match="^points: the list of points is empty"):
        pf.pressure(line, ByCuda(np.empty((0, 3))), 1e6)
    with pytest.raises(ValueError, match="^points: must be an \\(N, 3\\) array"):
        pf.pressure(line, ByCuda(on_gpu(points)[:, :2]), 1e6)


@pytest.mark.parametrize("precision", ["double", "single"])
@pytest.mark.usefixtures("with_gpus")
def test_a_gpu_computes(piston, line, grid, precision):
    for source in (piston, line):
        p = pf.pressure(source, grid, 1e6, tolerance=1e-10)
        found = pf.pressure(source, grid, 1e6, device="gpu", precision=precision)
        assert abs(found - p).max() <= 1e-4 * abs(p).max()
        assert (found != p).any()


@pytest.mark.usefixtures("with_gpus")
def test_what_a_gpu_does_not_compute_is_refused(piston, grid):
    for source, options in (
        (pf.Disc(radius=1e-3), {}),
        (piston, {"medium": pf.Medium(speed=1500, density=1000, attenuation=0.5)}),
        (piston, {"baffle": "soft"}),
    ):
        with pytest.raises(ValueError, match=" not computed in the mode cuda"):
            pf.pressure(source, grid, 1e6, device="gpu", **options)


def test_a_gpu_that_is_not_there_is_told(piston, grid, plan, on_gpu, monkeypatch):
    failure = "no CUDA-capable device is detected"

    def fails(*given):
        given[-1].text = f"values: cudaGetDeviceCount: {failure}".encode()
        return _library.DEVICE_FAILURE

    monkeypatch.setattr(_library.functions, "plan_compute_double_on", fails)
    with pytest.raises(RuntimeError, match=f"^out: cudaGetDeviceCount: {failure}"):
        plan.compute(out=ByCuda(on_gpu(plan.empty())))

    def none(*given):
        given[-1].text = f"cudaSetDevice: {failure}".encode()
        return _library.DEVICE_FAILURE

    monkeypatch.setattr(_library.functions, "plan_create_watched", none)
    with pytest.raises(RuntimeError, match=f"^device: cudaSetDevice: {failure}"):
        pf.pressure(piston, grid, 1e6, device="gpu")


@pytest.mark.skipif(_library.HAS_GPUS, reason="the build for NVIDIA GPUs takes them")
def test_the_build_without_gpus_names_the_other(plan, line, grid):
    values = plan.empty()
    for given in (ByCuda(values), ByDlpack(values, (2, 0))):
        with pytest.raises(TypeError, match=f"^out: is in the memory of a GPU, {VARIANT}"):
            plan.compute(out=given)
        with pytest.raises(TypeError, match=f"^weights: is in the memory of a GPU, {VARIANT}"):
            pf.pressure(line, grid, 1e6, weights=given)
        with pytest.raises(TypeError, match=f"^points: is in the memory of a GPU, {VARIANT}"):
            pf.pressure(line, given, 1e6)
    with pytest.raises(TypeError, match=f"^device: computes on a GPU, {VARIANT}"):
        pf.pressure(line, grid, 1e6, device="gpu")
    with pytest.raises(ValueError, match="^device: 'tpu' is none of cpu, gpu"):
        pf.pressure(line, grid, 1e6, device="tpu")


@pytest.mark.skipif(not _library.HAS_GPUS or has_gpu(), reason="there is a GPU, or no support")
def test_the_build_for_gpus_tells_that_there_is_none(piston, grid, plan):
    values = plan.empty()
    for given in (ByCuda(values), ByDlpack(values, (2, 0))):
        with pytest.raises(RuntimeError, match="^out: cudaGetDeviceCount: "):
            plan.compute(out=given)
        with pytest.raises(RuntimeError, match="^points: cudaGetDeviceCount: "):
            pf.pressure(piston, given, 1e6)
    with pytest.raises(RuntimeError, match="^device: "):
        pf.pressure(piston, grid, 1e6, device="gpu")


@pytest.mark.parametrize("versioned", [True, False])
@pytest.mark.parametrize("kind", [1, 3, 11])
def test_arrays_of_other_libraries_on_the_processor_are_filled(plan, versioned, kind):
    out = ByDlpack(plan.empty(), (kind, 0), versioned)
    out.values[...] = np.nan
    assert plan.compute(out=out) is out
    np.testing.assert_array_equal(out.values, plan.compute())
    assert "stream" not in out.asked[-1]
    gaps = ByDlpack(np.empty((14, 6, 5), complex, order="F")[::2], versioned=versioned)
    plan.compute(out=gaps)
    np.testing.assert_array_equal(gaps.values, plan.compute())


def test_arrays_of_other_libraries_on_the_processor_are_read(line):
    points = np.array([[0.1e-3, 0.2e-3, 5e-3], [1e-3, -2e-3, 7e-3]])
    weights = np.exp(1j * np.arange(8))
    np.testing.assert_array_equal(
        pf.pressure(line, ByDlpack(points[::-1]), 1e6, weights=ByDlpack(weights)),
        pf.pressure(line, points[::-1], 1e6, weights=weights),
    )


class Copies(ByDlpack):
    """Gives copies, and knows no `copy`."""

    def __dlpack__(self, **options):
        if "copy" in options:
            raise TypeError("__dlpack__() got an unexpected keyword argument 'copy'")
        return self.values.copy(order="F").__dlpack__(**options)


class TellsOfCopies(ByDlpack):
    def __dlpack__(self, **_options):
        capsule = self.values.copy(order="F").__dlpack__(max_version=(1, 0))
        start = _dlpack._pointer_of(capsule, b"dltensor_versioned")
        _dlpack._Versioned.from_address(start).flags = _dlpack._IS_COPIED
        return capsule


def test_copies_are_read(line):
    points = np.array([[0.1e-3, 0.2e-3, 5e-3], [1e-3, -2e-3, 7e-3]])
    for copies in (Copies(points), TellsOfCopies(points)):
        np.testing.assert_array_equal(
            pf.pressure(line, copies, 1e6), pf.pressure(line, points, 1e6)
        )


class Fails:
    """An array, one of whose protocols fails."""

    def __init__(self, protocol):
        self.protocol = protocol

    def __getattr__(self, name):
        if name == self.protocol:
            raise RuntimeError("it needs a gradient")
        raise AttributeError(name)


@pytest.mark.parametrize(
    ("protocol", "called"),
    [
        ("__dlpack_device__", "DLPack"),
        ("__dlpack__", "DLPack"),
        ("__cuda_array_interface__", "the CUDA array interface"),
    ],
)
def test_protocols_that_fail_are_told_with_the_argument(plan, line, protocol, called):
    text = f": cannot be had by {called}: it needs a gradient$"
    with pytest.raises(ValueError, match="^out" + text):
        plan.compute(out=Fails(protocol))
    with pytest.raises(ValueError, match="^points" + text):
        pf.pressure(line, Fails(protocol), 1e6)


def test_an_array_that_numpy_cannot_have_is_told_with_the_argument(line):
    class NeedsGradient:
        def __array__(self, *_given, **_options):
            raise RuntimeError("it needs a gradient")

    with pytest.raises(ValueError, match="^points: cannot be had by __array__: it needs a grad"):
        pf.pressure(line, NeedsGradient(), 1e6)


class Malformed(ByDlpack):
    """An array whose description by DLPack has other members."""

    def __init__(self, values, **members):
        super().__init__(values)
        self.members = members

    def __dlpack__(self, **_options):
        capsule = self.values.__dlpack__(max_version=(1, 0))
        start = _dlpack._pointer_of(capsule, b"dltensor_versioned")
        for name, value in self.members.items():
            setattr(_dlpack._Versioned.from_address(start).tensor, name, value)
        return capsule


@pytest.mark.parametrize(
    ("members", "error", "text"),
    [
        ({"code": 0, "bits": 12}, TypeError, "^points: has elements .* code 0 of 12 bits"),
        ({"code": 0, "bits": 4}, TypeError, "^points: has elements .* code 0 of 4 bits"),
        ({"code": 2, "bits": 0}, TypeError, "^points: has elements .* code 2 of 0 bits"),
        ({"lanes": 2}, TypeError, "^points: has elements that NumPy does not have"),
        ({"data": None}, ValueError, "^points: cannot be had by DLPack: it has no address"),
    ],
)
def test_descriptions_that_make_no_sense_are_refused(line, members, error, text):
    with pytest.raises(error, match=text):
        pf.pressure(line, Malformed(np.zeros((2, 3)), **members), 1e6)


@pytest.mark.parametrize("device", [(), None, ("cpu", 0)])
def test_devices_that_make_no_sense_are_refused(line, device):
    with pytest.raises(ValueError, match="^points: cannot be had by DLPack: "):
        pf.pressure(line, ByDlpack(np.zeros((2, 3)), device), 1e6)


class Refuses(ByDlpack):
    def __dlpack__(self, **_options):
        raise BufferError("it needs a gradient")


class GivesNothing(ByDlpack):
    def __dlpack__(self, **_options):
        return 7


@pytest.mark.parametrize(
    ("make", "error", "text"),
    [
        (lambda v: ByDlpack(v, read_only=True), ValueError, "^out: is read-only"),
        (lambda v: ByDlpack(v.T.copy().T[:, ::-1]), ValueError, "^out: must have x fastest"),
        (lambda v: ByDlpack(v.real), TypeError, "^out: must be of complex128 or complex64"),
        (lambda v: Refuses(v), ValueError, "^out: cannot be had by DLPack: it needs a gradient"),
        (lambda v: Copies(v), ValueError, "^out: its __dlpack__ gives a copy"),
        (lambda v: TellsOfCopies(v), ValueError, "^out: its __dlpack__ gives a copy"),
        (lambda v: GivesNothing(v), TypeError, "^out: its __dlpack__ gives nothing of DLPack"),
        (lambda v: v.tolist(), TypeError, "^out: must be an array of NumPy, or one by DLPack"),
    ],
)
def test_arrays_of_other_libraries_that_do_not_do_are_refused(plan, make, error, text):
    with pytest.raises(error, match=text):
        plan.compute(out=make(plan.empty()))


def test_elements_that_numpy_does_not_have_are_refused(line):
    points = ByDlpack(np.zeros((2, 3)))
    given = points.__dlpack__

    class Brief(ByDlpack):
        def __dlpack__(self, **options):
            capsule = given(**options)
            start = _dlpack._pointer_of(capsule, b"dltensor_versioned")
            _dlpack._Versioned.from_address(start).tensor.code = 4
            return capsule

    with pytest.raises(TypeError, match="^points: has elements that NumPy does not .* code 4"):
        pf.pressure(line, Brief(points.values), 1e6)


def test_a_later_version_is_refused(line):
    given = ByDlpack(np.zeros((2, 3)))

    class Later(ByDlpack):
        def __dlpack__(self, **options):
            capsule = given.__dlpack__(**options)
            start = _dlpack._pointer_of(capsule, b"dltensor_versioned")
            _dlpack._Versioned.from_address(start).major = 2
            return capsule

    with pytest.raises(ValueError, match="^points: is of version 2 of DLPack, not 1"):
        pf.pressure(line, Later(given.values), 1e6)


class Weakly(np.ndarray):
    """An array that can be watched."""


@pytest.mark.parametrize("versioned", [True, False])
def test_an_array_is_given_back(plan, versioned):
    values = plan.empty().view(Weakly)
    gone = weakref.ref(values)
    out = ByDlpack(values, versioned=versioned)
    plan.compute(out=out)
    del values, out
    gc.collect()
    assert gone() is None
