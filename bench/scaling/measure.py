# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

"""What pistonfield-run costs beside the library, how it scales, and how fast it writes.

measure.py FOLDER_OF_PROGRAMS FOLDER_FOR_FIELDS overhead|processes|disk|memory
"""

import os
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import h5py

PROGRAMS, FIELDS = Path(sys.argv[1]), Path(sys.argv[2])
RUN = PROGRAMS / 'run' / 'pistonfield-run'
BARE = PROGRAMS / 'bench' / 'bare_field'
FIELD = FIELDS / 'field.h5'
REPEATS = 2

# A piston of 5 by 7.5 mm at 1 MHz in water; points every 0.05 mm, from 1 mm on. Lengths in m.
PISTON = ['5e-3', '7.5e-3', '4188.79']
TRANSFORM = '5e-5 0 0 -0.012 0 5e-5 0 -0.012 0 0 5e-5 1e-3 0 0 0 1'.split()


# Figures are of one core for each process, but for the one that writes.
os.environ['PISTONFIELD_THREADS'] = '1'


def seconds(command):
    begin = time.monotonic()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return time.monotonic() - begin


def field_command(sizes, mode, order, processes=None, options=()):
    """Under mpirun, each on a core of its own, where the number of processes is given."""
    l, s, k = PISTON
    command = [RUN, '--transform', *TRANSFORM, '--sizes', *map(str, sizes), '-l', l, '-s', s, '-k', k,
               '--mode', mode, '--order', str(order), *options, FIELD]
    if processes is not None:
        command = ['mpirun', '-n', str(processes), '--bind-to', 'core', *command]
    return command


def computed(*args, **named):
    """The seconds of a whole run, and what its file says of it."""
    for path in FIELDS.glob('field.h5*'):
        path.unlink()
    taken = seconds(field_command(*args, **named))
    with h5py.File(FIELD) as file:
        return taken, file.attrs['seconds'], file.attrs['peak_memory'], os.path.getsize(FIELD)


def bare(sizes, mode, order):
    command = [BARE, mode, str(order), *map(str, sizes), *PISTON, *TRANSFORM]
    return float(subprocess.run(command, check=True, capture_output=True, text=True).stdout)


def overhead():
    sizes = (512, 512, 400)
    print(f'The library alone and pistonfield-run, one process, {512 * 512 * 400} points, '
          f'the least of {REPEATS} in turn\n')
    print('mode   order   library, s   run, s   overhead   without magnitude')
    for mode, order in (('cpu', 10), ('cpu', 32), ('cpu', 100), ('cpusp', 32)):
        times = []
        for _ in range(REPEATS):
            times.append((bare(sizes, mode, order), computed(sizes, mode, order)[1],
                          computed(sizes, mode, order, options=['--no-magnitude'])[1]))
        alone, run, short = (min(column) for column in zip(*times))
        print(f'{mode:5} {order:6} {alone:12.2f} {run:8.2f} {run / alone - 1:10.1%} '
              f'{short / alone - 1:18.1%}', flush=True)


def bare_side_by_side(sizes, mode, order):
    """The seconds of the library in two processes at a time, each with a field of these sizes."""
    return max(ThreadPoolExecutor().map(lambda _: bare(sizes, mode, order), range(2)))


def processes():
    print('One process and two, each on a core: seconds, and the efficiency of the second one, the same '
          f'field for both (strong)\nand twice the field for two (weak); the least times of {REPEATS} in '
          'turn. "library" is the weak efficiency of the bare\nlibrary in two processes: what the '
          'machine allows. "whole" is strong, with the start of mpirun and of MPI.\n')
    half, full = (512, 512, 200), (512, 512, 400)
    print('mode   order  library   one, half   one    two   strong   weak   whole')
    for mode, order in (('cpu', 32), ('cpusp', 32), ('cpu', 100)):
        times = []
        for _ in range(REPEATS):
            one, two = (computed(full, mode, order, processes=n) for n in (1, 2))
            small = computed(half, mode, order, processes=1)
            times.append((bare(half, mode, order), bare_side_by_side(half, mode, order), small[1], one[1],
                          two[1], one[0], two[0]))
        alone, beside, small, one, two, whole_one, whole_two = (min(c) for c in zip(*times))
        print(f'{mode:5} {order:6} {alone / beside:8.2f} {small:11.2f} {one:6.2f} {two:6.2f} '
              f'{one / two / 2:8.2f} {small / two:6.2f} {whole_one / whole_two / 2:7.2f}', flush=True)


def disk():
    """Both write 4.2 GB, first into the system's memory for files, then to the disk."""
    print('Writing: a field of order 1, and dd in blocks of 4 MB of the same size; GB/s\n')
    print('what               without waiting for the disk   with')
    sizes = (512, 512, 800)
    rates = {'dd': [], 'pistonfield-run': [], 'pistonfield-run, 2': []}
    raw = FIELDS / 'raw'
    for _ in range(REPEATS):
        for name, rate in rates.items():
            subprocess.run(['sync'], check=True)
            if name == 'dd':
                size = 4_200_000_000
                taken = seconds(['dd', 'if=/dev/zero', f'of={raw}', 'bs=4M', f'count={size >> 22}'])
            else:
                processes = 2 if name.endswith('2') else None
                _, taken, _, size = computed(sizes, 'cpu', 1, processes=processes)
            flushed = seconds(['sync', '-d', raw if name == 'dd' else FIELD])
            raw.unlink(missing_ok=True)
            rate.append((size / taken / 1e9, size / (taken + flushed) / 1e9))
    for name, rate in rates.items():
        fast, slow = (max(column) for column in zip(*rate))
        print(f'{name:18} {fast:29.2f} {slow:6.2f}', flush=True)


def memory():
    print('Peak memory of the process that takes most, order 1, cpusp, without magnitude, MB\n')
    print('points        1 process   2 processes')
    for sizes in ((1000, 1000, 10), (1000, 1000, 100), (1000, 1000, 1000)):
        peaks = [computed(sizes, 'cpusp', 1, processes=n, options=['--no-magnitude'])[2]
                 for n in (None, 2)]
        print(f'{sizes[0] * sizes[1] * sizes[2]:<12} {peaks[0] / 1e6:10.1f} {peaks[1] / 1e6:13.1f}',
              flush=True)


{'overhead': overhead, 'processes': processes, 'disk': disk, 'memory': memory}[sys.argv[3]]()
