// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "field/Array.h"

namespace pistonfield {

/// The inside of a spherical cap, with its apex at the origin and its centre of curvature, the
/// focus, at (0, 0, radius). Elements touch the sphere in their centres and radiate to the focus;
/// their width is along the parallel and their height along the meridian, so that an element at the
/// apex has them along y and -x. They lie wholly within the aperture and beside the hole, as seen
/// along z.
struct Bowl {
    double radius = 0;                     ///< of curvature
    std::optional<double> aperture{};      ///< the diameter of the rim, up to twice the radius; or:
    std::optional<double> openingAngle{};  ///< that of the rim as seen from the focus, in radians,
                                           ///< up to pi
    double hole = 0;                       ///< the diameter of a hole about the apex, or none
};

/// Elements of a bowl in rings about its axis.
struct BowlRings {
    Bowl bowl{};
    double width = 0;              ///< of an element, along its ring
    double height = 0;             ///< of an element, across its ring
    std::optional<double> kerf{};  ///< the least distance from edge to edge; this, or:
    std::optional<double>
        pitch{};  ///< that plus the width along a ring, plus the height across; or:
    std::vector<std::int64_t> counts{};  ///< the elements of each ring, from the innermost on
};

/// The elements ring by ring from the innermost on, in each from phi = 0 on towards y.
///
/// With a pitch or kerf as many rings as there is room for, of as many elements as there is room
/// for, spread evenly between hole and rim; without a hole the first ring is one element at the
/// apex. With counts the polar angles of the rings are evenly spaced, from the hole to the rim; a
/// first ring of one element without a hole is at the apex, one of several half a step from it.
/// @throws InvalidRequest named after the member that is wrong: radius, aperture, openingAngle,
///     hole, width, height, pitch, kerf, counts
std::vector<Element> elementsOf(const BowlRings& array);

/// Elements of a bowl along a spiral: each turned against the one before by the golden angle,
/// pi*(3 - sqrt(5)), and in the middle, by area, of its own zone of the sphere; the zones have
/// equal areas.
struct BowlSpiral {
    Bowl bowl{};
    std::int64_t elements = 0;
    double width = 0;   ///< of an element, along the parallel
    double height = 0;  ///< of an element, along the meridian
};

/// The elements from the innermost on.
/// @throws InvalidRequest named after the member that is wrong: radius, aperture, openingAngle,
///     hole, width, height, and elements where they overlap; std::bad_alloc
std::vector<Element> elementsOf(const BowlSpiral& array);

}  // namespace pistonfield
