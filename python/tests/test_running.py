# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Interruption, threads and processes."""

import multiprocessing
import os
import signal
import subprocess
import sys
import textwrap
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from itertools import pairwise

import numpy as np
import pytest

import pistonfield as pf


class EnoughError(Exception):
    pass


def test_progress_is_told_and_may_end_the_computation(lengthy):
    told = []

    def progress(done, total):
        told.append((done, total))
        raise EnoughError

    start = time.perf_counter()
    with pytest.raises(EnoughError):
        lengthy.compute(progress=progress)
    assert time.perf_counter() - start < 5
    assert len(told) == 1
    assert 0 < told[0][0] < told[0][1] == 700**3


def test_progress_rises_to_the_end(lengthy):
    told = []
    p = lengthy.compute(np.s_[:, :3, :3], progress=lambda done, total: told.append((done, total)))
    assert p.shape == (700, 3, 3)
    assert told[-1] == (6300, 6300)
    assert all(a[0] <= b[0] for a, b in pairwise(told))


PROGRAM = """
import sys, time
import numpy as np
import pistonfield as pf
{make}
print("ready", flush=True)
try:
    {compute}
except KeyboardInterrupt:
    print("interrupted", flush=True)
    sys.exit(3)
"""

TURNED = """
line = np.linspace(-0.1, 0.1, 700)
c, s = np.cos(0.3), np.sin(0.3)
steps = np.array([[c, 0, s], [0, 1, 0], [-s, 0, c]]) * (line[1] - line[0])
grid = pf.Grid(origin=[-0.1, -0.1, 0.2], steps=steps, sizes=[400, 400, 400])
plan = pf.Plan(pf.Piston(width=50e-3, height=50e-3), grid, 2e6, tolerance=1e-9)
"""

MATRIX = """
array = pf.Array.matrix(elements=(64, 64), pitch=1e-3, width=0.9e-3, height=0.9e-3)
line = np.linspace(-40e-3, 40e-3, 321)
grid = pf.Grid(x=line, y=line, z=line + 60e-3)
plan = pf.Plan(array, grid, 1e6, tolerance=1e-9)
"""

FOCI = """
array = pf.Array.matrix(elements=(60, 60), pitch=1e-3, width=0.9e-3, height=0.9e-3)
foci = np.random.default_rng(1).uniform(0, 0.1, (250, 3)) + [0, 0, 0.05]
"""


# No point lies behind an element, which only a look at each tells.
VEE = """
array = pf.Array.convex(elements=4000, radius=1, pitch=0.25e-3, width=0.2e-3, height=5e-3)
t = np.linspace(-2, 2, 1_000_000)
points = np.stack([t, 0 * t, 0.15 + abs(t)], axis=1)
"""


@pytest.mark.parametrize(
    ("make", "compute"),
    [
        (TURNED, "plan.compute()"),
        (TURNED, "plan.compute(progress=lambda done, total: None)"),
        (MATRIX, "plan.compute()"),
        (FOCI, "pf.focus(array, foci, 1e6, tolerance=1e-11)"),
        (VEE, "pf.Plan(array, points, 1e6)"),
    ],
)
def test_an_interrupt_ends_a_computation_within_a_second(make, compute):
    program = PROGRAM.format(make=make, compute=compute)
    child = subprocess.Popen(
        [sys.executable, "-c", program],
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
        # However many cores there are, the work is not done before the interrupt.
        env={**os.environ, "PISTONFIELD_THREADS": "2"},
    )
    try:
        assert child.stdout.readline() == "ready\n", child.stderr.read()
        time.sleep(0.5)
        start = time.perf_counter()
        child.send_signal(signal.SIGINT)
        assert child.stdout.readline() == "interrupted\n", child.stderr.read()
        assert time.perf_counter() - start < 1
        # At its end a process waits for the library.
        assert child.wait(timeout=120) == 3
        assert time.perf_counter() - start < 3
        assert child.stderr.read() == ""
    finally:
        child.kill()
        child.communicate()


def test_the_interpreter_runs_on_while_the_library_computes(lengthy):
    ticks = 0
    with ThreadPoolExecutor(1) as pool:
        work = pool.submit(lengthy.compute, np.s_[:8, :200])
        while not work.done():
            ticks += 1
            time.sleep(0.001)
        assert work.result().shape == (8, 200, 700)
    assert ticks > 5


def test_threads_compute_at_the_same_time_with_one_plan(piston, grid, line):
    for source in (piston, line):
        plan = pf.Plan(source, grid, 1e6)
        p = plan.compute()
        with ThreadPoolExecutor(8) as pool:
            for other in pool.map(lambda _, plan=plan: plan.compute(), range(64)):
                np.testing.assert_array_equal(other, p)
        with ThreadPoolExecutor(8) as pool:
            fresh = pool.map(lambda _, source=source: pf.pressure(source, grid, 1e6), range(32))
            for other in fresh:
                np.testing.assert_array_equal(other, p)


def child_computes(plan, queue):
    queue.put(plan.compute(np.s_[:2, :2, :2]))


@pytest.mark.filterwarnings("ignore:.*fork.*:DeprecationWarning")
def test_a_child_may_fork_while_the_parent_computes(lengthy):
    context = multiprocessing.get_context("fork")
    done = threading.Event()

    def compute():
        while not done.is_set():
            lengthy.compute(np.s_[:3, :50])

    thread = threading.Thread(target=compute)
    thread.start()
    try:
        wanted = lengthy.compute(np.s_[:2, :2, :2])
        for _ in range(5):
            queue = context.Queue()
            child = context.Process(target=child_computes, args=(lengthy, queue))
            child.start()
            np.testing.assert_array_equal(queue.get(timeout=30), wanted)
            child.join(timeout=30)
            assert child.exitcode == 0
    finally:
        done.set()
        thread.join()


def test_a_process_may_end_while_a_thread_computes():
    program = PROGRAM.format(
        make="import threading" + TURNED,
        compute="threading.Thread(target=plan.compute, daemon=True).start(); time.sleep(0.3)",
    )
    ended = subprocess.run(
        [sys.executable, "-c", program], capture_output=True, text=True, timeout=60, check=False
    )
    assert (ended.returncode, ended.stderr) == (0, "")


def test_the_package_is_imported_from_where_it_is_installed():
    folder = os.path.dirname(pf.__file__)
    assert "site-packages" in folder
    assert os.path.exists(os.path.join(folder, "py.typed"))
    assert os.path.exists(os.path.join(folder, "lib", "libpistonfield.so"))


def test_importing_takes_nothing_but_numpy():
    program = textwrap.dedent("""
        import sys
        import pistonfield
        found = {name for name in ("h5py", "matplotlib", "scipy", "xarray") if name in sys.modules}
        assert not found, found
    """)
    subprocess.run([sys.executable, "-c", program], check=True)
