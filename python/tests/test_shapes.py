# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
import pickle

import matplotlib
import numpy as np
import pytest
from conftest import turn
from scipy.integrate import dblquad

import pistonfield as pf

K = 2 * np.pi * 1e6 / 1482


def polar_integral(inner, outer, angles, point):
    """The surface integral over a part of a ring, in polar coordinates."""
    x, y, z = point

    def wave(r, t):
        distance = np.sqrt((x - r * np.cos(t)) ** 2 + (y - r * np.sin(t)) ** 2 + z**2)
        return r * np.exp(-1j * K * distance) / distance

    def integral(part):
        bounds = (*np.radians(angles), inner, outer)
        return dblquad(lambda r, t: part(wave(r, t)), *bounds, epsabs=1e-12, epsrel=1e-9)[0]

    return 1j * 1e6 * 998 * (integral(np.real) + 1j * integral(np.imag))


POINT = (1e-3, -0.7e-3, 5e-3)


@pytest.mark.parametrize(
    ("shape", "part"),
    [
        (pf.Disc(radius=3e-3), (0, 3e-3, (0, 360))),
        (pf.Ring(inner=1e-3, outer=3e-3), (1e-3, 3e-3, (0, 360))),
        (pf.Sector(outer=3e-3, angles=(-20, 75)), (0, 3e-3, (-20, 75))),
        (pf.Sector(inner=1e-3, outer=3e-3, angles=(100, 290)), (1e-3, 3e-3, (100, 290))),
    ],
)
def test_round_pistons_have_the_surface_integral(shape, part):
    p = pf.pressure(shape, [POINT], 1e6, tolerance=1e-9)[0]
    wanted = polar_integral(*part, POINT)
    assert abs(p - wanted) <= 3e-9 * abs(wanted)


def test_a_polygon_with_a_hole_is_the_difference_of_rectangles():
    square = np.array([[-1, -1], [1, -1], [1, 1], [-1, 1]]) * 1e-3
    whole, hole = pf.Piston(width=6e-3, height=4e-3), pf.Piston(width=2e-3, height=2e-3)
    plate = pf.Polygon(corners=square * [3, 2], holes=[square])
    points = [POINT, (2e-3, 0, 1e-3), (0, 0, 20e-3)]
    difference = [pf.pressure(piston, points, 1e6, tolerance=1e-10) for piston in (whole, hole)]
    p = pf.pressure(plate, points, 1e6, tolerance=1e-9)
    assert abs(p - difference[0] + difference[1]).max() <= 2e-9 * abs(p).max()
    reversed_holes = pf.Polygon(corners=square[::-1] * [3, 2], holes=[square[::-1]])
    assert abs(pf.pressure(reversed_holes, points, 1e6, tolerance=1e-9) - p).max() <= (
        2e-9 * abs(p).max()
    )


def test_shapes_are_moved_and_turned():
    rotation = turn(30, 1) @ turn(10, 2)
    center = np.array([1e-3, 2e-3, 3e-3])
    still = pf.Sector(outer=3e-3, angles=(0, 90))
    moved = pf.Sector(outer=3e-3, angles=(0, 90), center=center, orientation=rotation)
    p = pf.pressure(still, [POINT], 1e6, tolerance=1e-9)
    there = [rotation @ POINT + center]
    assert abs(pf.pressure(moved, there, 1e6, tolerance=1e-9) - p).max() <= 2e-9 * abs(p).max()
    with pytest.raises(ValueError, match="^behind: point 0"):
        pf.pressure(moved, [center - 1e-3 * rotation[:, 2]], 1e6)


def test_shapes_are_values():
    disc = pf.Disc(radius=2e-3, center=[1e-3, 0, 0])
    assert repr(disc) == "Disc(radius=0.002, center=[0.001, 0.0, 0.0])"
    assert disc == pf.Disc(radius=2e-3, center=[1e-3, 0, 0]) != pf.Disc(radius=2e-3)
    corners = [[0, 0], [4e-3, 0], [0, 3e-3]]
    for shape in (
        disc,
        pf.Ring(inner=1e-3, outer=2e-3),
        pf.Sector(inner=1e-3, outer=2e-3, angles=(0, 50)),
        pf.Polygon(corners=corners, holes=[[[1e-3, 1e-3], [1.5e-3, 1e-3], [1e-3, 1.5e-3]]]),
    ):
        assert pickle.loads(pickle.dumps(shape)) == shape
        assert eval(repr(shape), vars(pf)) == shape
        assert hash(eval(repr(shape), vars(pf))) == hash(shape)
    assert pf.Ring(inner=0, outer=2e-3) == pf.Disc(radius=2e-3)


