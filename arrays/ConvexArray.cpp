// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/ConvexArray.h"

#include <cmath>
#include <numbers>
#include <string>

#include "arrays/builderChecks.h"
#include "field/Request.h"

namespace pistonfield {

namespace {

/// Against rounding, where elements touch each other.
constexpr double touching = 1 + 1e-12;

[[noreturn]] void refuseOverlap(const char* name) {
    throw InvalidRequest(name, "elements of this width overlap");
}

/// The angle from centre to centre where edges are `kerf` apart: each edge lies half of that beside
/// the plane in the middle.
double angleOfKerf(const ConvexArray& array) {
    requireNoLess("kerf", *array.kerf);
    const double sine = *array.kerf / 2 / std::hypot(array.radius, array.width / 2);
    if (sine > 1) throw InvalidRequest("kerf", "must be less than the diameter");
    return 2 * (std::asin(sine) + std::atan(array.width / 2 / array.radius));
}

double angleOf(const ConvexArray& array) {
    requireOne({{"pitch", array.pitch.has_value()},
                {"angle", array.angle.has_value()},
                {"kerf", array.kerf.has_value()}},
               array.elements > 1);
    if (array.kerf) return angleOfKerf(array);
    if (array.pitch) requireLength("pitch", *array.pitch);
    if (array.angle && !(std::isfinite(*array.angle) && *array.angle > 0))
        throw InvalidRequest("angle", "must be an angle above 0");
    if (array.pitch) return *array.pitch / array.radius;
    return array.angle.value_or(0);
}

void requireRoom(const ConvexArray& array, double angle) {
    if (array.elements == 1) return;
    if (static_cast<double>(array.elements) * angle > 2 * std::numbers::pi * touching)
        throw InvalidRequest(array.angle ? "angle" : "radius",
                             std::string(array.angle ? "is too large: " : "is too small: ") +
                                 std::to_string(array.elements) +
                                 " elements go more than once around the axis");
    if (array.width / 2 > array.radius * std::tan(angle / 2) * touching)
        refuseOverlap(array.pitch ? "pitch" : "angle");
}

Element elementAt(const ConvexArray& array, double angle) {
    const double sine = std::sin(angle);
    const double cosine = std::cos(angle);
    const double half = std::sin(angle / 2);
    return {
        {array.width, array.height},
        {{array.radius * sine, 0, -2 * array.radius * half * half}, {cosine, 0, -sine}, {0, 1, 0}}};
}

}  // namespace

std::vector<Element> elementsOf(const ConvexArray& array) {
    requireCount("elements", array.elements);
    requireLength("radius", array.radius);
    requireLength("width", array.width);
    requireLength("height", array.height);
    const double angle = angleOf(array);
    requireRoom(array, angle);
    std::vector<Element> elements;
    for (std::int64_t i = 0; i < array.elements; ++i)
        elements.push_back(
            elementAt(array, static_cast<double>(2 * i - (array.elements - 1)) / 2 * angle));
    return elements;
}

}  // namespace pistonfield
