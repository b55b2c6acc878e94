# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""The same fields as in Octave, bit for bit."""

import shutil
import subprocess

import numpy as np
import pytest

import pistonfield as pf

SCRIPT = """
addpath('{sources}/build/octave', '{sources}/inst');
piston = struct('width', 3e-3, 'height', 2e-3);
x = (-3:3) * 0.7e-3;  y = (-2:3) * 0.9e-3;  z = (1:5) * 1.1e-3;
grid = pistonfield_grid(x, y, z);
drive = {{'frequency', 0.8e6, 'speed', 1540, 'density', 1050, 'velocity', 0.03}};
[px, py, pz] = pistonfield_grid(grid, 'positions');
turned = piston;
turned.center = [1e-3, 2e-3, -3e-3];
turned.orientation = [0.8 0 0.6; 0 1 0; -0.6 0 0.8];
line = pistonfield_array('line', 'elements', 8, 'pitch', 1e-3, 'width', 0.8e-3, 'height', 5e-3);
matrix = pistonfield_array('matrix', 'elements', [12 12], 'kerf', 0.1e-3, 'width', 0.9e-3, ...
                           'height', 0.9e-3);
bowl = pistonfield_array('bowl', 'radius', 50e-3, 'aperture', 40e-3, 'elements', 64, ...
                         'width', 1e-3, 'height', 2e-3);
convex = pistonfield_array('convex', 'elements', 7, 'radius', 40e-3, 'angle', 2, ...
                           'width', 1e-3, 'height', 2e-3);
foci = [3 1 20; -4 0 25] * 1e-3;
one = pistonfield_focus(line, [3 1 20] * 1e-3, drive{{1:6}}, 'apodization', {{'tukey', 0.5}});
two = pistonfield_focus(matrix, foci, drive{{:}}, 'pressures', [1e5, -2e5i], 'iterations', 5);
away = pistonfield_focus(bowl, [], drive{{1:6}}, 'steer', [20 10], 'quantized', 50e-9);
w = [one, (1:8).' * (1 - 2i)];
tissue = {{drive{{:}}, 'attenuation', 2, 'exponent', 1.5}};
dispersive = {{tissue{{:}}, 'dispersion', true}};
disc = pistonfield_piston('disc', 'radius', 2e-3);
plate = pistonfield_piston('polygon', 'corners', [-2 -1; 2 -1; 0 2] * 1e-3, ...
                           'holes', {{[0 0; 1 0; 0 1] * 0.5e-3}});
annular = pistonfield_array('annular', 'elements', 4, 'radius', 4e-3, 'kerf', 0.1e-3);
comb = pistonfield_array('honeycomb', 'rings', 1, 'width', 2e-3, 'pitch', 2.1e-3);
axial = pistonfield_focus(annular, [0 0 20] * 1e-3, drive{{1:6}});
[vx, vy, vz] = pistonfield_velocity(disc, grid, drive{{:}});
[ix, iy, iz] = pistonfield_intensity(piston, grid, drive{{:}}, 'baffle', 'free');
[wx, wy, wz] = pistonfield_velocity(line, grid, tissue{{:}}, 'weights', w);
region = pistonfield_grid((-4:4) * 1e-3, (-4:4) * 1e-3, (4:2:30) * 1e-3);
r = pistonfield_beam(piston, region, drive{{:}}, 'duty', 0.1, 'hydrophone', 1e-3);
[~, by_power] = pistonfield_pressure(line, [0 0 1], drive{{1:6}}, 'weights', one, 'power', 2);
results = {{
  pistonfield_pressure(piston, grid, drive{{:}})
  pistonfield_pressure(piston, grid, drive{{:}}, 'precision', 'single', 'relative', 'local')
  pistonfield_pressure(piston, [px(:), py(:), pz(:)], drive{{:}}, 'tolerance', 1e-9)
  pistonfield_pressure(turned, [px(:), py(:), pz(:)], drive{{:}}, 'behind', true)
  pistonfield_pressure(line, grid, drive{{:}}, 'weights', w)
  pistonfield_pressure(matrix, grid, drive{{:}}, 'weights', two)
  pistonfield_pressure(bowl, grid, drive{{:}}, 'weights', away, 'behind', true)
  one
  two
  away
  complex(convex.center, 0)
  complex(convex.orientation, 0)
  pistonfield_pressure(disc, grid, drive{{:}})
  pistonfield_pressure(plate, grid, drive{{:}}, 'baffle', 'soft')
  pistonfield_pressure(piston, grid, tissue{{:}})
  pistonfield_pressure(piston, grid, dispersive{{:}})
  pistonfield_pressure(annular, grid, drive{{:}}, 'weights', axial)
  pistonfield_pressure(comb, grid, drive{{:}})
  cat(4, vx, vy, vz)
  cat(4, ix, iy, iz)
  permute(cat(5, wx, wy, wz), [1 2 3 5 4])
  axial
  complex(by_power.velocity, 0)
  complex([r.peak.pressure, r.mechanical_index, r.widths(1, 2), r.derated.spta, r.power, ...
           r.hydrophone.pressure], 0)
}};
file = fopen('{output}', 'w');
for i = 1:numel(results)
  values = results{{i}}(:);
  fwrite(file, [numel(values); zeros(1, 1)], 'double');
  fwrite(file, [real(values), imag(values)].', 'double');
end
fclose(file);
"""


