// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "method/Outline.h"
#include "run/file/Hdf5.h"

/// The outline of a piston in an HDF5 file: the dataset "outline", a row of 7 numbers for each
/// edge: that of its loop, from 0 on; 0 of a straight edge, and x and y of its ends and a 0; or 1
/// of an arc, and x and y of its centre, its radius, the angle at which it begins and the one by
/// which it turns. All throw std::runtime_error naming what is not as it is written.
namespace run::outlineDataset {

/// Whether a file has one.
bool isIn(hid_t file);

void write(hid_t file, const pistonfield::Outline& outline);
pistonfield::Outline read(hid_t file);

/// The numbers of a row.
inline constexpr std::size_t columns = 7;

/// An outline's numbers, edge by edge as a row has them.
std::vector<double> rowsOf(const pistonfield::Outline& outline);

/// The outline of such numbers, whose lengths are divided by a unit.
pistonfield::Outline outlineOf(std::span<const double> rows, double unit = 1);

}  // namespace run::outlineDataset
