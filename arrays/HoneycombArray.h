// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "field/Array.h"

namespace pistonfield {

/// Regular hexagons in rings about one in the middle, in the plane z = 0 about the origin,
/// radiating to +z. Sides of neighbours are parallel, and a row of centres lies along x.
struct HoneycombArray {
    std::int64_t rings = 0;         ///< about the middle: 0 is one hexagon, 1 are 7, 2 are 19
    double width = 0;               ///< of a hexagon, from side to side
    std::optional<double> pitch{};  ///< from centre to centre; this, or:
    std::optional<double> kerf{};   ///< from side to side; of one hexagon neither is needed
};

/// The elements ring by ring from the middle on, each ring from the x axis towards the y axis.
/// @throws InvalidRequest named after the member that is wrong
std::vector<Element> elementsOf(const HoneycombArray& array);

}  // namespace pistonfield
