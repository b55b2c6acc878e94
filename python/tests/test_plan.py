# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
import copy
import time

import numpy as np
import pytest
from hypothesis import given
from hypothesis import strategies as st

import pistonfield as pf


@pytest.fixture
def plan(piston, grid) -> pf.Plan:
    return pf.Plan(piston, grid, 1e6)


def test_a_plan_tells_what_it_is(plan, grid):
    assert plan.engine in ("points", "runs")
    assert plan.cost().evaluations > plan.cost(np.s_[0]).evaluations > 0
    accuracy = plan.accuracy()
    assert accuracy.error <= accuracy.bound <= 1e-4
    assert accuracy.points > 0
    assert repr(plan) == f"<Plan of 7 by 6 by 5 points, {plan.engine}>"
    convex = pf.Array.convex(elements=8, radius=0.1, pitch=1e-3, width=0.8e-3, height=5e-3)
    assert pf.Plan(convex, grid, 1e6).engine == "sum"
    matrix = pf.Array.matrix(elements=(16, 16), pitch=1e-3, width=0.9e-3, height=0.9e-3)
    volume = pf.Grid(x=np.arange(40) * 1e-3, y=np.arange(40) * 1e-3, z=np.arange(1, 9) * 1e-3)
    assert pf.Plan(matrix, volume, 1e6).engine in ("sum", "convolution")


@given(st.data())
def test_a_part_is_what_an_index_of_all_gives(data):
    sizes = (7, 6, 5)
    grid = pf.Grid(x=np.arange(7) * 1e-3, y=np.arange(6) * 1e-3, z=np.arange(1, 6) * 1e-3)
    plan = pf.Plan(pf.Piston(width=3e-3, height=2e-3), grid, 1e6)
    key = tuple(
        data.draw(
            st.integers(-size, size - 1) | st.slices(size).filter(lambda key: key.step in (None, 1))
        )
        for size in sizes[: data.draw(st.integers(1, 3))]
    )
    wanted = plan.compute()[key]
    if wanted.size == 0:
        with pytest.raises(ValueError, match="^box: has no points"):
            plan.compute(key)
    else:
        np.testing.assert_array_equal(plan.compute(key), wanted)


@pytest.mark.parametrize(
    ("box", "error", "text"),
    [
        (np.s_[::2], ValueError, "^box: steps must be 1"),
        (np.s_[0, 0, 0, 0], ValueError, "^box: has 4 parts"),
        (7, ValueError, "^box: 7 is not within -7 to 6"),
        (1.5, TypeError, "^box: must be a whole number"),
        ("all", TypeError, "^box: must be a whole number"),
    ],
)
def test_what_is_no_part_is_refused(plan, box, error, text):
    with pytest.raises(error, match=text):
        plan.compute(box)


@pytest.mark.parametrize("dtype", [np.complex128, np.complex64])
def test_values_go_where_they_are_to_go(plan, dtype):
    p = plan.compute()
    for out in (
        plan.empty(dtype),
        np.empty(plan.shape, dtype, order="F"),
        # Every second value of an array, and a part of a larger one's first direction.
        np.empty((14, 6, 5), dtype, order="F")[::2],
        np.empty((5, 6, 7, 3), dtype).transpose()[1],
    ):
        before = out.ctypes.data
        assert plan.compute(out=out) is out
        assert out.ctypes.data == before
        rounding = 0 if dtype is np.complex128 else 2e-7
        np.testing.assert_allclose(out, p, rtol=rounding, atol=rounding * abs(p).max())


def test_weightings_go_where_they_are_to_go(line, grid):
    weights = np.array([[1] * 8, [1j] * 8])
    plan = pf.Plan(line, grid, 1e6, weights=weights)
    p = plan.compute()
    between = np.full((4, 5, 6, 7), -1 + 0j)
    plan.compute(out=between[::2].transpose(0, 3, 2, 1))
    np.testing.assert_array_equal(between[::2].transpose(0, 3, 2, 1), p)
    assert (between[1::2] == -1).all()
    innermost = np.empty((5, 6, 7, 2), complex)
    plan.compute(out=innermost.transpose(3, 2, 1, 0))
    np.testing.assert_array_equal(innermost.transpose(3, 2, 1, 0), p)
    with pytest.raises(ValueError, match=r"^out: must be of the shape \(2, 7, 6, 5\)"):
        plan.compute(out=np.empty((7, 6, 5), complex, order="F"))
    with pytest.raises(ValueError, match="^out: the weightings must follow each other"):
        plan.compute(out=between[::-2].transpose(0, 3, 2, 1))


def read_only(plan):
    out = plan.empty()
    out.flags.writeable = False
    return out


def misaligned(plan):
    room = np.empty(16 * 210 + 1, np.uint8)[1:]
    return room.view(np.complex128).reshape(plan.shape, order="F")


@pytest.mark.parametrize(
    ("make", "error", "text"),
    [
        (lambda plan: np.empty(plan.shape, complex), ValueError, "^out: must have x fastest"),
        (lambda plan: plan.empty()[::-1], ValueError, "^out: must have x fastest"),
        (lambda plan: np.empty(plan.shape, float), TypeError, "^out: must be of complex128"),
        (lambda plan: np.empty(plan.shape, ">c16"), TypeError, "^out: must be of complex128"),
        (lambda plan: np.empty(plan.shape, np.clongdouble), TypeError, "^out: must be of"),
        (lambda plan: plan.empty()[1:], ValueError, r"^out: must be of the shape \(7, 6, 5\)"),
        (lambda plan: plan.empty().tolist(), TypeError, "^out: must be an array of NumPy"),
        (read_only, ValueError, "^out: is read-only"),
        (misaligned, ValueError, "^out: is not aligned"),
    ],
)
def test_where_values_cannot_go_is_refused(plan, make, error, text):
    with pytest.raises(error, match=text):
        plan.compute(out=make(plan))


def test_a_plan_keeps_what_it_was_made_of(line, grid):
    points = np.ascontiguousarray(grid.positions().reshape(-1, 3))
    weights = np.arange(1, 9) + 0j
    plan = pf.Plan(line, points, 1e6, weights=weights)
    p = plan.compute()
    points[:] = 1
    weights[:] = 0
    np.testing.assert_array_equal(plan.compute(), p)


def test_a_plan_is_not_copied(plan):
    with pytest.raises(TypeError, match="a Plan cannot be copied"):
        copy.copy(plan)


def test_a_point_costs_little_beside_the_library(piston):
    plan = pf.Plan(piston, [[0, 0, 10e-3]], 1e6, threads=1)
    out = plan.empty()
    best = min(timed(plan, out) for _ in range(20))
    # The library itself takes a few microseconds, and this machine may be busy.
    assert best < 60e-6


def timed(plan, out, times=100):
    start = time.perf_counter()
    for _ in range(times):
        plan.compute(out=out)
    return (time.perf_counter() - start) / times


def test_an_ellipsis_stands_for_whole_directions(piston, grid):
    plan = pf.Plan(piston, grid, 1e6)
    whole = plan.compute()
    for box in (np.s_[..., 2], np.s_[...], np.s_[1, ...], np.s_[1, ..., 2], np.s_[1, 2, 3, ...]):
        np.testing.assert_array_equal(plan.compute(box), whole[box])
    with pytest.raises(ValueError, match="^box: has more than one ellipsis"):
        plan.compute(np.s_[..., 0, ...])
