// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "capi/pistonfield.h"
#include "field/Request.h"

namespace pistonfield {

/// The elements of a caller.
/// @throws InvalidRequest of `elements` where there are none or too many, before memory is taken
std::vector<Element> elementsFrom(const pistonfield_element* array, std::int64_t elements);

/// An element as callers have it.
pistonfield_element elementFor(const Element& element) noexcept;

/// @throws InvalidRequest of `points` where these are no list
void requirePoints(const double* x, const double* y, const double* z, std::int64_t points);

/// A caller's list of points.
/// @throws InvalidRequest of `points`, before memory is taken
PointList pointsFrom(const double* x, const double* y, const double* z, std::int64_t points);

}  // namespace pistonfield
