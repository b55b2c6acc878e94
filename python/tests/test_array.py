# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
import pickle

import numpy as np
import pytest
from conftest import turn

import pistonfield as pf

PARTS = {"width": 1e-3, "height": 2e-3}


def test_a_line_is_centred_along_x():
    array = pf.Array.line(elements=5, pitch=1.5e-3, **PARTS)
    wanted = np.zeros((5, 3))
    wanted[:, 0] = np.arange(-2, 3) * 1.5e-3
    np.testing.assert_allclose(array.center, wanted, atol=1e-15)
    np.testing.assert_array_equal(array.orientation, np.broadcast_to(np.eye(3), (5, 3, 3)))
    np.testing.assert_allclose(
        pf.Array.line(elements=5, kerf=0.5e-3, **PARTS).center, wanted, atol=1e-15
    )


def test_a_matrix_counts_along_x_first():
    array = pf.Array.matrix(elements=(3, 2), pitch=(1.5e-3, 4e-3), **PARTS)
    wanted = [[x, y, 0] for y in (-2e-3, 2e-3) for x in (-1.5e-3, 0, 1.5e-3)]
    np.testing.assert_allclose(array.center, wanted, atol=1e-15)
    both = pf.Array.matrix(elements=(3, 2), pitch=3e-3, **PARTS).center
    np.testing.assert_allclose(both[0], [-3e-3, -1.5e-3, 0], atol=1e-15)
    beside = pf.Array.matrix(elements=(3, 2), kerf=(0.5e-3, 1e-3), **PARTS).center
    np.testing.assert_allclose(beside[5], [1.5e-3, 1.5e-3, 0], atol=1e-15)


def test_a_convex_array_is_a_part_of_a_cylinder_with_angles_in_degrees():
    array = pf.Array.convex(elements=7, radius=40e-3, angle=2, **PARTS)
    angles = np.radians(np.arange(-3, 4) * 2)
    normal = np.stack([np.sin(angles), 0 * angles, np.cos(angles)], axis=1)
    np.testing.assert_allclose(array.center, 40e-3 * (normal - [0, 0, 1]), atol=1e-15)
    np.testing.assert_allclose(array.orientation[:, :, 2], normal, atol=1e-15)
    arc = pf.Array.convex(elements=7, radius=40e-3, pitch=40e-3 * np.radians(2), **PARTS)
    np.testing.assert_allclose(arc.center, array.center, atol=1e-15)


@pytest.mark.parametrize(
    ("given", "count"),
    [
        ({"aperture": 40e-3, "elements": 64}, 64),
        ({"opening_angle": 2 * np.degrees(np.arcsin(0.4)), "elements": 64}, 64),
        ({"aperture": 40e-3, "counts": [1, 6, 12]}, 19),
        ({"aperture": 40e-3, "pitch": 3e-3, "hole": 10e-3}, None),
    ],
)
def test_elements_of_a_bowl_point_at_its_focus(given, count):
    array = pf.Array.bowl(radius=50e-3, **given, **PARTS)
    assert count is None or len(array) == count
    away = [0, 0, 50e-3] - array.center
    np.testing.assert_allclose(np.linalg.norm(away, axis=1), 50e-3, rtol=1e-12)
    np.testing.assert_allclose(array.orientation[:, :, 2], away / 50e-3, atol=1e-12)
    across = np.hypot(array.center[:, 0], array.center[:, 1])
    assert across.max() < 20e-3
    assert across.min() > 5e-3 or "hole" not in given


def test_an_array_is_moved_and_turned_as_a_whole():
    rotation = turn(30, 1)
    line = pf.Array.line(elements=5, pitch=2e-3, **PARTS)
    moved = pf.Array.line(
        elements=5, pitch=2e-3, center=[1e-3, 2e-3, 3e-3], orientation=rotation, **PARTS
    )
    np.testing.assert_allclose(
        moved.center, line.center @ rotation.T + [1e-3, 2e-3, 3e-3], atol=1e-15
    )
    np.testing.assert_allclose(moved.orientation[3], rotation, atol=1e-15)


def test_an_array_is_a_sequence_of_pistons():
    pistons = [
        pf.Piston(width=1e-3, height=2e-3),
        pf.Piston(width=2e-3, height=1e-3, center=[5e-3, 0, 1e-3], orientation=turn(10, 1)),
    ]
    array = pf.Array(pistons)
    assert len(array) == 2
    assert array[0] == pistons[0]
    assert array[-1].center.tolist() == [5e-3, 0, 1e-3]
    np.testing.assert_allclose(array[1].orientation, pistons[1].orientation, atol=1e-15)
    assert [element.width for element in array] == [1e-3, 2e-3]
    assert len(array[1:]) == 1
    with pytest.raises(IndexError):
        _ = array[2]
    assert pickle.loads(pickle.dumps(array)) == array
    assert pickle.loads(pickle.dumps(pistons[1])) == pistons[1]
    assert array != pf.Array(pistons, weights=[1, 2])


def write(folder, text):
    path = folder / "a table with spaces, ü.csv"
    path.write_text(text)
    return path


