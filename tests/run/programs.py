# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""What the tests of pistonfield-run share: running it, and reading its files."""

import os
import re
import signal
import subprocess
import tempfile
import unittest
from pathlib import Path

import h5py
import numpy

PROGRAM = os.environ["PISTONFIELD_RUN"]
MPIRUN = os.environ["PISTONFIELD_MPIRUN"]
MODES = os.environ["PISTONFIELD_MODES"].split()

# Open MPI's own protection; the tests only write where they are told to.
os.environ["OMPI_ALLOW_RUN_AS_ROOT"] = "1"
os.environ["OMPI_ALLOW_RUN_AS_ROOT_CONFIRM"] = "1"
# All processes are on this machine: looking for networks would take most of the time.
os.environ.setdefault("OMPI_MCA_pml", "ob1")
os.environ.setdefault("OMPI_MCA_btl", "self,vader")

# A plane's rotation and shear, and a last element to divide by. Every point lies before the piston.
# Of its 23 by 17 by 19 points some, near and far, are TILTED_POINTS.
TILTED = [2e-4, 5e-5, -3e-5, -6e-3, -4e-5, 2.4e-4, 6e-5, -5e-3, 3e-5, -2e-5, 4e-4, 3e-3, 0, 0, 0, 2]

TILTED_POINTS = [
    (0, 0, 0),
    (18, 16, 22),
    (9, 8, 11),
    (0, 16, 0),
    (17, 1, 20),
    (3, 9, 2),
    (12, 0, 7),
]


def options(transform=None, sizes=(23, 17, 19), l=5e-3, s=7.5e-3, k=4188.79, **others):
    """The options of a request."""
    request = {"--transform": transform or TILTED, "--sizes": sizes, "-l": l, "-s": s, "-k": k}
    request.update((f"--{name}", value) for name, value in others.items())
    words = []
    for name, value in request.items():
        words.append(name)
        words += [str(v) for v in (value if isinstance(value, (list, tuple)) else [value])]
    return words


def command(*arguments, ranks=1):
    """The command line of the program, under mpirun where there are more ranks than one."""
    # Processes that are bound to a core would wait for each other there.
    launcher = [MPIRUN, "--oversubscribe", "--bind-to", "none", "-n", str(ranks)]
    return (launcher if ranks > 1 else []) + [PROGRAM, *map(str, arguments)]


def datasets(file):
    """The datasets of an open file by the names that are their own."""
    own = [n for n in file if isinstance(file.get(n, getlink=True), h5py.HardLink)]
    return {name: file[name] for name in own if name != "parts"}


def arrays(path):
    """What is in the datasets of a file."""
    with h5py.File(path, "r") as file:
        return {name: dataset[...] for name, dataset in datasets(file).items()}


def attributes(path):
    """What a file says of its field."""
    with h5py.File(path, "r") as file:
        return dict(file.attrs)


def values_of(path):
    """What is in the datasets of a file, without what depends on the slabs."""
    values = arrays(path)
    values.pop("slabs", None)
    return values


def tilted_place(at):
    """Where a point of the tilted lattice lies, by its indices in the order of a file."""
    iz, iy, ix = at
    return (numpy.array(TILTED).reshape(4, 4) @ [ix, iy, iz, 1] / TILTED[-1])[:3]


def slab_boxes(file):
    """For each slab of an open file: the slices of its values, in the order of the entries."""
    x, y, z = (int(size) for size in file.attrs["slab_sizes"])
    nz, ny, nx = file["pressure"].shape
    return [
        (slice(iz, min(iz + z, nz)), slice(iy, min(iy + y, ny)), slice(ix, min(ix + x, nx)))
        for iz in range(0, nz, z)
        for iy in range(0, ny, y)
        for ix in range(0, nx, x)
    ]


def blocks_of(page):
    """The indented blocks of a page, without what indents them."""
    blocks = [[]]
    for line in page.read_text().splitlines():
        if line.startswith("    ") or not line:
            blocks[-1].append(line[4:])
        else:
            blocks.append([])
    return ["\n".join(block) for block in blocks]


class ProgramTest(unittest.TestCase):
    """A test with a folder of its own, in which the program runs."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="pistonfield-run.")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def start(self, *arguments, ranks=1, **others):
        return subprocess.Popen(
            command(*arguments, ranks=ranks),
            cwd=self.folder,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            **others,
        )

    def run_program(self, *arguments, status=0, ranks=1, **others):
        """Runs the program, which has to end with this status."""
        process = self.start(*arguments, ranks=ranks, **others)
        try:
            process.out, process.err = process.communicate(timeout=120)
        except subprocess.TimeoutExpired:
            process.send_signal(signal.SIGTERM)
            raise
        self.assertEqual(
            process.returncode, status, f"{process.args}\n{process.out}\n{process.err}"
        )
        return process

    def refused(self, *arguments, ranks=1, **others):
        """The one line with which the program refuses to do something."""
        process = self.run_program(*arguments, status=1, ranks=ranks, **others)
        lines = [line for line in process.err.splitlines() if not self.is_beside_the_point(line)]
        self.assertEqual(len(lines), 1, process.err)
        self.assertTrue(lines[0].startswith("pistonfield-run: "), process.err)
        return lines[0]

    @staticmethod
    def is_beside_the_point(line):
        """Whether a line tells progress, or is MPI's about a failure or a program that ends so."""
        return (
            line.strip("-") == ""
            or re.match("mca_fbtl_posix_pwritev: .*No space left on device", line)
            or re.match("pistonfield-run: (computing|verifying|compressing) [0-9]+ %", line)
            or line.startswith(("Primary job  terminated", "a non-zero exit code"))
            or line.startswith(("mpirun detected", "mpiexec detected"))
            or line.startswith(("  Process name:", "  Exit code:", "the job to be", "aborted"))
        )

    def at(self, name):
        return self.folder / name

    def files(self):
        return sorted(path.name for path in self.folder.iterdir())

    def assert_same_field(self, path, expected):
        """Values, magnitudes and entries, bit for bit."""
        found = arrays(path)
        self.assertEqual(found.keys(), expected.keys())
        for name, values in expected.items():
            self.assert_same_bits(found[name], values, f"{path}: {name}")

    def assert_same_bits(self, found, expected, what=""):
        self.assertEqual(found.dtype, expected.dtype, what)
        self.assertEqual(found.shape, expected.shape, what)
        for member in expected.dtype.names or [...]:
            pair = [numpy.ascontiguousarray(a[member]).view(numpy.uint8) for a in (found, expected)]
            self.assertTrue(numpy.array_equal(*pair), what)
