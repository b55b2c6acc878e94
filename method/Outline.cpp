// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/Outline.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace pistonfield {

namespace {

/// What `work` makes of an edge. An edge is never without a value, which `std::visit` throws for.
template <class Work>
auto use(const OutlineEdge& edge, Work work) noexcept {
    const Arc* const arc = std::get_if<Arc>(&edge);
    return arc != nullptr ? work(*arc) : work(*std::get_if<StraightEdge>(&edge));
}

EdgePlace placeOnEdge(const StraightEdge& edge, double s) noexcept {
    const PlaneVector half{(edge.to[0] - edge.from[0]) / 2, (edge.to[1] - edge.from[1]) / 2};
    return {{edge.from[0] + (1 + s) * half[0], edge.from[1] + (1 + s) * half[1]}, half};
}

EdgePlace placeOnEdge(const Arc& arc, double s) noexcept {
    const double half = arc.sweep / 2;
    const double angle = arc.from + (1 + s) * half;
    const double x = arc.radius * std::cos(angle);
    const double y = arc.radius * std::sin(angle);
    return {{arc.centre[0] + x, arc.centre[1] + y}, {-half * y, half * x}};
}

double lengthOfEdge(const StraightEdge& edge) noexcept {
    return std::hypot(edge.to[0] - edge.from[0], edge.to[1] - edge.from[1]);
}

double lengthOfEdge(const Arc& arc) noexcept { return arc.radius * std::abs(arc.sweep); }

/// The integral of x dy - y dx along an edge: twice the area that the origin sees it sweep.
double sweptBy(const StraightEdge& edge) noexcept {
    return edge.from[0] * edge.to[1] - edge.from[1] * edge.to[0];
}

double sweptBy(const Arc& arc) noexcept {
    const PlaneVector from = placeOnEdge(arc, -1).at;
    const PlaneVector to = placeOnEdge(arc, 1).at;
    return arc.radius * arc.radius * arc.sweep + arc.centre[0] * (to[1] - from[1]) -
           arc.centre[1] * (to[0] - from[0]);
}

double distanceBetween(const PlaneVector& a, const PlaneVector& b) noexcept {
    return std::hypot(a[0] - b[0], a[1] - b[1]);
}

constexpr double turn = 2 * std::numbers::pi;

/// Whether an arc goes through the direction of an angle from its centre.
bool goesThrough(const Arc& arc, double angle) noexcept {
    const double beyond = std::copysign(1.0, arc.sweep) * (angle - arc.from) / turn;
    return (beyond - std::floor(beyond)) * turn <= std::abs(arc.sweep);
}

/// The largest distance of an edge's points from a place.
double farthestOf(const StraightEdge& edge, const PlaneVector& from) noexcept {
    return std::max(distanceBetween(edge.from, from), distanceBetween(edge.to, from));
}

double farthestOf(const Arc& arc, const PlaneVector& from) noexcept {
    const PlaneVector away{arc.centre[0] - from[0], arc.centre[1] - from[1]};
    if (goesThrough(arc, std::atan2(away[1], away[0])))
        return std::hypot(away[0], away[1]) + arc.radius;
    return std::max(distanceBetween(placeOnEdge(arc, -1).at, from),
                    distanceBetween(placeOnEdge(arc, 1).at, from));
}

template <class Work>
void forEachEdge(const Outline& outline, Work work) {
    for (const Loop& loop : outline.loops)
        for (const OutlineEdge& edge : loop) work(edge);
}

double sweptBy(const OutlineEdge& edge) noexcept {
    return use(edge, [](const auto& one) { return sweptBy(one); });
}

/// The straight edges between corners, in the sense of turning that is asked for.
Loop loopThrough(std::vector<PlaneVector> corners, bool turnsToY) {
    double swept = 0;
    for (std::size_t i = 0; i < corners.size(); ++i)
        swept += sweptBy(StraightEdge{corners[i], corners[(i + 1) % corners.size()]});
    if ((swept > 0) != turnsToY) std::reverse(corners.begin(), corners.end());
    Loop loop;
    for (std::size_t i = 0; i < corners.size(); ++i)
        loop.emplace_back(StraightEdge{corners[i], corners[(i + 1) % corners.size()]});
    return loop;
}

/// A circle about the origin as two arcs: none of them ends where it begins.
Loop circleLoop(double radius, double sweep) {
    return {Arc{{}, radius, 0, sweep / 2}, Arc{{}, radius, sweep / 2, sweep / 2}};
}

}  // namespace

EdgePlace placeOn(const OutlineEdge& edge, double s) noexcept {
    return use(edge, [s](const auto& one) { return placeOnEdge(one, s); });
}

double lengthOf(const OutlineEdge& edge) noexcept {
    return use(edge, [](const auto& one) { return lengthOfEdge(one); });
}

double areaOf(const Outline& outline) noexcept {
    double swept = 0;
    forEachEdge(outline, [&](const OutlineEdge& edge) { swept += sweptBy(edge); });
    return swept / 2;
}

double perimeterOf(const Outline& outline) noexcept {
    double length = 0;
    forEachEdge(outline, [&](const OutlineEdge& edge) { length += lengthOf(edge); });
    return length;
}

Circle circleAbout(const Outline& outline) noexcept {
    constexpr int places = 16;
    const auto placeOf = [](int i) { return 2.0 * i / places - 1; };
    constexpr double infinity = std::numeric_limits<double>::infinity();
    PlaneVector least{infinity, infinity};
    PlaneVector most{-infinity, -infinity};
    forEachEdge(outline, [&](const OutlineEdge& edge) {
        for (int i = 0; i <= places; ++i) {
            const PlaneVector at = placeOn(edge, placeOf(i)).at;
            for (std::size_t axis = 0; axis < 2; ++axis) {
                least[axis] = std::min(least[axis], at[axis]);
                most[axis] = std::max(most[axis], at[axis]);
            }
        }
    });
    Circle circle{{(least[0] + most[0]) / 2, (least[1] + most[1]) / 2}, 0};
    forEachEdge(outline, [&](const OutlineEdge& edge) {
        circle.radius =
            std::max(circle.radius,
                     use(edge, [&](const auto& one) { return farthestOf(one, circle.centre); }));
    });
    return circle;
}

Outline rectangleOutline(double width, double height) {
    const double x = width / 2;
    const double y = height / 2;
    return polygonOutline({{-x, -y}, {x, -y}, {x, y}, {-x, y}});
}

Outline discOutline(double radius) { return {{circleLoop(radius, turn)}}; }

Outline ringOutline(double inner, double outer) {
    return {{circleLoop(outer, turn), circleLoop(inner, -turn)}};
}

Outline sectorOutline(double inner, double outer, double from, double sweep) {
    const auto at = [](double radius, double angle) {
        return PlaneVector{radius * std::cos(angle), radius * std::sin(angle)};
    };
    const double to = from + sweep;
    Loop loop{Arc{{}, outer, from, sweep}, StraightEdge{at(outer, to), at(inner, to)}};
    if (inner > 0) loop.emplace_back(Arc{{}, inner, to, -sweep});
    loop.emplace_back(StraightEdge{at(inner, from), at(outer, from)});
    return {{loop}};
}

Outline polygonOutline(const std::vector<PlaneVector>& corners,
                       const std::vector<std::vector<PlaneVector>>& holes) {
    Outline outline{{loopThrough(corners, true)}};
    for (const std::vector<PlaneVector>& hole : holes)
        outline.loops.push_back(loopThrough(hole, false));
    return outline;
}

}  // namespace pistonfield
