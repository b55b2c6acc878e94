# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Reads an XDMF file with its HDF5 file, and prints where points lie and their values.

read_volume.py FILE IX IY IZ ...   # three indices a point, counted from 0
"""
import os
import sys
import xml.etree.ElementTree as ElementTree

try:
    import h5py
except ImportError:
    print("python3-h5py is not installed")
    sys.exit(77)


def numbers(text):
    return [float(word) for word in text.split()]


def main(name, indices):
    grid = ElementTree.parse(name).getroot().find("Domain/Grid")
    shape = tuple(int(word) for word in grid.find("Topology").get("Dimensions").split())
    origin, steps = (numbers(item.text) for item in grid.findall("Geometry/DataItem"))
    fields = []
    for attribute in grid.findall("Attribute"):
        file, dataset = attribute.find("DataItem").text.strip().split(":")
        fields.append(h5py.File(os.path.join(os.path.dirname(name), file), "r")[dataset])
        if fields[-1].shape != shape:
            sys.exit(f"{dataset} has the shape {fields[-1].shape}, not {shape}")
    for i in range(0, len(indices), 3):
        index = tuple(reversed(indices[i:i + 3]))  # z, y, x, as everything in these files
        place = [first + step * n for first, step, n in zip(origin, steps, index)]
        print(*reversed(place), *(field[index] for field in fields))


main(sys.argv[1], [int(word) for word in sys.argv[2:]])
