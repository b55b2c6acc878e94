#!/usr/bin/python3
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Draws the time per point against the order and against the number of points.

plot.py tabulate RESULTS prints what is drawn of field_bench's JSON as comma-separated values:
    benchmark, mode, order, points, seconds per point
plot.py draw TABLE FOLDER reads these, with comments that begin with #, and writes
FOLDER/performance.png.
"""
import csv
import json
import pathlib
import re
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt

MODES = {"cpu": "o", "cpusp": "s", "cuda": "^", "cudadp": "D"}
COLUMNS = ["benchmark", "mode", "order", "points", "seconds per point"]
DRAWN = re.compile(r"(by_order|points)[:/].*/(\w+)/real_time")


def tabulate(source):
    """Prints the least time of every benchmark that is drawn."""
    results = json.loads(pathlib.Path(source).read_text(encoding="utf-8"))
    table = csv.writer(sys.stdout, lineterminator="\n")
    table.writerow(COLUMNS)
    for run in results["benchmarks"]:
        least = run.get("aggregate_name") == "least" or run["run_type"] == "iteration"
        match = DRAWN.fullmatch(run["run_name"])
        if least and match and match[2] in MODES and "time/point" in run:
            table.writerow([match[1], match[2], int(run["order"]), int(run["points"]),
                            f"{run['time/point']:.9g}"])


def read_table(source):
    with open(source, encoding="utf-8") as lines:
        return list(csv.DictReader(line for line in lines if not line.startswith("#")))


def series(rows, benchmark, column):
    """For each mode the sorted pairs of the column's number and microseconds per point."""
    found = {mode: [] for mode in MODES}
    for row in rows:
        if row["benchmark"] == benchmark:
            found[row["mode"]].append((int(row[column]), float(row["seconds per point"]) * 1e6))
    return {mode: sorted(pairs) for mode, pairs in found.items()}


def draw(axes, data, title, label):
    for mode, pairs in data.items():
        if pairs:
            axes.loglog(*zip(*pairs), marker=MODES[mode], markersize=4, label=f"'{mode}'")
    axes.set_title(title, fontsize=10)
    axes.set_xlabel(label)
    axes.grid(True, which="major", alpha=0.4)
    axes.legend(fontsize=8)


def draw_all(source, folder):
    rows = read_table(source)
    figure, (left, right) = plt.subplots(1, 2, figsize=(10, 4), dpi=110, sharey=True)
    draw(left, series(rows, "by_order", "order"), "10 000 points across the piston's edge",
         "order (abscissas of an edge integral)")
    draw(right, series(rows, "points", "points"), "order 32, cubes across the piston's edge",
         "points of the grid")
    left.set_ylabel("time per point (µs)")
    figure.tight_layout()
    figure.savefig(pathlib.Path(folder) / "performance.png")


def main():
    actions = {"tabulate": tabulate, "draw": draw_all}
    actions[sys.argv[1]](*sys.argv[2:])


if __name__ == "__main__":
    main()
