# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Radiated powers, and what beams are like."""

import gc
import signal
import subprocess
import sys
import time
import weakref

import numpy as np
import pytest
from conftest import turn
from scipy import special
from scipy.optimize import minimize_scalar

import pistonfield as pf

PISTON = pf.Piston(width=8e-3, height=5e-3)
SIDE = np.linspace(-8e-3, 8e-3, 9)
REGION = pf.Grid(x=SIDE, y=SIDE, z=np.linspace(8e-3, 40e-3, 17))


@pytest.fixture(scope="module")
def report() -> pf.Beam:
    return pf.beam(PISTON, REGION, 1e6, velocity=0.1, duty=0.02, hydrophone=1e-3)


def at(*place: float) -> float:
    return abs(pf.pressure(PISTON, [place], 1e6, velocity=0.1, tolerance=1e-10)[0])


def test_the_peak_is_the_largest_pressure(report):
    best = minimize_scalar(lambda z: -at(0, 0, z), bounds=(8e-3, 20e-3), method="bounded")
    assert report.peak.pressure == pytest.approx(-best.fun, rel=1e-7)
    np.testing.assert_allclose(report.peak.place, [0, 0, best.x], atol=2e-5)
    assert report.peak.on_edge is False
    assert report.peak.depth == pytest.approx(report.peak.place[2], abs=1e-12)
    assert report.focal_gain == pytest.approx(report.peak.pressure / (998 * 1482 * 0.1))


def test_at_the_ends_of_the_widths_the_pressure_has_fallen_to_the_levels(report):
    assert report.levels.tolist() == [-3, -6, -20]
    assert report.widths.shape == (3, 3)
    np.testing.assert_allclose(report.directions, np.eye(3), atol=1e-12)
    ends = [
        (direction, level, way)
        for direction in range(3)
        for level in range(3)
        for way in (-report.before[direction, level], report.behind[direction, level])
        if np.isfinite(way)
    ]
    assert len(ends) > 6
    for direction, level, way in ends:
        p = at(*(report.peak.place + way * report.directions[direction]))
        level_of = 20 * np.log10(p / report.peak.pressure)
        assert level_of == pytest.approx(report.levels[level], abs=1e-4)


def test_intensities_and_the_mechanical_index_are_those_of_pressures(report):
    sppa = report.peak.pressure**2 / (2 * 998 * 1482)
    assert report.intensity.sppa == pytest.approx(sppa, rel=1e-12)
    assert report["intensity"]["spta"] == pytest.approx(0.02 * sppa, rel=1e-12)
    depth = report.derated.place[2]
    derated = at(*report.derated.place) * 10 ** (-0.3 * 100 * depth / 20)
    assert report.derated.pressure == pytest.approx(derated, rel=1e-7)
    assert report.mechanical_index == pytest.approx(derated / 1e6, rel=1e-7)
    assert report.hydrophone.pressure < report.peak.pressure


def test_a_beam_is_a_mapping_with_a_table(report):
    assert set(report) >= {"peak", "widths", "lobes", "power"}
    assert len(report) == len(list(report))
    assert "Mechanical index" in str(report)
    assert repr(report).startswith("<Beam with a peak of ")
    assert report.lobes.grating.dtype == bool
    with pytest.raises(AttributeError, match="a beam has no colour; there are: frequency"):
        _ = report.colour
    with pytest.raises(AttributeError, match="there is no colour, but: pressure"):
        _ = report.peak.colour


def test_a_moved_and_turned_source_has_the_same_beam_there(report):
    rotation = turn(30, 1)
    center = np.array([3e-3, -2e-3, 1e-3])
    there = pf.Grid(
        origin=rotation @ REGION.origin + center,
        steps=rotation @ REGION.steps,
        sizes=REGION.shape,
    )
    moved = pf.Piston(width=8e-3, height=5e-3, center=center, orientation=rotation)
    b = pf.beam(moved, there, 1e6, velocity=0.1, total_power=False)
    np.testing.assert_allclose(b.widths, report.widths, atol=1e-6)
    np.testing.assert_allclose(b.directions, rotation.T, atol=1e-12)
    assert "power" not in b
    assert "hydrophone" not in b


def test_a_computed_field_has_the_same_beam_to_what_interpolation_leaves(report):
    fine = pf.Grid(
        x=np.linspace(-6e-3, 6e-3, 31),
        y=np.linspace(-6e-3, 6e-3, 31),
        z=np.linspace(8e-3, 30e-3, 45),
    )
    p = pf.pressure(PISTON, fine, 1e6, velocity=0.1)
    b = pf.beam(p, fine, 1e6)
    assert b.peak.pressure == pytest.approx(report.peak.pressure, rel=1e-3)
    np.testing.assert_allclose(b.widths[:2, 0], report.widths[:2, 0], rtol=1e-3)
    assert np.isnan(b.focal_gain)
    assert "power" not in b