@pytest.fixture(scope="module")
def octave(sources, tmp_path_factory):
    if shutil.which("octave-cli") is None:
        pytest.skip("octave-cli is not here")
    if not (sources / "build" / "octave" / "pistonfield_internal.mex").exists():
        pytest.skip("the modules for Octave are not built in build/octave")
    output = tmp_path_factory.mktemp("octave") / "fields.bin"
    script = SCRIPT.format(sources=sources, output=output)
    subprocess.run(
        ["octave-cli", "--no-history", "--no-init-file", "--no-window-system", "--eval", script],
        check=True,
        timeout=120,
    )
    numbers = np.fromfile(output)
    results = []
    while numbers.size:
        count = int(numbers[0])
        results.append(numbers[2 : 2 + 2 * count].view(complex))
        numbers = numbers[2 + 2 * count :]
    return results


def newer_quantities(piston, grid, line, weights):
    fluid = {"speed": 1540, "density": 1050}
    tissue = {**fluid, "attenuation": 2, "exponent": 1.5}
    medium = pf.Medium(**fluid)
    disc = pf.Disc(radius=2e-3)
    hole = np.array([[0, 0], [1, 0], [0, 1]]) * 0.5e-3
    plate = pf.Polygon(corners=np.array([[-2, -1], [2, -1], [0, 2]]) * 1e-3, holes=[hole])
    annular = pf.Array.annular(elements=4, radius=4e-3, kerf=0.1e-3)
    axial = pf.focus(annular, [0, 0, 20e-3], 0.8e6, medium=medium)
    drive = {"frequency": 0.8e6, "medium": medium, "velocity": 0.03}
    lossy = {**drive, "medium": pf.Medium(**tissue)}
    dispersive = {**drive, "medium": pf.Medium(**tissue, dispersion_frequency=1e6)}
    side = np.arange(-4, 5) * 1e-3
    region = pf.Grid(x=side, y=side, z=np.arange(4, 31, 2) * 1e-3)
    b = pf.beam(piston, region, duty=0.1, hydrophone=1e-3, **drive)
    by_power = np.sqrt(2 / pf.power(line, 0.8e6, medium=medium, weights=weights[0]))
    return [
        pf.pressure(disc, grid, **drive),
        pf.pressure(plate, grid, baffle="soft", **drive),
        pf.pressure(piston, grid, **lossy),
        pf.pressure(piston, grid, **dispersive),
        pf.pressure(annular, grid, weights=axial, **drive),
        pf.pressure(pf.Array.honeycomb(rings=1, width=2e-3, pitch=2.1e-3), grid, **drive),
        pf.particle_velocity(disc, grid, **drive),
        pf.intensity(piston, grid, baffle="free", **drive),
        np.moveaxis(pf.particle_velocity(line, grid, weights=weights, **lossy), 0, -1),
        axial,
        np.array([by_power + 0j]),
        np.array(
            [
                *(b.peak.pressure, b.mechanical_index, b.widths[0, 1], b.derated.spta),
                *(b.power, b.hydrophone.pressure),
            ]
        )
        + 0j,
    ]


def test_fields_and_weights_are_those_of_octave(octave, piston, grid, line):
    medium = pf.Medium(speed=1540, density=1050)
    drive = {"medium": medium, "velocity": 0.03}
    points = grid.positions().reshape(-1, 3, order="F")
    points = np.stack([grid.positions()[..., i].ravel(order="F") for i in range(3)], axis=1)
    turned = pf.Piston(
        width=3e-3,
        height=2e-3,
        center=[1e-3, 2e-3, -3e-3],
        orientation=[[0.8, 0, 0.6], [0, 1, 0], [-0.6, 0, 0.8]],
    )
    matrix = pf.Array.matrix(elements=(12, 12), kerf=0.1e-3, width=0.9e-3, height=0.9e-3)
    bowl = pf.Array.bowl(radius=50e-3, aperture=40e-3, elements=64, width=1e-3, height=2e-3)
    convex = pf.Array.convex(elements=7, radius=40e-3, angle=2, width=1e-3, height=2e-3)
    foci = np.array([[3, 1, 20], [-4, 0, 25]]) * 1e-3
    one = pf.focus(line, foci[0], 0.8e6, medium=medium, apodization=("tukey", 0.5))
    two = pf.focus(matrix, foci, 0.8e6, pressures=[1e5, -2e5j], iterations=5, **drive)
    away = pf.focus(bowl, None, 0.8e6, medium=medium, steer=(20, 10), quantized=50e-9)
    w = np.stack([one, np.arange(1, 9) * (1 - 2j)])

    def at(source, place, **options):
        return pf.pressure(source, place, 0.8e6, **drive, **options)

    found = [
        at(piston, grid),
        at(piston, grid, precision="single", relative="local"),
        at(piston, points, tolerance=1e-9),
        at(turned, points, behind=True),
        np.moveaxis(at(line, grid, weights=w), 0, -1),
        at(matrix, grid, weights=octave[8]),
        at(bowl, grid, weights=away, behind=True),
        one,
        two,
        away,
        convex.center.T + 0j,
        np.moveaxis(convex.orientation, 0, -1) + 0j,
        *newer_quantities(piston, grid, line, w),
    ]
    assert len(found) == len(octave)
    for i, (values, wanted) in enumerate(zip(found, octave, strict=True)):
        if i == 8:  # the demanded pressures are divided by a complex unit there
            np.testing.assert_allclose(values, wanted, rtol=1e-11)
        elif i == len(found) - 1:  # the search begins at samples that are rounded otherwise
            np.testing.assert_allclose(values, wanted, rtol=1e-7)
        elif values.size == 1:  # a root is taken of a quotient here, there of another one
            np.testing.assert_allclose(values, wanted, rtol=1e-14)
        else:
            np.testing.assert_array_equal(values.ravel(order="F"), wanted, err_msg=f"result {i}")
