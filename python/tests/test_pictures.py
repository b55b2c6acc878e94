# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
import matplotlib
import numpy as np
import pytest

import pistonfield as pf

matplotlib.use("Agg")
pytest.importorskip("xarray")

from matplotlib import pyplot


@pytest.fixture(autouse=True)
def no_figures_left():
    yield
    pyplot.close("all")


@pytest.fixture
def p(piston, grid):
    return pf.pressure(piston, grid, 1e6)


def test_a_plane_is_drawn_to_scale_in_millimetres(p, grid):
    ax = pf.plot(p, grid, at={"y": 0.9e-3})
    assert (ax.get_xlabel(), ax.get_ylabel()) == ("z (mm)", "x (mm)")
    assert ax.get_aspect() == 1
    mesh = ax.collections[0]
    unit = 1e6 if abs(p).max() >= 1e6 else 1e3
    np.testing.assert_allclose(mesh.get_array(), abs(p[:, 3, :]) / unit)
    assert mesh.colorbar.ax.get_ylabel() in ("|p| (MPa)", "|p| (kPa)")
    ax.figure.canvas.draw()
    np.testing.assert_allclose(sorted(ax.get_xlim()), [0.55, 6.05])


def test_quantities_are_named_with_their_units(p, grid):
    plane = {"at": {"y": 0}}
    level = pf.plot(p, grid, quantity="level", limits=(-30, 0), **plane).collections[0]
    assert level.colorbar.ax.get_ylabel() == "level (dB)"
    assert level.get_clim() == (-30, 0)
    phase = pf.plot(p, grid, quantity="phase", **plane).collections[0]
    np.testing.assert_allclose(phase.get_array(), np.angle(p[:, 2, :], deg=True))
    real = pf.plot(p.real + 0j, grid, quantity="real", **plane).collections[0]
    assert "real part" in real.colorbar.ax.get_ylabel()


def test_other_fields_have_their_own_symbol_and_unit(piston, grid):
    v = pf.particle_velocity(piston, grid, 1e6)
    plane = {"at": {"y": 0}}
    mesh = pf.plot(v[..., 2], grid, unit="m/s", label="v_z", **plane).collections[0]
    assert mesh.colorbar.ax.get_ylabel() == "|v_z| (m/s)"
    np.testing.assert_array_equal(mesh.get_array(), abs(v[:, 2, :, 2]))
    i = 1e6 * abs(v[..., 2])
    mesh = pf.plot(i, grid, unit="W/m²", quantity="real", **plane).collections[0]
    assert mesh.colorbar.ax.get_ylabel() == "real part of I (W/m²)"
    np.testing.assert_array_equal(mesh.get_array(), i[:, 2, :])


def test_a_plane_may_lie_half_a_step_outside(p, grid):
    beyond = pf.plot(p, grid, at={"y": 0, "x": -2.45e-3}).lines[0].get_ydata()
    np.testing.assert_array_equal(
        beyond, pf.plot(p, grid, at={"y": 0, "x": -2.1e-3}).lines[0].get_ydata()
    )


def test_a_profile_is_drawn(p, grid):
    ax = pf.plot(p, grid, at={"y": 0, "x": 0})
    assert ax.get_xlabel() == "z (mm)"
    assert len(ax.lines[0].get_xdata()) == 5


def test_arrays_are_drawn_to_scale(line):
    ax = pf.plot(line)
    assert ax.get_xlabel() == "x (mm)"
    ax.figure.canvas.draw()
    pf.plot(line[0])
    same = pf.plot(line, ax=ax)
    assert same is ax


@pytest.mark.parametrize(
    ("given", "error", "text"),
    [
        ({"grid": None}, TypeError, "^grid: is missing"),
        ({"at": {}}, ValueError, "^at: the field has 3 directions"),
        ({"at": {"x": 0, "y": 0, "z": 0}}, ValueError, "^at: the field has 0 directions"),
        ({"at": {"w": 0}}, ValueError, "^at: 'w' is none of x, y, z"),
        ({"quantity": "power"}, ValueError, "^quantity: "),
        ({"what": np.ones((2, 2))}, ValueError, "^what: must be of the shape of the grid"),
        ({"what": np.ones((7, 6, 5, 3))}, ValueError, r"^what: has components .* what\[..., 2\]"),
        (
            {"at": {"y": 0, "z": 10}},
            ValueError,
            "^at: z = 10 m is outside the grid, 0.0011 to 0.0055 m$",
        ),
        ({"at": {"x": -2.5e-3}}, ValueError, "^at: x = -0.0025 m is outside the grid"),
    ],
)
def test_what_cannot_be_drawn_is_refused(p, grid, given, error, text):
    with pytest.raises(error, match=text):
        pf.plot(**{"what": p, "grid": grid, **given})


def test_xarray_has_coordinates_and_units(p, grid, line):
    field = pf.to_xarray(p, grid)
    assert field.dims == ("x", "y", "z")
    assert field.attrs["units"] == "Pa"
    assert field.x.attrs["units"] == "m"
    assert complex(field.sel(x=0, y=0, z=2.2e-3, method="nearest")) == p[3, 2, 1]
    several = pf.pressure(line, grid, 1e6, weights=np.ones((2, 8)))
    assert pf.to_xarray(several, grid).dims == ("weighting", "x", "y", "z")
    points = grid.positions()[0, 0]
    listed = pf.to_xarray(p[0, 0], points)
    assert listed.dims == ("point",)
    np.testing.assert_array_equal(listed.z, points[:, 2])
    turned = pf.Grid(origin=[0, 0, 0], steps=np.full((3, 3), 1e-3), sizes=[7, 6, 5])
    assert pf.to_xarray(p, turned).x.dims == ("i", "j", "k")
    with pytest.raises(ValueError, match="^p: must be of the shape"):
        pf.to_xarray(p[0], grid)


def test_xarray_names_components(piston, line, grid):
    v = pf.particle_velocity(piston, grid, 1e6)
    field = pf.to_xarray(v, grid, units="m/s")
    assert (field.name, field.attrs["units"]) == ("particle_velocity", "m/s")
    assert field.dims == ("x", "y", "z", "component")
    np.testing.assert_array_equal(field.sel(component="z"), v[..., 2])
    several = pf.intensity(line, grid, 1e6, weights=np.ones((2, 8)))
    flow = pf.to_xarray(several, grid, units="W/m²", name="flow")
    assert (flow.name, flow.dims[0], flow.dims[-1]) == ("flow", "weighting", "component")
    one = pf.to_xarray(v[..., 0], grid, units="m/s")
    assert (one.dims, one.attrs["units"]) == (("x", "y", "z"), "m/s")
    with pytest.raises(ValueError, match="^units: p has components"):
        pf.to_xarray(v, grid)
