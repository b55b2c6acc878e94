// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/polygons.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace pistonfield {

namespace {

PlaneVector between(const PlaneVector& from, const PlaneVector& to) {
    return {to[0] - from[0], to[1] - from[1]};
}

double lengthOf(const PlaneVector& v) { return std::hypot(v[0], v[1]); }

/// How far a point lies to the left of the line through two others.
double leftOf(const PlaneVector& from, const PlaneVector& to, const PlaneVector& point) {
    const PlaneVector along = between(from, to);
    const PlaneVector at = between(from, point);
    return (along[0] * at[1] - along[1] * at[0]) / lengthOf(along);
}

double distanceToSide(const PlaneVector& point, const PlaneVector& from, const PlaneVector& to) {
    const PlaneVector along = between(from, to);
    const PlaneVector at = between(from, point);
    const double square = along[0] * along[0] + along[1] * along[1];
    const double part = std::clamp((at[0] * along[0] + at[1] * along[1]) / square, 0.0, 1.0);
    return std::hypot(at[0] - part * along[0], at[1] - part * along[1]);
}

int chordsOf(const OutlineEdge& edge) {
    constexpr double perTurn = 128;
    const Arc* const arc = std::get_if<Arc>(&edge);
    if (arc == nullptr) return 1;
    return std::max(1, static_cast<int>(std::ceil(
                           std::abs(arc->sweep) / (2 * std::numbers::pi) * perTurn - 1e-9)));
}

/// The distance of two straight lines' parts where both have their nearest point between their
/// ends.
std::optional<double> distanceWithin(const Vector3& fromA, const Vector3& toA, const Vector3& fromB,
                                     const Vector3& toB) {
    const Vector3 a = minus(toA, fromA);
    const Vector3 b = minus(toB, fromB);
    const Vector3 across = cross(a, b);
    const double square = dot(across, across);
    if (!(square > 1e-24 * dot(a, a) * dot(b, b))) return std::nullopt;
    const Vector3 from = minus(fromB, fromA);
    const double onA = dot(cross(from, b), across) / square;
    const double onB = dot(cross(from, a), across) / square;
    if (onA < 0 || onA > 1 || onB < 0 || onB > 1) return std::nullopt;
    return std::abs(dot(from, across)) / std::sqrt(square);
}

PlaneVector inPlane(const Vector3& place) { return {place[0], place[1]}; }

constexpr double touching = 1e-9;  // of the sizes, by which faces may intersect

}  // namespace

Polygon::Polygon(const Element& element) : pose(element.pose) {
    const Outline outline = element.outline
                                ? *element.outline
                                : rectangleOutline(element.piston.width, element.piston.height);
    for (const Loop& loop : outline.loops) {
        const std::size_t first = sides.size();
        for (const OutlineEdge& edge : loop) {
            const int chords = chordsOf(edge);
            for (int i = 0; i < chords; ++i) {
                const PlaneVector at = placeOn(edge, 2.0 * i / chords - 1).at;
                if (sides.size() > first) sides.back().to = at;
                sides.push_back({at, at});
                size = std::max(size, lengthOf(at));
            }
        }
        sides.back().to = sides[first].from;
    }
}

Vector3 Polygon::placed(const PlaneVector& point) const noexcept {
    return plus(plus(pose.centre, point[0], pose.alongWidth), point[1], pose.alongHeight);
}

std::vector<Vector3> Polygon::corners() const {
    std::vector<Vector3> corners;
    corners.reserve(sides.size());
    for (const Side& side : sides) corners.push_back(placed(side.from));
    return corners;
}

bool Polygon::holds(const PlaneVector& point) const noexcept {
    // A ray towards +x meets an odd number of sides.
    bool inside = false;
    for (const auto& [from, to] : sides) {
        if ((from[1] > point[1]) == (to[1] > point[1])) continue;
        const double x = from[0] + (point[1] - from[1]) / (to[1] - from[1]) * (to[0] - from[0]);
        if (x > point[0]) inside = !inside;
    }
    return inside;
}

double Polygon::distanceToRim(const PlaneVector& point) const noexcept {
    double least = HUGE_VAL;
    for (const auto& [from, to] : sides) least = std::min(least, distanceToSide(point, from, to));
    return least;
}

