// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "field/Array.h"

namespace pistonfield {

/// Elements side by side on the outside of a cylinder, whose axis is the parallel of y through
/// (0, 0, -radius): each touches it in its centre and radiates away from the axis. The middle of
/// them is at the origin and radiates to +z.
struct ConvexArray {
    std::int64_t elements = 0;
    double radius = 0;
    double width = 0;               ///< of an element, across the axis
    double height = 0;              ///< of an element, along y
    std::optional<double> pitch{};  ///< from centre to centre along the arc; this, or:
    std::optional<double>
        angle{};  ///< from centre to centre as seen from the axis, in radians; or:
    std::optional<double>
        kerf{};  ///< from edge to edge; of one element none of the three is needed
};

/// The elements from the least x on, along the arc.
/// @throws InvalidRequest named after the member that is wrong: elements, radius, width, height,
///     pitch, angle, kerf
std::vector<Element> elementsOf(const ConvexArray& array);

}  // namespace pistonfield
