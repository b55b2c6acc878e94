# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Losses, baffles, particle velocities and intensities."""

import numpy as np
import pytest
from conftest import surface_integral, turn
from hypothesis import given, settings
from hypothesis import strategies as st

import pistonfield as pf

TISSUE = pf.Medium(speed=1540, density=1050, attenuation=2, exponent=1.5)
FREQUENCY = 0.8e6
K = 2 * np.pi * FREQUENCY / 1540
LOSS = 2 * 100 * np.log(10) / 20 * 0.8**1.5
POINT = [1e-3, 0.7e-3, 4e-3]


def slopes(field, step=1e-6):
    """The gradient of a pressure at the point, by differences of the fourth order."""
    ways = [np.eye(3)[axis] * step for axis in range(3)]
    at = np.array([[POINT + n * way for n in (-2, -1, 1, 2)] for way in ways])
    p = field(at.reshape(-1, 3)).reshape(3, 4)
    return p @ [1, -8, 8, -1] / (12 * step)


def test_losses_follow_from_the_frequency():
    assert TISSUE.loss(FREQUENCY) == pytest.approx(LOSS, rel=1e-14)
    assert TISSUE.wavenumber(FREQUENCY) == K
    assert pf.WATER.loss(1e6) == 0
    dispersive = pf.Medium(
        speed=1540, density=1050, attenuation=2, exponent=1.5, dispersion_frequency=1e6
    )
    assert dispersive.phase_speed(1e6) == pytest.approx(1540, rel=1e-14)
    # 1/c = 1/c0 + a0 tan(pi y/2) (w^(y-1) - w0^(y-1)), with a0 w^y the losses.
    a0 = LOSS / (2 * np.pi * FREQUENCY) ** 1.5
    roots = (2 * np.pi * FREQUENCY) ** 0.5 - (2 * np.pi * 1e6) ** 0.5
    wanted = 1 / (1 / 1540 + a0 * np.tan(0.75 * np.pi) * roots)
    assert dispersive.phase_speed(FREQUENCY) == pytest.approx(wanted, rel=1e-12)
    assert abs(wanted - 1540) > 0.1


def test_in_a_medium_with_losses_the_pressure_is_the_surface_integral(piston):
    p = pf.pressure(piston, [POINT], FREQUENCY, medium=TISSUE, velocity=0.2, tolerance=1e-9)
    integral = surface_integral(piston, POINT, K - 1j * LOSS)
    wanted = 1j * FREQUENCY * 1050 * 0.2 * integral
    assert abs(p[0] - wanted) <= 2e-9 * abs(wanted)
    lossless = pf.pressure(piston, [POINT], FREQUENCY, medium=pf.Medium(speed=1540, density=1050))
    assert abs(p[0]) < 0.2 * 0.95 * abs(lossless[0])


def test_the_soft_baffle_has_the_slope_of_the_surface_integral(piston):
    step = 2e-5
    at = np.array(POINT) + [[0, 0, n * step] for n in (-2, -1, 1, 2)]
    slope = np.array([surface_integral(piston, place, K) for place in at]) @ [1, -8, 8, -1]
    medium = pf.Medium(speed=1540, density=1050)
    p = pf.pressure(piston, [POINT], FREQUENCY, medium=medium, baffle="soft", tolerance=1e-9)
    # -P0/(2 pi) times the derivative by z, with P0 = rho c u0.
    wanted = -1050 * 1540 / (2 * np.pi) * slope / (12 * step)
    # The difference neglected is (k step)^4 / 30.
    assert abs(p[0] - wanted) <= 2e-6 * abs(wanted)
    rigid, soft, free = (
        pf.pressure(piston, [POINT], FREQUENCY, medium=medium, baffle=baffle, tolerance=1e-10)
        for baffle in ("rigid", "soft", "free")
    )
    assert abs(free - (rigid + soft) / 2).max() <= 1e-9 * abs(rigid).max()
    assert abs(soft - rigid).max() > 0.05 * abs(rigid).max()


