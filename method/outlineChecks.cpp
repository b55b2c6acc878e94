// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/outlineChecks.h"

#include <algorithm>
#include <cmath>
#include <numbers>
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

std::string numberOf(std::size_t i) { return "edge " + std::to_string(i + 1); }

std::string whyCrossing(const std::vector<StraightEdge>& edges, double rounding) {
    // In the order of their least x, an edge meets those only that begin before its end.
    std::vector<const StraightEdge*> sorted;
    sorted.reserve(edges.size());
    for (const StraightEdge& edge : edges) sorted.push_back(&edge);
    const auto leastOf = [](const StraightEdge* edge) {
        return std::min(edge->from[0], edge->to[0]);
    };
    std::sort(sorted.begin(), sorted.end(), [&](const StraightEdge* a, const StraightEdge* b) {
        return leastOf(a) < leastOf(b);
    });
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        const double end = std::max(sorted[i]->from[0], sorted[i]->to[0]);
        for (std::size_t l = i + 1; l < sorted.size() && leastOf(sorted[l]) <= end; ++l)
            if (cross(*sorted[i], *sorted[l], rounding)) return "two of its edges cross";
    }
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
    std::vector<StraightEdge> straight;
    std::size_t count = 0;
    for (const Loop& loop : outline.loops) {
        if (loop.empty()) return "one of its loops has no edges";
        for (const OutlineEdge& edge : loop) {
            if (count == mostEdges) return "its edges are more than " + std::to_string(mostEdges);
            if (!isFinite(edge)) return numberOf(count) + ": every number must be finite";
            if (!(lengthOf(edge) > 0)) return numberOf(count) + " has no length";
            if (isArcRefused(edge))
                return numberOf(count) + ": an arc has a radius above 0 and at most a whole turn";
            if (const auto* const one = std::get_if<StraightEdge>(&edge)) straight.push_back(*one);
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
    if (std::string reason = whyCrossing(straight, rounding * size); !reason.empty()) return reason;
    return areNested(outline.loops) ? "" : "two of its loops overlap, or a hole lies in none";
}

}  // namespace pistonfield