def test_arrays_take_any_shapes(grid):
    elements = [
        pf.Piston(width=1e-3, height=2e-3),
        pf.Disc(radius=1e-3, center=[3e-3, 0, 0]),
        pf.Disc(radius=1e-3, center=[-3e-3, 0, 0], orientation=turn(10, 1)),
        pf.Polygon(corners=[[0, 0], [2e-3, 0], [0, 2e-3]], center=[0, 3e-3, 0]),
    ]
    array = pf.Array(elements)
    weights = [1, 2j, -1, 0.5]
    p = pf.pressure(array, grid, 1e6, weights=weights, behind=True, tolerance=1e-9)
    wanted = sum(
        weight * pf.pressure(element, grid, 1e6, behind=True, tolerance=1e-10)
        for weight, element in zip(weights, elements, strict=True)
    )
    assert abs(p - wanted).max() <= 2e-9 * abs(wanted).max()
    assert [element == given for element, given in zip(array, elements, strict=True)][:2] == [
        True,
        True,
    ]
    assert repr(array[3]) == "<Shape of 3 edges, 2 by 2 mm>"
    assert isinstance(array[0], pf.Piston)
    assert pickle.loads(pickle.dumps(array)) == array
    assert array != pf.Array([*elements[:3], pf.Disc(radius=1e-3, center=[0, 3e-3, 0])])
    np.testing.assert_allclose(array.width, [1e-3, 2e-3, 2e-3, 2e-3])
    part = pf.pressure(array[1:3], grid, 1e6, weights=weights[1:3], behind=True, tolerance=1e-9)
    wanted = sum(
        weights[i] * pf.pressure(elements[i], grid, 1e6, behind=True, tolerance=1e-10)
        for i in (1, 2)
    )
    assert abs(part - wanted).max() <= 2e-9 * abs(wanted).max()


def test_an_annular_array_has_equal_areas_and_a_focus():
    array = pf.Array.annular(elements=4, radius=8e-3)
    assert len(array) == 4
    np.testing.assert_allclose(array.width, 16e-3 * np.sqrt(np.arange(1, 5) / 4), rtol=1e-12)
    whole = pf.pressure(pf.Disc(radius=8e-3), [POINT], 1e6, tolerance=1e-10)
    p = pf.pressure(array, [POINT], 1e6, tolerance=1e-9)
    assert abs(p - whole)[0] <= 2e-9 * abs(whole)[0]
    focus = [0, 0, 15e-3]
    weights = pf.focus(array, focus, 1e6)
    driven = pf.pressure(array, [focus], 1e6, weights=weights, tolerance=1e-9)
    own = pf.pressure(array, [focus], 1e6, weights=np.eye(4), tolerance=1e-9)
    assert driven[0] == pytest.approx(1j * abs(own).sum(), rel=1e-7)
    radii = pf.Array.annular(radii=[1e-3, 3e-3, 5e-3], kerf=0.2e-3, center=[0, 0, 1e-3])
    np.testing.assert_allclose(radii.width, [5.8e-3, 9.8e-3], rtol=0.05)
    assert radii.center[1].tolist() == [0, 0, 1e-3]


def test_losses_change_the_weights_of_several_foci():
    array = pf.Array.annular(elements=4, radius=8e-3)
    foci = [[0, 0, 15e-3], [0, 0, 30e-3]]
    tissue = pf.Medium(speed=1540, density=1050, attenuation=3)
    demanded = [1e5, 5e4j]
    weights = pf.focus(array, foci, 1e6, medium=tissue, pressures=demanded, velocity=0.1)
    p = pf.pressure(array, foci, 1e6, medium=tissue, weights=weights, velocity=0.1, tolerance=1e-9)
    np.testing.assert_allclose(p, demanded, atol=1e-6 * 1e5)


def test_a_honeycomb_fills_a_plane():
    array = pf.Array.honeycomb(rings=2, width=2e-3, pitch=2.1e-3)
    assert len(array) == 19
    distances = np.linalg.norm(array.center[:, None] - array.center[None], axis=-1)
    assert distances[distances > 0].min() == pytest.approx(2.1e-3, rel=1e-12)
    np.testing.assert_allclose(array.height, 2e-3 * 2 / np.sqrt(3), rtol=1e-12)
    kerf = pf.Array.honeycomb(rings=2, width=2e-3, kerf=0.1e-3)
    np.testing.assert_allclose(kerf.center, array.center, atol=1e-15)


@pytest.mark.parametrize(
    "outline",
    [
        "0 0 0.005 0 6.283185307179586",
        "0 0 0.005 0 3.141592653589793; 0 0 0.005 3.141592653589793 3.141592653589793",
    ],
)
def test_an_outline_of_a_table_is_kept(tmp_path, outline):
    path = tmp_path / "array.csv"
    path.write_text(f"x [m],y [m],outline [m],amplitude\n0,0,{outline},2\n")
    array = pf.Array.from_table(path, center=[1e-3, 0, 0], orientation=turn(20, 1))
    disc = pf.Disc(radius=5e-3, center=[1e-3, 0, 0], orientation=turn(20, 1))
    np.testing.assert_allclose([array.width, array.height], [[10e-3]] * 2, rtol=1e-12)
    points = [[10e-3, 1e-3, 30e-3], [0, 0, 20e-3]]
    wanted = 2 * pf.pressure(disc, points, 1e6, tolerance=1e-9)
    found = pf.pressure(array, points, 1e6, tolerance=1e-9)
    np.testing.assert_allclose(found, wanted, rtol=0, atol=1e-7 * abs(wanted).max())