@pytest.mark.parametrize("baffle", ["rigid", "soft", "free"])
@pytest.mark.parametrize("medium", [pf.WATER, TISSUE])
def test_the_particle_velocity_is_the_gradient_of_the_pressure(baffle, medium):
    piston = pf.Piston(
        width=3e-3, height=2e-3, center=[1e-3, 0, -1e-3], orientation=turn(10, 0) @ turn(20, 1)
    )
    options = {"medium": medium, "baffle": baffle, "velocity": 0.3, "tolerance": 1e-10}
    gradient = slopes(lambda at: pf.pressure(piston, at, FREQUENCY, **options))
    wanted = -gradient / (2j * np.pi * FREQUENCY * medium.density)
    v = pf.particle_velocity(piston, [POINT], FREQUENCY, **options)
    assert v.shape == (1, 3)
    assert np.linalg.norm(v[0] - wanted) <= 1e-6 * np.linalg.norm(wanted)
    i = pf.intensity(piston, [POINT], FREQUENCY, **options)
    p = pf.pressure(piston, [POINT], FREQUENCY, **options)
    product = p[:, None] * v.conj() / 2
    assert np.linalg.norm(i - product) <= 1e-8 * np.linalg.norm(product)


def test_components_come_last_and_weightings_first(line, grid):
    weights = np.stack([np.ones(8), np.arange(8) * 1j])
    v = pf.particle_velocity(line, grid, 1e6, weights=weights, tolerance=1e-8)
    assert v.shape == (2, 7, 6, 5, 3)
    p = pf.pressure(line, grid, 1e6, weights=weights, tolerance=1e-8)
    i = pf.intensity(line, grid, 1e6, weights=weights, tolerance=1e-8)
    wanted = p[..., None] * v.conj() / 2
    assert abs(i - wanted).max() <= 1e-6 * abs(wanted).max()
    one = pf.particle_velocity(line, grid, 1e6, weights=weights[1], tolerance=1e-8)
    assert one.shape == (7, 6, 5, 3)
    assert abs(one - v[1]).max() <= 3e-8 * abs(v[1]).max()


def test_parts_of_a_plan_and_its_room_have_components(line, grid):
    weights = np.stack([np.ones(8), np.arange(8) * 1j])
    plan = pf.Plan(line, grid, 1e6, weights=weights, quantity="velocity")
    assert plan.engine in ("contours", "convolution")
    v = plan.compute()
    assert plan.shape == v.shape
    np.testing.assert_array_equal(plan.compute(np.s_[2:4, 3]), v[:, 2:4, 3])
    out = plan.empty()
    # In memory x is fastest, then y, z, the components and the weightings.
    assert out.transpose(0, 4, 3, 2, 1).flags.c_contiguous
    assert plan.compute(out=out) is out
    np.testing.assert_array_equal(out, v)
    spread = np.full((2, 6, 5, 6, 7), -1 + 0j)
    plan.compute(out=spread[:, ::2].transpose(0, 4, 3, 2, 1))
    np.testing.assert_array_equal(spread[:, ::2].transpose(0, 4, 3, 2, 1), v)
    assert (spread[:, 1::2] == -1).all()
    with pytest.raises(ValueError, match="^out: must have x fastest"):
        plan.compute(out=np.empty(plan.shape, complex))
    with pytest.raises(ValueError, match="^out: the weightings must follow each other"):
        plan.compute(out=np.empty((4, 3, 5, 6, 7), complex)[::2].transpose(0, 4, 3, 2, 1))


def test_at_an_edge_of_the_piston_components_are_infinite_and_not_lost(piston):
    v = pf.particle_velocity(piston, [[1.5e-3, 0, 0], [0, 0, 0]], 1e6, velocity=0.5)
    assert np.isinf(abs(v[0])).all()
    np.testing.assert_allclose(v[1], [0, 0, 0.5], atol=1e-4)


