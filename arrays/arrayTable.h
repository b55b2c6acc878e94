// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <iosfwd>
#include <string>

#include "field/Array.h"

namespace pistonfield {

/// Reads an array from comma-separated values: a line of columns' names, and a line for each
/// element. Lengths become metres.
///
/// Columns, in any order; a length's name has its unit, m, cm, mm or um, behind it:
///   x [mm], y [mm], z [mm]         the centre; z is 0 without its column
///   width [mm], height [mm]        the sides
///   normal x, normal y, normal z   the direction that it radiates to, of any length; +z without
///   along x, along y, along z      the direction of the width, at a right angle to the normal but
///                                  for the digits that are written; without, y cross the normal,
///                                  or x where the normal is along y
///   up x, up y, up z               the direction of the height, together with the width's
///   amplitude, phase [deg]         the weight, with either of the two or both; or phase [rad]; or:
///   re, im                         the weight's real and imaginary part
///   outline [mm]                   in place of the sides any flat shape, edge by edge: x and y of
///                                  both ends of a straight one; of an arc x and y of its
///                                  centre, its radius, the angle where it begins, and the one by
///                                  which it turns, in radians; "; " between edges and " / "
///                                  between loops. An element with an empty cell has its sides
/// Empty lines and those that begin with # are left out; names and numbers may stand in double
/// quotes. Without a weight's column the array has no weights.
/// @param name what errors call the source
/// @throws InvalidRequest of `elements`, whose reason names source, line and column
Array readArray(std::istream& from, const std::string& name);

/// Reads a file.
/// @throws InvalidRequest of `elements`, also where the file cannot be read
Array readArrayFile(const std::string& path);

/// Writes an array as `readArray` reads it, in metres, with all digits: what is read is equal to
/// it, if its elements are. The stream's state says whether it was written.
/// @throws InvalidRequest where there are several weightings
void writeArray(std::ostream& to, const Array& array);

}  // namespace pistonfield
