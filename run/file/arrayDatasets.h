// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <vector>

#include "field/Array.h"
#include "run/file/Hdf5.h"

/// The elements of an array, with one weighting or none, in an HDF5 file: the dataset "elements", a
/// row of 11 numbers for each, and the dataset "weights", compounds {r, i}; where elements have
/// outlines, the dataset "outlines", a row of 8 numbers for each edge, that of its outline from 0
/// on and those of `outlineDataset`, and "outline_of", for each element that number, or -1. All
/// throw std::runtime_error naming the dataset that is not as it is written.
namespace run::arrayDatasets {

/// Whether a file has elements.
bool areIn(hid_t file);

/// Writes elements whose lengths are in m.
void write(hid_t file, const pistonfield::Array& array);

/// Reads elements. Their lengths become m; they have no weights where there is no such dataset.
pistonfield::Array read(hid_t file);

/// An array's numbers, element by element as a row has them.
std::vector<double> rowsOf(const std::vector<pistonfield::Element>& elements);

/// Whether any element has an outline.
bool haveOutlines(const std::vector<pistonfield::Element>& elements);

/// The numbers of the different outlines, edge by edge as a row has them.
std::vector<double> outlineRowsOf(const std::vector<pistonfield::Element>& elements);

/// For each element the number of its outline, or -1.
std::vector<std::int64_t> outlineOf(const std::vector<pistonfield::Element>& elements);

}  // namespace run::arrayDatasets