@settings(max_examples=15)
@given(
    st.floats(-90, 90),
    st.tuples(*[st.floats(-1e-2, 1e-2)] * 3),
    st.tuples(st.floats(-5e-3, 5e-3), st.floats(-5e-3, 5e-3), st.floats(5e-4, 2e-2)),
)
def test_vectors_turn_with_the_source(angle, shift, point):
    rotation = turn(angle, 1) @ turn(angle / 3, 2)
    there = [rotation @ point + shift]
    for still, moved in (
        (
            pf.Piston(width=3e-3, height=2e-3),
            pf.Piston(width=3e-3, height=2e-3, center=shift, orientation=rotation),
        ),
        (
            pf.Sector(outer=3e-3, angles=(10, 100)),
            pf.Sector(outer=3e-3, angles=(10, 100), center=shift, orientation=rotation),
        ),
    ):
        v = pf.particle_velocity(still, [point], 1e6, tolerance=1e-8)[0]
        w = pf.particle_velocity(moved, there, 1e6, tolerance=1e-8)[0]
        assert np.linalg.norm(w - rotation @ v) <= 1e-6 * np.linalg.norm(v)


@pytest.mark.parametrize(
    ("given", "error", "text"),
    [
        ({"baffle": "hard"}, ValueError, "^baffle: 'hard' is none of rigid, soft, free"),
        ({"baffle": None}, TypeError, "^baffle: must be one of rigid"),
        (
            {"medium": TISSUE, "power": 1, "baffle": "soft"},
            ValueError,
            "^medium: with losses the power is known in a rigid baffle alone",
        ),
        ({"power": 1, "velocity": 1}, ValueError, "^power: give the velocity or the power"),
        ({"power": 0}, ValueError, "^power: must be a power in W above 0"),
        ({"quality": 1}, TypeError, "^quality: .* has no such argument"),
    ],
)
def test_what_cannot_be_is_refused(piston, given, error, text):
    with pytest.raises(error, match=text):
        pf.pressure(piston, [POINT], 1e6, **given)


@pytest.mark.parametrize(
    ("given", "text"),
    [
        ({"attenuation": -1}, "^attenuation: must be 0 or above"),
        ({"attenuation": 1, "exponent": 3}, "^exponent: must be from 0 to below 3"),
        ({"attenuation": 1, "nepers": 1}, "^nepers: give the attenuation or nepers"),
        ({"dispersion_frequency": -1e6}, "^dispersion_frequency: must be a frequency in Hz above"),
    ],
)
def test_what_is_no_medium_is_refused(given, text):
    with pytest.raises(ValueError, match=text):
        pf.Medium(speed=1540, density=1050, **given)


def test_a_medium_is_shown_as_it_is_made():
    assert repr(TISSUE) == "Medium(speed=1540.0, density=1050.0, attenuation=2.0, exponent=1.5)"
    assert eval(repr(TISSUE), {"Medium": pf.Medium}) == TISSUE
    lossy = pf.Medium(speed=1540, density=1050, nepers=3)
    with pytest.raises(ValueError, match=r"^dispersion_frequency: .*no phase speed"):
        pf.Medium(speed=1540, density=1050, nepers=9e3, dispersion_frequency=1e3).wavenumber(1e5)
    assert lossy.loss(1) == lossy.loss(1e7) == 3


@pytest.mark.parametrize("of", [pf.pressure, pf.particle_velocity])
def test_single_of_contours_is_rounded_double(of):
    disc = pf.Disc(radius=5e-3)
    arguments = disc, [[0, 0, 10e-3], [3e-3, 1e-3, 5e-3]], 1e6
    exact = of(*arguments, tolerance=1e-12)
    rounded = of(*arguments, tolerance=2.5e-7, precision="single")
    error = abs(rounded - exact).max() / abs(exact).max()
    assert 0 < error <= 2.5e-7
    with pytest.raises(ValueError, match="^tolerance: .*2.4e-07 that single precision keeps"):
        of(*arguments, tolerance=2.3e-7, precision="single")
