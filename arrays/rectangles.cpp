// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/rectangles.h"

#include <algorithm>
#include <cmath>

namespace pistonfield {

namespace {

/// Half the sides of a face as vectors.
struct Halves {
    explicit Halves(const Element& element, double factor = 0.5)
        : normal(element.pose.normal()),
          alongWidth(plus({}, factor * element.piston.width, element.pose.alongWidth)),
          alongHeight(plus({}, factor * element.piston.height, element.pose.alongHeight)) {}

    /// How far the face reaches from its centre along an axis.
    double reachAlong(const Vector3& axis) const noexcept {
        return std::abs(dot(alongWidth, axis)) + std::abs(dot(alongHeight, axis));
    }

    Vector3 normal, alongWidth, alongHeight;
};

double longerSide(const Element& element) {
    return std::max(element.piston.width, element.piston.height);
}

/// Faces, which are flat and convex, are apart where they are along one of these directions.
std::array<Vector3, 10> directionsOf(const Pose& a, const Pose& b) noexcept {
    return {a.normal(),
            b.normal(),
            a.alongWidth,
            a.alongHeight,
            b.alongWidth,
            b.alongHeight,
            cross(a.alongWidth, b.alongWidth),
            cross(a.alongWidth, b.alongHeight),
            cross(a.alongHeight, b.alongWidth),
            cross(a.alongHeight, b.alongHeight)};
}

double distanceToFace(const Vector3& point, const Element& face) noexcept {
    const Vector3 place = face.pose.placeOf(point);
    return std::hypot(std::max(0.0, std::abs(place[0]) - face.piston.width / 2),
                      std::max(0.0, std::abs(place[1]) - face.piston.height / 2), place[2]);
}

/// A side of a face.
struct Side {
    Vector3 from, along;
};

std::array<Side, 4> sidesOf(const std::array<Vector3, 4>& corners) noexcept {
    std::array<Side, 4> sides;
    for (std::size_t i = 0; i < 4; ++i)
        sides[i] = {corners[i], minus(corners[(i + 1) % 4], corners[i])};
    return sides;
}

/// The distance of two sides where both have their nearest point between their ends.
std::optional<double> distanceWithin(const Side& a, const Side& b) noexcept {
    const Vector3 across = cross(a.along, b.along);
    const double square = dot(across, across);
    if (!(square > 1e-24 * dot(a.along, a.along) * dot(b.along, b.along))) return std::nullopt;
    const Vector3 between = minus(b.from, a.from);
    const double onA = dot(cross(between, b.along), across) / square;
    const double onB = dot(cross(between, a.along), across) / square;
    if (onA < 0 || onA > 1 || onB < 0 || onB > 1) return std::nullopt;
    return std::abs(dot(between, across)) / std::sqrt(square);
}

}  // namespace

std::array<Vector3, 4> cornersOf(const Element& element) noexcept {
    const Halves halves(element);
    const auto corner = [&](double x, double y) {
        return plus(plus(element.pose.centre, x, halves.alongWidth), y, halves.alongHeight);
    };
    return {corner(-1, -1), corner(1, -1), corner(1, 1), corner(-1, 1)};
}

bool overlap(const Element& a, const Element& b) noexcept {
    constexpr double smaller = 0.5 * (1 - 1e-9);
    const Halves halvesOfA(a, smaller);
    const Halves halvesOfB(b, smaller);
    const Vector3 between = minus(b.pose.centre, a.pose.centre);
    const double rounding = 1e-12 * (longerSide(a) + longerSide(b));
    const auto directions = directionsOf(a.pose, b.pose);
    return std::none_of(directions.begin(), directions.end(), [&](const Vector3& axis) {
        return std::abs(dot(between, axis)) >
               halvesOfA.reachAlong(axis) + halvesOfB.reachAlong(axis) + rounding;
    });
}

double distanceBetween(const Element& a, const Element& b) noexcept {
    const auto cornersOfA = cornersOf(a);
    const auto cornersOfB = cornersOf(b);
    double least = HUGE_VAL;
    for (std::size_t i = 0; i < 4; ++i)
        least =
            std::min({least, distanceToFace(cornersOfA[i], b), distanceToFace(cornersOfB[i], a)});
    for (const Side& sideOfA : sidesOf(cornersOfA))
        for (const Side& sideOfB : sidesOf(cornersOfB))
            least = std::min(least, distanceWithin(sideOfA, sideOfB).value_or(HUGE_VAL));
    return least;
}

std::optional<double> meets(const Vector3& from, const Vector3& direction,
                            const Element& face) noexcept {
    const Vector3 normal = face.pose.normal();
    const double along = dot(direction, normal);
    if (along == 0) return std::nullopt;
    const double distance = dot(minus(face.pose.centre, from), normal) / along;
    const Vector3 place = face.pose.placeOf(plus(from, distance, direction));
    if (distance < 0 || std::abs(place[0]) > face.piston.width / 2 ||
        std::abs(place[1]) > face.piston.height / 2)
        return std::nullopt;
    return distance;
}

}  // namespace pistonfield
