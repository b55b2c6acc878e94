// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/outlineChecks.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <sstream>
#include <vector>

namespace pistonfield {

namespace {

bool isFinite(const OutlineEdge& edge) {
    const PlaneVector from = placeOn(edge, -1).at;
    const PlaneVector to = placeOn(edge, 1).at;
    return std::isfinite(from[0]) && std::isfinite(from[1]) && std::isfinite(to[0]) &&
           std::isfinite(to[1]) && std::isfinite(lengthOf(edge));
}

bool isArcRefused(const OutlineEdge& edge) {
    const Arc* const arc = std::get_if<Arc>(&edge);
    return arc != nullptr &&
           !(arc->radius > 0 && std::abs(arc->sweep) <= 2 * std::numbers::pi * (1 + 1e-12));
}

double distanceBetween(const PlaneVector& a, const PlaneVector& b) {
    return std::hypot(a[0] - b[0], a[1] - b[1]);
}

/// Twice the area of a triangle, above 0 where it turns from the x axis to the y axis.
double turnOf(const PlaneVector& a, const PlaneVector& b, const PlaneVector& c) {
    return (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
}

/// Whether two edges have a point in common that is no end of both.
/// @param rounding how far ends may be apart that are the same
bool cross(const StraightEdge& a, const StraightEdge& b, double rounding) {
    const auto separates = [](const StraightEdge& line, const StraightEdge& other) {
        const double from = turnOf(line.from, line.to, other.from);
        const double to = turnOf(line.from, line.to, other.to);
        return (from > 0 && to > 0) || (from < 0 && to < 0);
    };
    if (separates(a, b) || separates(b, a)) return false;
    const auto same = [&](const PlaneVector& p, const PlaneVector& q) {
        return distanceBetween(p, q) <= rounding;
    };
    const bool atBegin = same(a.from, b.from) || same(a.from, b.to);
    if (!atBegin && !same(a.to, b.from) && !same(a.to, b.to)) {
        // On one line they may lie apart.
        for (std::size_t axis = 0; axis < 2; ++axis) {
            const auto [leastA, mostA] = std::minmax(a.from[axis], a.to[axis]);
            const auto [leastB, mostB] = std::minmax(b.from[axis], b.to[axis]);
            if (mostA < leastB || mostB < leastA) return false;
        }
        return true;
    }
    // Neighbours meet in their common end alone, unless one turns back onto the other.
    const PlaneVector& end = atBegin ? a.from : a.to;
    const PlaneVector& otherA = atBegin ? a.to : a.from;
    const PlaneVector& otherB = same(end, b.from) ? b.to : b.from;
    const double along =
        (otherA[0] - end[0]) * (otherB[0] - end[0]) + (otherA[1] - end[1]) * (otherB[1] - end[1]);
    return turnOf(end, otherA, otherB) == 0 && along > 0;
}

/// Where two edges may meet that are not both straight.
using Meetings = std::vector<PlaneVector>;

/// Within so much of an end that two edges share they may touch each other: an arc that goes on
/// along its tangent is off by the square root of its rounding there.
double besideEnds(double rounding, double size) { return 2 * std::sqrt(rounding * size); }

PlaneVector endOf(const OutlineEdge& edge, double s) { return placeOn(edge, s).at; }

/// Whether a place on an arc's circle lies on the arc, or within rounding of its ends.
bool isOn(const Arc& arc, const PlaneVector& place, double rounding) {
    constexpr double turn = 2 * std::numbers::pi;
    const double angle = std::atan2(place[1] - arc.centre[1], place[0] - arc.centre[0]);
    const double beyond = std::copysign(1.0, arc.sweep) * (angle - arc.from) / turn;
    return (beyond - std::floor(beyond)) * turn <= std::abs(arc.sweep) ||
           distanceBetween(place, endOf(arc, -1)) <= rounding ||
           distanceBetween(place, endOf(arc, 1)) <= rounding;
}

/// Whether a place on a straight edge's line lies between its ends, or within rounding of them.
bool isOn(const StraightEdge& edge, const PlaneVector& place, double rounding) {
    return distanceBetween(place, edge.from) + distanceBetween(place, edge.to) <=
           distanceBetween(edge.from, edge.to) + 2 * rounding;
}

/// Where a line goes through a circle, by more than rounding.
Meetings meetingsOf(const StraightEdge& edge, const Arc& arc, double rounding) {
    const double length = distanceBetween(edge.from, edge.to);
    const PlaneVector along{(edge.to[0] - edge.from[0]) / length,
                            (edge.to[1] - edge.from[1]) / length};
    const PlaneVector from{arc.centre[0] - edge.from[0], arc.centre[1] - edge.from[1]};
    const double beside = along[0] * from[1] - along[1] * from[0];
    if (!(std::abs(beside) < arc.radius - rounding)) return {};
    const double middle = along[0] * from[0] + along[1] * from[1];
    const double half = std::sqrt((arc.radius - beside) * (arc.radius + beside));
    const auto at = [&](double way) {
        return PlaneVector{edge.from[0] + way * along[0], edge.from[1] + way * along[1]};
    };
    return {at(middle - half), at(middle + half)};
}

Meetings meetingsOf(const Arc& arc, const StraightEdge& edge, double rounding) {
    return meetingsOf(edge, arc, rounding);
}

/// Where two circles go through each other, by more than rounding; of equal circles what of one arc
/// could lie on the other one.
Meetings meetingsOf(const Arc& a, const Arc& b, double rounding) {
    const double apart = distanceBetween(a.centre, b.centre);
    const double difference = std::abs(a.radius - b.radius);
    if (apart <= rounding && difference <= rounding)
        return {endOf(a, -1), endOf(a, 0), endOf(a, 1), endOf(b, -1), endOf(b, 0), endOf(b, 1)};
    if (!(apart < a.radius + b.radius - rounding && apart > difference + rounding)) return {};
    const double way =
        (apart + (a.radius - b.radius) * (a.radius + b.radius) / apart) / 2;  // from a's centre
    const double half = std::sqrt(std::max(0.0, (a.radius - way) * (a.radius + way)));
    const PlaneVector along{(b.centre[0] - a.centre[0]) / apart,
                            (b.centre[1] - a.centre[1]) / apart};
    const auto at = [&](double across) {
        return PlaneVector{a.centre[0] + way * along[0] - across * along[1],
                           a.centre[1] + way * along[1] + across * along[0]};
    };
    return {at(-half), at(half)};
}

Meetings meetingsOf(const StraightEdge& /*a*/, const StraightEdge& /*b*/, double /*rounding*/) {
    return {};
}

/// Whether a place is an end of both edges, or lies beside one.
bool isSharedEnd(const PlaneVector& place, const OutlineEdge& a, const OutlineEdge& b,
                 double rounding, double beside) {
    for (const double onA : {-1.0, 1.0})
        for (const double onB : {-1.0, 1.0})
            if (distanceBetween(endOf(a, onA), endOf(b, onB)) <= rounding &&
                distanceBetween(place, endOf(a, onA)) <= beside)
                return true;
    return false;
}

/// Whether two edges have a point in common that is no end of both.
/// @param rounding how far ends may be apart that are the same
/// @param beside   how near to an end that they share they are not looked at
bool cross(const OutlineEdge& a, const OutlineEdge& b, double rounding, double beside) {
    const auto* const straightA = std::get_if<StraightEdge>(&a);
    const auto* const straightB = std::get_if<StraightEdge>(&b);
    if (straightA != nullptr && straightB != nullptr)
        return cross(*straightA, *straightB, rounding);
    return std::visit(
        [&](const auto& one, const auto& other) {
            const Meetings meetings = meetingsOf(one, other, rounding);
            return std::any_of(meetings.begin(), meetings.end(), [&](const PlaneVector& place) {
                return isOn(one, place, rounding) && isOn(other, place, rounding) &&
                       !isSharedEnd(place, a, b, rounding, beside);
            });
        },
        a, b);
}

std::string numberOf(std::size_t i) { return "edge " + std::to_string(i + 1); }

std::string textOf(const PlaneVector& place, double rounding) {
    const auto rounded = [rounding](double x) { return std::abs(x) <= rounding ? 0 : x; };
    std::ostringstream text;
    text << "(" << rounded(place[0]) << ", " << rounded(place[1]) << ")";
    return text.str();
}

/// An edge by its ends, which stay the same whichever way its loop turns.
std::string nameOf(const OutlineEdge& edge, double rounding) {
    const std::string kind =
        std::holds_alternative<Arc>(edge) ? "the arc between " : "the one between ";
    return kind + textOf(endOf(edge, -1), rounding) + " and " + textOf(endOf(edge, 1), rounding);
}

/// What an edge spans along x.
struct Span {
    const OutlineEdge* edge;
    double least, most;
};

Span spanOf(const OutlineEdge& edge) {
    const double from = endOf(edge, -1)[0];
    const double to = endOf(edge, 1)[0];
    Span span{&edge, std::min(from, to), std::max(from, to)};
    if (const Arc* const arc = std::get_if<Arc>(&edge)) {
        const double left = arc->centre[0] - arc->radius;
        const double right = arc->centre[0] + arc->radius;
        if (isOn(*arc, {left, arc->centre[1]}, 0)) span.least = left;
        if (isOn(*arc, {right, arc->centre[1]}, 0)) span.most = right;
    }
    return span;
}

std::string whyCrossing(const std::vector<Loop>& loops, double rounding, double size) {
    // In the order of their least x, an edge meets those only that begin before its end.
    std::vector<Span> sorted;
    for (const Loop& loop : loops)
        std::transform(loop.begin(), loop.end(), std::back_inserter(sorted), spanOf);
    std::sort(sorted.begin(), sorted.end(),
              [](const Span& a, const Span& b) { return a.least < b.least; });
    const double beside = besideEnds(rounding, size);
    for (std::size_t i = 0; i < sorted.size(); ++i)
        for (std::size_t l = i + 1; l < sorted.size() && sorted[l].least <= sorted[i].most; ++l)
            if (cross(*sorted[i].edge, *sorted[l].edge, rounding, beside))
                return "two of its edges cross: " + nameOf(*sorted[i].edge, rounding) + ", and " +
                       nameOf(*sorted[l].edge, rounding);
    return {};
}

/// The angle by which an edge is seen to turn from a place that is not on it.
double angleOf(const StraightEdge& edge, const PlaneVector& seenFrom) {
    const PlaneVector from{edge.from[0] - seenFrom[0], edge.from[1] - seenFrom[1]};
    const PlaneVector to{edge.to[0] - seenFrom[0], edge.to[1] - seenFrom[1]};
    return std::atan2(from[0] * to[1] - from[1] * to[0], from[0] * to[0] + from[1] * to[1]);
}

/// That of its chord, and one turn more from between the two.
double angleOf(const Arc& arc, const PlaneVector& seenFrom) {
    const StraightEdge chord{placeOn(arc, -1).at, placeOn(arc, 1).at};
    const double turn = std::copysign(2 * std::numbers::pi, arc.sweep);
    const bool isWhole = std::abs(arc.sweep) > 2 * std::numbers::pi * (1 - 1e-9);
    const bool isBeyondChord = isWhole || turn * turnOf(chord.from, chord.to, seenFrom) < 0;
    const bool isWithin = distanceBetween(arc.centre, seenFrom) < arc.radius && isBeyondChord;
    return (isWhole ? 0 : angleOf(chord, seenFrom)) + (isWithin ? turn : 0);
}

/// How often a loop goes about a place that is not on it.
int turnsAbout(const Loop& loop, const PlaneVector& place) {
    double angle = 0;
    for (const OutlineEdge& edge : loop)
        angle += std::visit([&](const auto& one) { return angleOf(one, place); }, edge);
    return static_cast<int>(std::lround(angle / (2 * std::numbers::pi)));
}

/// Whether no loop overlaps another one: about each hole the others turn once, about each other
/// loop never.
bool areNested(const std::vector<Loop>& loops) {
    for (const Loop& loop : loops) {
        // No corner, which another loop may have as well.
        const PlaneVector place = placeOn(loop.front(), 0.1).at;
        int turns = 0;
        for (const Loop& other : loops)
            if (&other != &loop) turns += turnsAbout(other, place);
        if (turns != (areaOf({{loop}}) < 0 ? 1 : 0)) return false;
    }
    return true;
}

}  // namespace

std::string whyRefused(const Outline& outline, std::size_t mostEdges) {
    std::size_t count = 0;
    for (const Loop& loop : outline.loops) {
        if (loop.empty()) return "one of its loops has no edges";
        for (const OutlineEdge& edge : loop) {
            if (count == mostEdges) return "its edges are more than " + std::to_string(mostEdges);
            if (!isFinite(edge)) return numberOf(count) + ": every number must be finite";
            if (!(lengthOf(edge) > 0)) return numberOf(count) + " has no length";
            if (isArcRefused(edge))
                return numberOf(count) + ": an arc has a radius above 0 and at most a whole turn";
            ++count;
        }
    }
    if (count == 0) return "there are no edges";
    constexpr double rounding = 1e-9;
    const double size = circleAbout(outline).radius;
    for (const Loop& loop : outline.loops)
        for (std::size_t i = 0; i < loop.size(); ++i)
            if (distanceBetween(placeOn(loop[i], 1).at,
                                placeOn(loop[(i + 1) % loop.size()], -1).at) > rounding * size)
                return "one of its loops is not closed";
    if (!(areaOf(outline) > 0))
        return "there is no area inside, or its loops have it on their right";
    if (std::string reason = whyCrossing(outline.loops, rounding * size, size); !reason.empty())
        return reason;
    return areNested(outline.loops) ? "" : "two of its loops overlap, or a hole lies in none";
}

}  // namespace pistonfield