def test_shapes_are_drawn():
    matplotlib.use("Agg")
    from matplotlib import pyplot

    square = np.array([[-1, -1], [1, -1], [1, 1], [-1, 1]]) * 1e-3
    for source in (
        pf.Polygon(corners=3 * square, holes=[square]),
        pf.Array([pf.Disc(radius=1e-3), pf.Piston(width=1e-3, height=1e-3, center=[3e-3, 0, 0])]),
    ):
        ax = pf.plot(source)
        ax.figure.canvas.draw()
        assert len(ax.collections) >= 2
    low, high = ax.get_xlim()
    assert low < -1
    assert high > 3.5
    pyplot.close("all")


@pytest.mark.parametrize(
    ("make", "given", "error", "text"),
    [
        (pf.Disc, {"radius": 0}, ValueError, "^radius: "),
        (pf.Disc, {"radius": "5 mm"}, TypeError, "^radius: must be a real number"),
        (pf.Disc, {"radius": 1e-3, "center": 1}, ValueError, "^center: must be three"),
        (pf.Ring, {"inner": 2e-3, "outer": 1e-3}, ValueError, "^inner: must be less"),
        (pf.Sector, {"outer": 1e-3, "angles": (0, 360)}, ValueError, "^angles: must rise"),
        (pf.Sector, {"outer": 1e-3, "angles": 90}, ValueError, "^angles: must be two"),
        (pf.Polygon, {"corners": [[0, 0], [1, 0]]}, ValueError, "^corners: a polygon has three"),
        (pf.Polygon, {"corners": [0, 1, 2]}, ValueError, r"^corners: must be an \(N, 2\)"),
        (
            pf.Polygon,
            {"corners": [[0, 0], [1, 0], [0, 1]], "holes": [[[2, 2], [3, 2], [2, 3]]]},
            ValueError,
            "^holes: must lie inside",
        ),
        (pf.Polygon, {"corners": np.eye(5000, 2)}, ValueError, "^corners: 5000 are not within"),
        (pf.Shape, {"outline": None}, TypeError, "^outline: must be one of an element"),
        (pf.Array.annular, {}, ValueError, "^elements: is missing; or give radii"),
        (pf.Array.annular, {"elements": 0, "radius": 1}, ValueError, "^elements: "),
        (pf.Array.honeycomb, {"rings": 1, "width": 1e-3}, ValueError, "^pitch: one of"),
        (
            pf.Array.honeycomb,
            {"rings": -1, "width": 1e-3, "kerf": 1e-4},
            ValueError,
            "^rings: -1 is not within",
        ),
        (pf.Array, {"elements": [pf.Disc]}, TypeError, "^elements: each must be a Piston or"),
    ],
)
def test_what_is_no_shape_is_refused(make, given, error, text):
    with pytest.raises(error, match=text):
        make(**given)


def test_shapes_tell_what_they_were_made_from():
    ring = pf.Ring(inner=2e-3, outer=5e-3)
    assert (ring.inner, ring.outer) == (2e-3, 5e-3)
    sector = pf.Sector(outer=5e-3, angles=(10, 90), inner=1e-3)
    assert (sector.inner, sector.outer, sector.angles.tolist()) == (1e-3, 5e-3, [10, 90])
    corners, hole = [[0, 0], [4e-3, 0], [0, 3e-3]], [[1e-3, 1e-3], [1.5e-3, 1e-3], [1e-3, 1.5e-3]]
    polygon = pf.Polygon(corners=corners, holes=[hole])
    assert polygon.corners.tolist() == corners
    assert [one.tolist() for one in polygon.holes] == [hole]
    with pytest.raises(ValueError, match="read-only"):
        sector.angles[0] = 20


def test_elements_that_are_discs_or_rings_tell_their_radii():
    rings = pf.Array.annular(radii=[0, 2e-3, 5e-3], center=[0, 0, 1e-3])
    disc, ring = rings
    assert (type(disc), disc.radius) == (pf.Disc, 2e-3)
    assert (type(ring), ring.inner, ring.outer) == (pf.Ring, 2e-3, 5e-3)
    assert disc == pf.Disc(radius=2e-3, center=[0, 0, 1e-3])
    assert pf.Array([disc, ring]) == rings
    lens = pf.Sector(outer=3e-3, angles=(0, 90))
    assert type(pf.Array([lens])[0]) is pf.Shape
    assert pf.Array([lens])[0] == lens