def test_the_power_is_what_flows_through_a_half_sphere():
    source = pf.Array([PISTON, pf.Piston(width=2e-3, height=5e-3, center=[6e-3, 0, 0])])
    weights = [1, 0.5 - 1j]
    radius = 2.0
    nodes, shares = np.polynomial.legendre.leggauss(24)
    angle, share = np.pi / 4 * (1 + nodes), np.pi / 4 * shares
    turned = np.arange(48) * 2 * np.pi / 48
    sine, cosine = np.sin(angle)[:, None], np.cos(angle)[:, None]
    ways = np.stack([sine * np.cos(turned), sine * np.sin(turned), cosine + 0 * turned], axis=-1)
    p = pf.pressure(source, radius * ways.reshape(-1, 3), 0.4e6, weights=weights, tolerance=1e-7)
    # That far away v is p/(rho c), but for (k a / r)^2.
    flow = abs(p.reshape(24, 48)) ** 2 / (2 * 998 * 1482) * radius**2
    through = (flow.sum(axis=1) * np.sin(angle) * share).sum() * 2 * np.pi / 48
    assert pf.power(source, 0.4e6, weights=weights) == pytest.approx(through, rel=1e-5)


def test_fields_and_beams_are_driven_by_a_power(line):
    watts = pf.power(line, 1e6, velocity=0.2)
    assert pf.power(line, 1e6, velocity=0.4) == pytest.approx(4 * watts, rel=1e-12)
    points = [[0, 0, 20e-3]]
    p = pf.pressure(line, points, 1e6, power=watts)
    np.testing.assert_allclose(p, pf.pressure(line, points, 1e6, velocity=0.2), rtol=1e-9)
    v = pf.particle_velocity(line, points, 1e6, power=watts)
    np.testing.assert_allclose(v, pf.particle_velocity(line, points, 1e6, velocity=0.2), rtol=1e-9)
    b = pf.beam(line, pf.Grid(x=0, y=0, z=[10e-3, 30e-3]), 1e6, power=watts)
    assert b.velocity == pytest.approx(0.2, rel=1e-9)
    assert b.power == pytest.approx(watts, rel=1e-6)


PROGRAM = """
import pistonfield as pf
array = pf.Array.matrix(elements=(48, 48), pitch=1e-3, width=0.9e-3, height=0.9e-3)
grid = pf.Grid(x=[-0.03, 0.03], y=[-0.03, 0.03], z=[0.02, 0.1])
print("ready", flush=True)
try:
    pf.beam(array, grid, 1e6, weights=pf.focus(array, [0, 0, 0.05], 1e6))
except KeyboardInterrupt:
    print("interrupted", flush=True)
"""


def test_an_interrupt_ends_the_measurement_of_a_beam():
    child = subprocess.Popen([sys.executable, "-c", PROGRAM], stdout=subprocess.PIPE, text=True)
    try:
        assert child.stdout.readline() == "ready\n"
        time.sleep(0.5)
        start = time.perf_counter()
        child.send_signal(signal.SIGINT)
        assert child.stdout.readline() == "interrupted\n"
        assert time.perf_counter() - start < 1
    finally:
        child.kill()
        child.communicate()


@pytest.mark.parametrize(
    ("given", "error", "text"),
    [
        ({"duty": 2}, ValueError, "^duty: must be a number above 0, and 1 at most"),
        ({"derating": -1}, ValueError, "^derating: must be a number of at least 0"),
        ({"hydrophone": [1, 2, 3]}, ValueError, "^hydrophone: must be the diameter"),
        ({"hydrophone": 1}, ValueError, "^hydrophone: must be at most 100 wavelengths"),
        ({"axis": [0, 0]}, ValueError, "^axis: must be three"),
        ({"axis": [0, 0, 0]}, ValueError, "^axis: "),
        ({"weights": [1]}, TypeError, "^weights: go with an Array"),
        ({"velocity": 1, "power": 1}, ValueError, "^power: give the velocity or"),
        ({"grid": [[0, 0, 1]]}, TypeError, "^grid: "),
        ({"source": np.zeros((9, 9, 17))}, ValueError, "^p: "),
        ({"source": np.ones((9, 9))}, ValueError, "^p: must be of the shape of the grid"),
        ({"source": np.ones((9, 9, 17)), "power": 1}, TypeError, "^power: goes with what radiates"),
        ({"source": pf.Array([PISTON]), "weights": [[1], [1]]}, ValueError, "^weights: "),
        ({"progress": 1}, TypeError, "^progress: must be callable"),
    ],
)
def test_what_has_no_beam_is_refused(given, error, text):
    arguments = {"source": PISTON, "grid": REGION, "frequency": 1e6, **given}
    with pytest.raises(error, match=text):
        pf.beam(**arguments)


