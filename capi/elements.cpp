// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "capi/elements.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>

namespace pistonfield {

namespace {

static_assert(sizeof(pistonfield_element) == 11 * sizeof(double));

Pose::Vector vectorOf(const double (&numbers)[3]) { return {numbers[0], numbers[1], numbers[2]}; }

Element elementOf(const pistonfield_element& given) {
    return {{.width = given.width, .height = given.height},
            {vectorOf(given.centre), vectorOf(given.along_width), vectorOf(given.along_height)},
            {}};
}

}  // namespace

std::vector<Element> elementsFrom(const pistonfield_element* array, std::int64_t elements) {
    if (array == nullptr) throw InvalidRequest("elements", "array is null");
    constexpr auto most = static_cast<std::int64_t>(Array::mostElements);
    if (elements < 1 || elements > most)
        throw InvalidRequest(
            "elements", std::to_string(elements) + " are not within 1 to " + std::to_string(most));
    std::vector<Element> found;
    found.reserve(static_cast<std::size_t>(elements));
    std::transform(array, array + elements, std::back_inserter(found), elementOf);
    return found;
}

pistonfield_element elementFor(const Element& element) noexcept {
    const auto& [piston, pose, outline] = element;
    const auto& [centre, width, height] = pose;
    return {piston.width,
            piston.height,
            {centre[0], centre[1], centre[2]},
            {width[0], width[1], width[2]},
            {height[0], height[1], height[2]}};
}

void requirePoints(const double* x, const double* y, const double* z, std::int64_t points) {
    if (x == nullptr || y == nullptr || z == nullptr)
        throw InvalidRequest("points", "none of x, y and z may be null");
    if (points < 1) throw InvalidRequest("points", "must be 1 or more");
    constexpr std::int64_t most = std::numeric_limits<std::ptrdiff_t>::max() / sizeof(double);
    if (points > most)
        throw InvalidRequest("points",
                             std::to_string(points) + " positions have no place in memory");
}

PointList pointsFrom(const double* x, const double* y, const double* z, std::int64_t points) {
    requirePoints(x, y, z, points);
    const auto copied = [points](const double* positions) {
        return std::vector<double>(positions, positions + points);
    };
    return {copied(x), copied(y), copied(z)};
}

}  // namespace pistonfield
