// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/Orders.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace pistonfield {

namespace {

using Row = EllipseBounds::Row;

/// More nodes than any edge takes; what a bound that holds for no ellipse gives.
constexpr float tooMany = 1 << 20;

/// The nodes that one of the ellipses allows: the least of (offset + half*imaginary + needed) *
/// perDigit, where `needed` is the logarithm of the amplitude over the tolerance.
float nodesOf(const Row& offset, float half, const Row& imaginary, float needed,
              const Row& perDigit) {
    float least = tooMany;
    for (std::size_t j = 0; j < offset.size(); ++j)
        least = std::min(least, (offset[j] + half * imaginary[j] + needed) * perDigit[j]);
    return least;
}

int wholeNodes(float nodes) { return std::max(1, static_cast<int>(std::ceil(nodes))); }

float hypotenuse(float a, float b) { return std::sqrt(a * a + b * b); }

}  // namespace

/// An edge as points see it.
struct Orders::Edge {
    float half;   ///< half its length
    Span middle;  ///< the distance of its middle from the foot, along it
    Span offset;  ///< the distance of its line from the foot
    float z;      ///< the least |z|

    float height() const { return hypotenuse(offset.least, z); }
};

/// An integral of exp(-jR)/R times an amplitude.
struct Orders::Integral {
    float half;    ///< half the interval's length
    Span middle;   ///< the distance of its middle from t = 0
    float height;  ///< the least h
    float amplitude;
    float tolerance;
};

int Orders::orderOf(const Integral& of) const {
    const auto range = EllipseBounds::cellsOf(of.middle.least / of.half, of.middle.most / of.half,
                                              of.height / of.half);
    const float needed = std::log(of.amplitude / (of.tolerance * range.factor));
    float nodes = 0;
    for (int mu = range.first; mu <= range.last; ++mu) {
        const auto& cell = bounds.at(mu, range.height);
        nodes = std::max(nodes,
                         nodesOf(cell.offset, of.half, cell.imaginary, needed, bounds.perDigit()));
    }
    return wholeNodes(nodes);
}

/// Of the integral of 2e/D alone, which has its poles at t = +-je.
int Orders::orderOfAngle(const Edge& edge, float tolerance) const {
    const auto range = EllipseBounds::cellsOf(
        edge.middle.least / edge.half, edge.middle.most / edge.half, edge.offset.least / edge.half);
    const float needed =
        std::log(2 * edge.offset.most / (edge.half * tolerance * range.factor * range.factor));
    float nodes = 0;
    for (int mu = range.first; mu <= range.last; ++mu) {
        // |D| is at least the square of the least |R| for the height e.
        Row offset = bounds.at(mu, range.height).offset;
        for (std::size_t j = 0; j < offset.size(); ++j)
            offset[j] = 2 * offset[j] - bounds.constants()[j];
        nodes = std::max(nodes, nodesOf(offset, 0, offset, needed, bounds.perDigit()));
    }
    return wholeNodes(nodes);
}

Panels Orders::gradedPanels(const Edge& edge, float amplitude, float tolerance,
                            float height) const {
    const float reach = edge.middle.most + edge.half;
    Panels panels;
    float length = reach;
    for (; length > 2 * height && panels.gradings < Panels::mostGradings; length /= 4)
        ++panels.gradings;
    const float share = tolerance / static_cast<float>(2 * panels.gradings + 1);
    length = reach;
    for (int i = 0; i < panels.gradings; ++i, length /= 4) {
        const float middle = 0.625F * length;
        panels.outer[static_cast<std::size_t>(i)] = OrderLadder::rungOf(
            orderOf({0.375F * length, {middle, middle}, height, amplitude, share}));
    }
    panels.inner = OrderLadder::rungOf(orderOf({length, {0, 0}, height, amplitude, share}));
    return panels;
}

Panels Orders::panelsOf(const Edge& edge, float amplitude, float tolerance) const {
    // Points nearer than this to an edge's line get next to nothing from the edge beside them: its
    // inner panel is below 10 times their distance, and so is what a rule makes of it.
    const float height = std::max(edge.height(), tolerance / 256);
    Panels whole;
    const int nodes = orderOf({edge.half, edge.middle, height, amplitude, tolerance});
    whole.inner = OrderLadder::rungOf(std::min(nodes, 1 << 16));
    if (height > 0.5F * edge.half || edge.middle.least > 1.5F * edge.half) return whole;
    const Panels graded = gradedPanels(edge, amplitude, tolerance, height);
    const int sides = edge.middle.least < edge.half ? 2 : 1;
    int gradedNodes = OrderLadder::nodesOf(graded.inner);
    for (int i = 0; i < graded.gradings; ++i)
        gradedNodes += sides * OrderLadder::nodesOf(graded.outer[static_cast<std::size_t>(i)]);
    return gradedNodes < nodes ? graded : whole;
}

PointOrders Orders::choose(Formula formula, const Extent& extent, float tolerance) const {
    return formula == Formula::lines ? ofLines(extent, tolerance)
                                     : ofEdges(formula, extent, tolerance);
}

PointOrders Orders::ofEdges(Formula formula, const Extent& at, float tolerance) const {
    const auto halfX = static_cast<float>(face.halfX);
    const auto halfY = static_cast<float>(face.halfY);
    const auto edgeOf = [&](float half, const Span& along, const Span& across, float line) {
        return Edge{half, along, {across.leastDistance(line), across.largestDistance(line)}, at.z};
    };
    const std::array<Edge, 4> edges{
        edgeOf(halfX, at.x, at.y, halfY), edgeOf(halfX, at.x, at.y, -halfY),
        edgeOf(halfY, at.y, at.x, halfX), edgeOf(halfY, at.y, at.x, -halfX)};
    // The pressure is the sum of the integrals over 2pi.
    float share = 2 * std::numbers::pi_v<float> / 4 * tolerance;
    if (formula == Formula::edgesBeside) share /= 2;
    PointOrders orders{formula, {}, 0};
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const float amplitude = std::max(edges[i].offset.most, share);
        orders.edges[i] = panelsOf(edges[i], amplitude, share);
        if (formula != Formula::edgesBeside) continue;
        Panels& panels = orders.edges[i];
        panels.gradings = 0;
        panels.inner = OrderLadder::rungOf(
            std::max(orderOf({edges[i].half, edges[i].middle, edges[i].height(), amplitude, share}),
                     orderOfAngle(edges[i], share)));
    }
    return orders;
}

PointOrders Orders::ofLines(const Extent& at, float tolerance) const {
    const bool alongX = face.halfX > face.halfY;
    const auto half = static_cast<float>(alongX ? face.halfX : face.halfY);
    const auto halfAcross = static_cast<float>(alongX ? face.halfY : face.halfX);
    const Span& along = alongX ? at.x : at.y;
    const Span& across = alongX ? at.y : at.x;
    const float share = std::numbers::pi_v<float> * tolerance;
    const float nearest = std::max(0.0F, across.least - halfAcross);
    const Edge line{half, along, {nearest, across.most + halfAcross}, at.z};
    PointOrders orders{Formula::lines, {}, 0};
    orders.edges[0] = panelsOf(line, 1, share / (2 * halfAcross));
    const float toLine = std::max(0.0F, along.least - half);
    orders.across = OrderLadder::rungOf(
        orderOf({halfAcross, across, hypotenuse(toLine, at.z), 2 * half, share}));
    return orders;
}

}  // namespace pistonfield