def test_a_table_has_elements_and_weights(tmp_path):
    path = write(
        tmp_path,
        "x [mm], y [mm], width [mm], height [cm], normal x, normal y, normal z, re, im\n"
        "1, 2, 3, 0.4, 0, 0, 1, 5, -6\n-1, 0, 3, 0.5, 0.6, 0, 0.8, 1, 0\n",
    )
    for given in (path, str(path)):
        array = pf.Array.from_table(given)
        np.testing.assert_allclose(array.height, [4e-3, 5e-3], rtol=1e-15)
        np.testing.assert_allclose(array.orientation[1, :, 2], [0.6, 0, 0.8], atol=1e-12)
        np.testing.assert_array_equal(array.weights, [5 - 6j, 1])


def test_what_is_wrong_with_a_table_is_told(tmp_path):
    path = write(tmp_path, "x [mm],y [mm],width [mm],height [mm]\n1,2,3,4\n1,2,oops,4\n")
    with pytest.raises(ValueError, match=r"^table: .*line 3"):
        pf.Array.from_table(path)
    with pytest.raises(FileNotFoundError):
        pf.Array.from_table(tmp_path / "none.csv")
    with pytest.raises(IsADirectoryError):
        pf.Array.from_table(tmp_path)
    with pytest.raises(TypeError, match="^path: "):
        pf.Array.from_table(3)


@pytest.mark.parametrize(
    ("make", "given", "error", "text"),
    [
        ("line", {"elements": 0, "pitch": 2e-3}, ValueError, "^elements: 0 is not within 1 to"),
        ("line", {"elements": 2.0, "pitch": 2e-3}, TypeError, "^elements: must be a whole number"),
        ("line", {"elements": True, "pitch": 2e-3}, TypeError, "^elements: must be a whole"),
        ("line", {"elements": 10**30, "pitch": 2e-3}, ValueError, "^elements: .* is too large"),
        ("line", {"elements": 2}, ValueError, "^pitch: one of pitch, kerf says"),
        ("line", {"elements": 2, "pitch": 1e-4}, ValueError, "^pitch: "),
        ("line", {"elements": 2, "pitch": np.nan}, ValueError, "^pitch: must be finite"),
        ("line", {"elements": 2, "pitch": "1 mm"}, TypeError, "^pitch: must be a real number"),
        ("matrix", {"elements": 4, "pitch": 2e-3}, TypeError, "^elements: must be two"),
        ("matrix", {"elements": (4, 4, 4), "pitch": 2e-3}, ValueError, "^elements: must be two"),
        ("matrix", {"elements": (0, 4), "pitch": 2e-3}, ValueError, "^elements: 0 is not"),
        ("matrix", {"elements": (4, 4)}, ValueError, "^pitch: one of pitch, kerf says"),
        ("matrix", {"elements": (4, 4), "pitch": [1, 2, 3]}, ValueError, "^pitch: must be one"),
        ("convex", {"elements": 4, "radius": -1, "pitch": 2e-3}, ValueError, "^radius: "),
        ("bowl", {"radius": 0.1, "elements": 4}, ValueError, "^aperture: it or the opening angle"),
        ("bowl", {"radius": 0.1, "aperture": 0.1, "counts": []}, ValueError, "^counts: "),
        (
            "bowl",
            {"radius": 0.1, "opening_angle": 400, "elements": 4},
            ValueError,
            "^opening_angle: must be above 0 and at most pi",
        ),
        (
            "bowl",
            {"radius": 0.1, "aperture": 0.1, "elements": 4, "pitch": 3e-3},
            ValueError,
            "^elements: those of a spiral have no kerf",
        ),
    ],
)
def test_what_is_no_array_is_refused(make, given, error, text):
    with pytest.raises(error, match=text):
        getattr(pf.Array, make)(**given, **PARTS)


@pytest.mark.parametrize(
    ("given", "error", "text"),
    [
        ([], ValueError, "^elements: an array has one or more"),
        (3, TypeError, "^elements: must be several"),
        ([3], TypeError, "^elements: each must be a Piston"),
    ],
)
def test_what_are_no_elements_is_refused(given, error, text):
    with pytest.raises(error, match=text):
        pf.Array(given)


@pytest.mark.parametrize(
    ("given", "error", "text"),
    [
        ({"width": 0, "height": 1e-3}, ValueError, "^width: must be a length of at least 1e-07 m"),
        ({"width": 1e-3, "height": np.inf}, ValueError, "^height: must be finite"),
        ({"width": None, "height": 1e-3}, TypeError, "^width: must be a real number, not NoneType"),
        ({"width": 1j, "height": 1e-3}, TypeError, "^width: must be a real number"),
        ({"width": True, "height": 1e-3}, TypeError, "^width: must be a real number"),
        ({"width": [1e-3], "height": 1e-3}, TypeError, "^width: must be a real number"),
        ({"center": [1, 2]}, ValueError, "^center: must be three numbers"),
        ({"center": "abc"}, TypeError, "^center: must be three numbers"),
        ({"orientation": 2 * np.eye(3)}, ValueError, "^orientation: must be a rotation"),
        ({"orientation": np.diag([1, 1, -1])}, ValueError, "^orientation: must be a rotation"),
        ({"orientation": np.eye(2)}, ValueError, "^orientation: must be a 3 by 3"),
    ],
)
def test_what_is_no_piston_is_refused(given, error, text):
    with pytest.raises(error, match=text):
        pf.Piston(**{**PARTS, **given})
