// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/Region.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace pistonfield {

namespace {

constexpr double rounding = 1e-6;  ///< of a step

Vector3 columnOf(const std::array<double, 16>& transform, std::size_t i) noexcept {
    const double divisor = transform.back();
    return {transform[i] / divisor, transform[4 + i] / divisor, transform[8 + i] / divisor};
}

/// Any direction at a right angle to another one.
Vector3 besides(const Vector3& direction) noexcept {
    const auto least = static_cast<std::size_t>(
        std::min_element(direction.begin(), direction.end(),
                         [](double a, double b) { return std::abs(a) < std::abs(b); }) -
        direction.begin());
    Vector3 unit{};
    unit[least] = 1;
    return unitOf(cross(direction, unit));
}

/// Puts steps at right angles to the others in place of those that lead nowhere.
void completeSteps(std::array<Vector3, 3>& steps, const std::array<bool, 3>& extends,
                   double length) {
    const auto count = std::count(extends.begin(), extends.end(), true);
    const auto set = [&](std::size_t i, const Vector3& direction) {
        steps[i] = plus({}, length, direction);
    };
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t next = (i + 1) % 3;
        const std::size_t after = (i + 2) % 3;
        if (count == 0) {
            Vector3 unit{};
            unit[i] = 1;
            set(i, unit);
        } else if (count == 1 && extends[i]) {
            set(next, besides(steps[i]));
            set(after, unitOf(cross(steps[i], steps[next])));
        } else if (count == 2 && !extends[i]) {
            set(i, unitOf(cross(steps[next], steps[after])));
        }
    }
}

}  // namespace

Region::Region(const Lattice& lattice) : origin(columnOf(lattice.transform, 3)) {
    std::array<bool, 3> wide{};
    double longest = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        if (lattice.sizes[i] < 1) throw InvalidRequest("sizes", "must be 1 or more");
        last[i] = static_cast<double>(lattice.sizes[i] - 1);
        wide[i] = extends(i);
        steps[i] = columnOf(lattice.transform, i);
        if (!wide[i]) continue;
        longest = std::max(longest, lengthOf(steps[i]));
        extent = std::max(extent, last[i] * lengthOf(steps[i]));
    }
    completeSteps(steps, wide, longest > 0 ? longest : 1);
    const double volume = dot(steps[0], cross(steps[1], steps[2]));
    const double most = lengthOf(steps[0]) * lengthOf(steps[1]) * lengthOf(steps[2]);
    if (!(std::abs(volume) > 1e-9 * most))
        throw InvalidRequest("transform", "its directions span no region");
    for (std::size_t i = 0; i < 3; ++i)
        duals[i] = plus({}, 1 / volume, cross(steps[(i + 1) % 3], steps[(i + 2) % 3]));
}

Vector3 Region::placeOf(const Vector3& coordinates) const noexcept {
    Vector3 place = origin;
    for (std::size_t i = 0; i < 3; ++i) place = plus(place, coordinates[i], steps[i]);
    return place;
}

Vector3 Region::coordinatesOf(const Vector3& place) const noexcept {
    const Vector3 way = minus(place, origin);
    return {dot(duals[0], way), dot(duals[1], way), dot(duals[2], way)};
}

Vector3 Region::within(const Vector3& coordinates) const noexcept {
    Vector3 nearest{};
    for (std::size_t i = 0; i < 3; ++i) nearest[i] = std::clamp(coordinates[i], 0.0, last[i]);
    return nearest;
}

bool Region::contains(const Vector3& place) const noexcept {
    const Vector3 coordinates = coordinatesOf(place);
    const Vector3 nearest = within(coordinates);
    for (std::size_t i = 0; i < 3; ++i)
        if (!(std::abs(coordinates[i] - nearest[i]) <= rounding)) return false;
    return true;
}

bool Region::isOnEdge(const Vector3& coordinates) const noexcept {
    for (std::size_t i = 0; i < 3; ++i)
        if (extends(i) && (coordinates[i] <= rounding || coordinates[i] >= last[i] - rounding))
            return true;
    return false;
}

Range Region::rangeOf(const Vector3& place, const Vector3& direction) const noexcept {
    const Vector3 at = within(coordinatesOf(place));
    Range range{-HUGE_VAL, HUGE_VAL};
    for (std::size_t i = 0; i < 3; ++i) {
        const double rate = dot(duals[i], direction);
        if (std::abs(rate) * extent <= rounding) continue;  // it goes along this side
        const double back = -at[i] / rate;
        const double front = (last[i] - at[i]) / rate;
        range.from = std::max(range.from, std::min(back, front));
        range.to = std::min(range.to, std::max(back, front));
    }
    if (!std::isfinite(range.from) || !std::isfinite(range.to)) return {};
    return {std::min(range.from, 0.0), std::max(range.to, 0.0)};
}

double Region::shortestStep() const noexcept {
    double shortest = HUGE_VAL;
    for (std::size_t i = 0; i < 3; ++i)
        if (extends(i)) shortest = std::min(shortest, lengthOf(steps[i]));
    return std::isfinite(shortest) ? shortest : 0;
}

}  // namespace pistonfield