@pytest.mark.parametrize("radius", [1e-4, 1e-3, 10e-3])
def test_a_discs_power_has_its_closed_form(radius):
    # rho c u0^2 A/2 times 1 - J1(2ka)/(ka).
    wavenumber = 2 * np.pi * 1e6 / pf.WATER.speed
    resistance = 1 - special.j1(2 * wavenumber * radius) / (wavenumber * radius)
    wanted = pf.WATER.density * pf.WATER.speed * 0.1**2 / 2 * np.pi * radius**2 * resistance
    assert pf.power(pf.Disc(radius=radius), 1e6, velocity=0.1) == pytest.approx(wanted, rel=1e-6)


def test_a_beam_of_a_disc_with_losses_is_weaker_and_in_a_soft_baffle_another():
    disc = pf.Disc(radius=4e-3)
    lossy = pf.Medium(speed=1482, density=998, nepers=10)
    side = np.linspace(-4e-3, 4e-3, 9)
    region = pf.Grid(x=side, y=side, z=np.linspace(5e-3, 40e-3, 24))
    plain = pf.beam(disc, region, 1e6, medium=pf.Medium(speed=1482, density=998))
    weaker = pf.beam(disc, region, 1e6, medium=lossy)
    soft = pf.beam(disc, region, 1e6, medium=lossy, baffle="soft")
    k = complex(2 * np.pi * 1e6 / 1482, -10)
    z = weaker.peak.place[2]
    on_axis = abs(np.exp(-1j * k * z) - np.exp(-1j * k * np.hypot(z, 4e-3)))
    wanted = 998 * 1482 * k.real / abs(k) * on_axis
    assert weaker.peak.pressure == pytest.approx(wanted, rel=1e-3)
    assert weaker.peak.pressure < 0.95 * plain.peak.pressure
    assert abs(soft.peak.pressure / weaker.peak.pressure - 1) > 1e-3
    assert "power" in weaker
    assert "power" not in soft


def test_weights_of_a_focus_depend_on_the_baffle(line):
    point = [3e-3, 0, 8e-3]
    rigid = pf.focus(line, point, 1e6)
    free = pf.focus(line, point, 1e6, baffle="free")
    assert abs(rigid - free).max() > 1e-4
    # In phase there: the magnitudes add up.
    alone = np.diag(free)
    together = pf.pressure(line, [point], 1e6, weights=free, baffle="free")
    each = pf.pressure(line, [point], 1e6, weights=alone, baffle="free")
    assert abs(together).sum() == pytest.approx(abs(each).sum(), rel=1e-6)


def test_what_radiates_no_known_power_is_refused(line):
    with pytest.raises(ValueError, match="^weights: a power is that of one weighting"):
        pf.power(line, 1e6, weights=np.ones((2, 8)))
    lossy = pf.Medium(speed=1500, density=1000, nepers=1)
    with pytest.raises(ValueError, match="^medium: with losses the power is known in a rigid"):
        pf.power(line, 1e6, medium=lossy, baffle="soft")
    with pytest.raises(ValueError, match="^baffle: 'hard' is none of rigid, soft, free"):
        pf.power(line, 1e6, baffle="hard")
    with pytest.raises(TypeError, match="^source: must be a Piston"):
        pf.power(3, 1e6)


def test_a_search_that_is_left_alone_keeps_its_pressures(monkeypatch):
    from pistonfield import _beam

    works, given = [], []
    address = _beam._library.address

    class LeftAlone:
        def __init__(self, work):
            works.append(work)

        def run(self):
            raise KeyboardInterrupt

    def noted(values):
        given.append(weakref.ref(values))
        return address(values)

    monkeypatch.setattr(_beam, "Job", LeftAlone)
    monkeypatch.setattr(_beam._library, "address", noted)
    with pytest.raises(KeyboardInterrupt):
        pf.beam(np.ones(REGION.shape, complex), REGION, 1e6)
    gc.collect()
    assert works
    assert given[0]() is not None


@pytest.mark.parametrize(("points", "is_noted"), [(6, False), (5.9, True), (1.5, True)])
def test_pressures_on_coarse_grids_are_noted(points, is_noted, caplog):
    step = pf.WATER.speed / 1e6 / points
    grid = pf.Grid(x=np.arange(-12, 13) * step, y=0, z=10e-3)
    p = pf.pressure(PISTON, grid, 1e6)
    with caplog.at_level("WARNING", logger="pistonfield"):
        pf.beam(p, grid, 1e6)
    assert ("points in a wavelength" in caplog.text) == is_noted
