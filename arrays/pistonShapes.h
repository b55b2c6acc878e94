// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>

#include "method/Outline.h"

namespace pistonfield {

/// Outlines of pistons from numbers that users give. Each throws `InvalidRequest` named after the
/// parameter that is wrong, and `std::bad_alloc`.

Outline discShape(double radius);

/// @param inner 0 leaves a disc
Outline ringShape(double inner, double outer);

/// @param from angles from the x axis towards the y axis, in radians, rising by at most a turn
Outline sectorShape(double inner, double outer, double from, double to);

/// The polygon with these corners, in any sense of turning, and `holes`, which lie inside of it.
Outline polygonShape(const std::vector<PlaneVector>& corners,
                     const std::vector<std::vector<PlaneVector>>& holes);

}  // namespace pistonfield