double Polygon::distanceToFace(const Vector3& point) const noexcept {
    const Vector3 place = pose.placeOf(point);
    const double beside = holds(inPlane(place)) ? 0 : distanceToRim(inPlane(place));
    return std::hypot(beside, place[2]);
}

bool Polygon::isInPlaneOf(const Polygon& other, double margin) const noexcept {
    return std::all_of(sides.begin(), sides.end(), [&](const Side& side) {
        return std::abs(other.pose.placeOf(placed(side.from))[2]) <= margin;
    });
}

/// Whether a side of another face goes through this one.
bool Polygon::isPiercedBy(const Polygon& other, double margin) const noexcept {
    return std::any_of(other.sides.begin(), other.sides.end(), [&](const Side& side) {
        const Vector3 from = pose.placeOf(other.placed(side.from));
        const Vector3 to = pose.placeOf(other.placed(side.to));
        if (std::min(from[2], to[2]) >= -margin || std::max(from[2], to[2]) <= margin) return false;
        const double part = from[2] / (from[2] - to[2]);
        const PlaneVector at{from[0] + part * (to[0] - from[0]),
                             from[1] + part * (to[1] - from[1])};
        return holds(at) && distanceToRim(at) > margin;
    });
}

/// Whether a point close to a side of another face in the same plane, within that, is in this one.
bool Polygon::holdsInnerPointOf(const Polygon& other, double beside) const noexcept {
    return std::any_of(other.sides.begin(), other.sides.end(), [&](const Side& side) {
        const PlaneVector along = between(side.from, side.to);
        const double length = lengthOf(along);
        const PlaneVector inner{(side.from[0] + side.to[0]) / 2 - along[1] / length * beside,
                                (side.from[1] + side.to[1]) / 2 + along[0] / length * beside};
        return holds(inPlane(pose.placeOf(other.placed(inner))));
    });
}

/// Whether sides of two faces in the same plane cross.
bool Polygon::crosses(const Polygon& other, double margin) const noexcept {
    return std::any_of(other.sides.begin(), other.sides.end(), [&](const Side& side) {
        const PlaneVector from = inPlane(pose.placeOf(other.placed(side.from)));
        const PlaneVector to = inPlane(pose.placeOf(other.placed(side.to)));
        const auto areApart = [margin](double a, double b) {
            return (a > margin && b < -margin) || (a < -margin && b > margin);
        };
        return std::any_of(sides.begin(), sides.end(), [&](const Side& own) {
            return areApart(leftOf(own.from, own.to, from), leftOf(own.from, own.to, to)) &&
                   areApart(leftOf(from, to, own.from), leftOf(from, to, own.to));
        });
    });
}

bool Polygon::overlaps(const Polygon& other) const {
    const double margin = touching * (size + other.size);
    if (!isInPlaneOf(other, margin))
        return isPiercedBy(other, margin) || other.isPiercedBy(*this, margin);
    return crosses(other, margin) || holdsInnerPointOf(other, 2 * margin) ||
           other.holdsInnerPointOf(*this, 2 * margin);
}

double Polygon::distanceTo(const Polygon& other) const {
    double least = HUGE_VAL;
    for (const Side& side : sides) least = std::min(least, other.distanceToFace(placed(side.from)));
    for (const Side& side : other.sides)
        least = std::min(least, distanceToFace(other.placed(side.from)));
    for (const Side& a : sides)
        for (const Side& b : other.sides)
            least = std::min(least, distanceWithin(placed(a.from), placed(a.to),
                                                   other.placed(b.from), other.placed(b.to))
                                        .value_or(HUGE_VAL));
    return least;
}

std::optional<double> Polygon::metBy(const Vector3& from, const Vector3& direction) const noexcept {
    const Vector3 normal = pose.normal();
    const double along = dot(direction, normal);
    if (along == 0) return std::nullopt;
    const double distance = dot(minus(pose.centre, from), normal) / along;
    const Vector3 place = pose.placeOf(plus(from, distance, direction));
    if (distance < 0 || !holds(inPlane(place))) return std::nullopt;
    return distance;
}

}  // namespace pistonfield
