#!/usr/bin/python3
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Draws the time per point against the order and against the number of points.

plot.py RESULTS FOLDER reads field_bench's JSON and writes FOLDER/performance.png.
"""
import json
import pathlib
import re
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt

MODES = {"cpu": "o", "cpusp": "s", "cuda": "^", "cudadp": "D"}


def least_times(results):
    """Seconds per point by the benchmark's name without its last part."""
    times = {}
    for run in results["benchmarks"]:
        least = run.get("aggregate_name") == "least" or run["run_type"] == "iteration"
        if least and "time/point" in run:
            times[run["run_name"].removesuffix("/real_time")] = run["time/point"]
    return times


def series(times, pattern):
    """For each mode the sorted pairs of the pattern's number and microseconds per point."""
    found = {mode: [] for mode in MODES}
    for name, seconds in times.items():
        match = re.fullmatch(pattern + r"/(\w+)", name)
        if match and match[2] in found:
            found[match[2]].append((int(match[1]), seconds * 1e6))
    return {mode: sorted(pairs) for mode, pairs in found.items()}


def draw(axes, data, title, label):
    for mode, pairs in data.items():
        if pairs:
            axes.loglog(*zip(*pairs), marker=MODES[mode], markersize=4, label=f"'{mode}'")
    axes.set_title(title, fontsize=10)
    axes.set_xlabel(label)
    axes.grid(True, which="major", alpha=0.4)
    axes.legend(fontsize=8)


def main():
    source, folder = sys.argv[1:]
    times = least_times(json.loads(pathlib.Path(source).read_text(encoding="utf-8")))
    figure, (left, right) = plt.subplots(1, 2, figsize=(10, 4), dpi=110, sharey=True)
    draw(left, series(times, r"by_order/order:(\d+)"), "10 000 points across the piston's edge",
         "order (abscissas of an edge integral)")
    draw(right, series(times, r"points:(\d+)/order:32"), "order 32, cubes across the piston's edge",
         "points of the grid")
    left.set_ylabel("time per point (µs)")
    figure.tight_layout()
    figure.savefig(pathlib.Path(folder) / "performance.png")


if __name__ == "__main__":
    main()
