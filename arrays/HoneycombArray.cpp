// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/HoneycombArray.h"

#include <cmath>
#include <memory>
#include <numbers>
#include <string>

#include "arrays/builderChecks.h"
#include "field/Request.h"

namespace pistonfield {

namespace {

constexpr int sides = 6;

/// Directions from the x axis on, in steps of 60 degrees.
PlaneVector directionOf(double steps) {
    const double angle = steps * std::numbers::pi / 3;
    return {std::cos(angle), std::sin(angle)};
}

/// A hexagon with a side towards the x axis.
Outline hexagonOf(double width) {
    const double radius = width / std::sqrt(3);
    std::vector<PlaneVector> corners;
    for (int i = 0; i < sides; ++i) {
        const PlaneVector direction = directionOf(i - 0.5);
        corners.push_back({radius * direction[0], radius * direction[1]});
    }
    return polygonOutline(corners);
}

double pitchOf(const HoneycombArray& array) {
    requireOne({{"pitch", array.pitch.has_value()}, {"kerf", array.kerf.has_value()}},
               array.rings > 0);
    if (array.kerf) {
        requireNoLess("kerf", *array.kerf);
        return array.width + *array.kerf;
    }
    if (!array.pitch) return array.width;
    requireLength("pitch", *array.pitch);
    if (*array.pitch < array.width)
        throw InvalidRequest("pitch", "elements overlap unless it is the width or more");
    return *array.pitch;
}

}  // namespace

std::vector<Element> elementsOf(const HoneycombArray& array) {
    constexpr std::int64_t mostRings = 576;  // the most that keep within a million elements
    if (array.rings < 0 || array.rings > mostRings)
        throw InvalidRequest("rings", std::to_string(array.rings) + " is not within 0 to " +
                                          std::to_string(mostRings));
    requireLength("width", array.width);
    const double pitch = pitchOf(array);
    const auto outline = std::make_shared<const Outline>(hexagonOf(array.width));
    std::vector<Element> elements{{{}, {}, outline}};
    for (std::int64_t ring = 1; ring <= array.rings; ++ring)
        for (int side = 0; side < sides; ++side)
            for (std::int64_t i = 0; i < ring; ++i) {
                // From a corner of the ring along its side, which goes 120 degrees further.
                const PlaneVector corner = directionOf(side);
                const PlaneVector along = directionOf(side + 2);
                const auto at = [&](std::size_t axis) {
                    return pitch * (static_cast<double>(ring) * corner[axis] +
                                    static_cast<double>(i) * along[axis]);
                };
                elements.push_back({{}, {{at(0), at(1), 0}}, outline});
            }
    return elements;
}

}  // namespace pistonfield
