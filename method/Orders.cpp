// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/Orders.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

namespace pistonfield {

namespace {

using Row = EllipseBounds::Row;

/// What a bound that holds for no ellipse gives: more nodes than any edge takes.
constexpr float tooMany = OrderLadder::mostNodes;

/// The nodes that one of the ellipses allows: the least of (offset + half*imaginary + needed) *
/// perDigit, where `needed` is the logarithm of the amplitude over the tolerance.
float leastNodes(const Row& offset, float half, const Row& imaginary, float needed,
                 const Row& perDigit) {
    float least = tooMany;
    for (std::size_t j = 0; j < offset.size(); ++j)
        least = std::min(least, (offset[j] + half * imaginary[j] + needed) * perDigit[j]);
    return least;
}

/// The same for a cell of the bounds.
float nodesIn(int mu, int eta, float half, float needed) {
    const EllipseBounds& bounds = EllipseBounds::instance();
    const auto& cell = bounds.at(mu, eta);
    return leastNodes(cell.offset, half, cell.imaginary, needed, bounds.perDigit());
}

int wholeNodes(float nodes) { return std::max(1, static_cast<int>(std::ceil(nodes))); }

float hypotenuse(float a, float b) { return std::sqrt(a * a + b * b); }

}  // namespace

/// An edge as points see it.
struct Orders::Edge {
    const KnownOrders* known;
    float half;   ///< half its length
    Span middle;  ///< the distance of its middle from the foot, along it
    Span offset;  ///< the distance of its line from the foot
    float z;      ///< the least |z|

    float height() const { return hypotenuse(offset.least, z); }
};

int Orders::nodesOf(const Integral& of) {
    const auto range = EllipseBounds::cellsOf(of.middle.least / of.half, of.middle.most / of.half,
                                              of.height / of.half);
    const float needed = std::log(of.amplitude / (of.tolerance * range.factor));
    float nodes = 0;
    for (int mu = range.first; mu <= range.last; ++mu)
        nodes = std::max(nodes, nodesIn(mu, range.height, of.half, needed));
    return wholeNodes(nodes);
}

KnownOrders::KnownOrders(float half)
    : length(half),
      inverse(1 / half),
      rungs(std::size_t{EllipseBounds::widths} * EllipseBounds::heights * levels) {}

Rung KnownOrders::rungOf(const Span& middle, float height, float amplitude, float tolerance) const {
    // Wider by more than the rounding of the products.
    constexpr float below = 1 - 0x1p-20F;
    constexpr float above = 1 + 0x1p-20F;
    const auto range = EllipseBounds::cellsOf(
        middle.least * inverse * below, middle.most * inverse * above, height * inverse * below);
    // The exponent of the next power of 2, from the float's bits.
    const float ratio = amplitude / (tolerance * range.factor);
    const int power = (std::bit_cast<int>(ratio) >> 23) - 127 + 1;
    const int level = std::max(power + levelOfOne, 0);
    constexpr int mostPower = 128;
    if (power > mostPower) return OrderLadder::rungOf(OrderLadder::mostNodes);
    Rung rung = 0;
    for (int mu = range.first; mu <= range.last; ++mu)
        rung = std::max(rung, rungOf(mu, range.height, level));
    return rung;
}

Rung KnownOrders::rungOf(int mu, int eta, int level) const {
    if (level >= levels) return newRungOf(mu, eta, level);
    const int number = (mu * EllipseBounds::heights + eta) * levels + level;
    const auto at = static_cast<std::size_t>(number);
    const int known = rungs[at].load(std::memory_order_relaxed);
    if (known > 0) return static_cast<Rung>(known - 1);
    const Rung rung = newRungOf(mu, eta, level);
    rungs[at].store(static_cast<std::int16_t>(rung + 1), std::memory_order_relaxed);
    return rung;
}

Rung KnownOrders::newRungOf(int mu, int eta, int level) const {
    const float needed = static_cast<float>(level - levelOfOne) * std::numbers::ln2_v<float>;
    return OrderLadder::rungOf(wholeNodes(nodesIn(mu, eta, length, needed)));
}

Orders::Orders(const Face& face)
    : face(face),
      known{KnownOrders(static_cast<float>(face.halfX)),
            KnownOrders(static_cast<float>(face.halfY))} {}

/// Of the integral of 2e/D alone, which has its poles at t = +-je.
int Orders::orderOfAngle(const Edge& edge, float tolerance) {
    const auto range = EllipseBounds::cellsOf(
        edge.middle.least / edge.half, edge.middle.most / edge.half, edge.offset.least / edge.half);
    const float needed =
        std::log(2 * edge.offset.most / (edge.half * tolerance * range.factor * range.factor));
    float nodes = 0;
    const EllipseBounds& bounds = EllipseBounds::instance();
    for (int mu = range.first; mu <= range.last; ++mu) {
        // |D| is at least the square of the least |R| for the height e.
        Row offset = bounds.at(mu, range.height).offset;
        for (std::size_t j = 0; j < offset.size(); ++j)
            offset[j] = 2 * offset[j] - bounds.constants()[j];
        nodes = std::max(nodes, leastNodes(offset, 0, Row{}, needed, bounds.perDigit()));
    }
    return wholeNodes(nodes);
}

Panels Orders::gradedPanels(const Edge& edge, float amplitude, float tolerance, float height) {
    const float reach = edge.middle.most + edge.half;
    Panels panels;
    float length = reach;
    while (length > 2 * height && panels.gradings < Panels::mostGradings) {
        length /= 4;
        ++panels.gradings;
    }
    const float share = tolerance / static_cast<float>(2 * panels.gradings + 1);
    length = reach;
    for (int i = 0; i < panels.gradings; ++i) {
        const float middle = 0.625F * length;
        panels.outer[i] = OrderLadder::rungOf(
            nodesOf({0.375F * length, {middle, middle}, height, amplitude, share}));
        length /= 4;
    }
    panels.inner = OrderLadder::rungOf(nodesOf({length, {0, 0}, height, amplitude, share}));
    return panels;
}

Panels Orders::panelsOf(const Edge& edge, float amplitude, float tolerance, float height) {
    Panels whole;
    whole.inner = edge.known->rungOf(edge.middle, height, amplitude, tolerance);
    if (height > 0.5F * edge.half || edge.middle.least > 1.5F * edge.half) return whole;
    const Panels graded = gradedPanels(edge, amplitude, tolerance, height);
    const int sides = edge.middle.least < edge.half ? 2 : 1;
    int gradedNodes = OrderLadder::nodesOf(graded.inner);
    for (int i = 0; i < graded.gradings; ++i)
        gradedNodes += sides * OrderLadder::nodesOf(graded.outer[i]);
    return gradedNodes < OrderLadder::nodesOf(whole.inner) ? graded : whole;
}

Orders::Edge Orders::edgeOf(const SeenEdge& seen) const {
    const KnownOrders& of = known[seen.alongX ? 0 : 1];
    return {&of, of.half(), seen.along, seen.offset, seen.z};
}

Panels Orders::ofEdge(const SeenEdge& seen, float tolerance) const {
    const Edge edge = edgeOf(seen);
    // Points nearer than this to an edge's line get next to nothing from the edge beside them: all
    // of its panels together are below 200 times their distance, and so is what a rule makes of
    // them.
    const float height = std::max(edge.height(), tolerance / 256);
    return panelsOf(edge, std::max(edge.offset.most, tolerance), tolerance, height);
}

Panels Orders::ofEdgeBeside(const SeenEdge& seen, float tolerance) const {
    const Edge edge = edgeOf(seen);
    const float amplitude = std::max(edge.offset.most, tolerance);
    Panels whole;
    whole.inner = std::max(edge.known->rungOf(edge.middle, edge.height(), amplitude, tolerance),
                           OrderLadder::rungOf(orderOfAngle(edge, tolerance)));
    return whole;
}

PointOrders Orders::choose(Formula formula, const Extent& extent, float tolerance) const {
    return formula == Formula::lines ? ofLines(extent, tolerance)
                                     : ofEdges(formula, extent, tolerance);
}

PointOrders Orders::ofEdges(Formula formula, const Extent& at, float tolerance) const {
    const auto halfX = static_cast<float>(face.halfX);
    const auto halfY = static_cast<float>(face.halfY);
    const auto edgeOf = [&](bool alongX, const Span& along, const Span& across, float line) {
        return SeenEdge{
            alongX, along, {across.leastDistance(line), across.largestDistance(line)}, at.z};
    };
    const std::array<SeenEdge, 4> edges{
        edgeOf(true, at.x, at.y, halfY), edgeOf(true, at.x, at.y, -halfY),
        edgeOf(false, at.y, at.x, halfX), edgeOf(false, at.y, at.x, -halfX)};
    // The pressure is the sum of the integrals over 2pi.
    const float share = 2 * std::numbers::pi_v<float> / 4 * tolerance;
    PointOrders orders{formula, {}, 0};
    for (std::size_t i = 0; i < edges.size(); ++i)
        orders.edges[i] =
            formula == Formula::edges ? ofEdge(edges[i], share) : ofEdgeBeside(edges[i], share / 2);
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
    const Edge line{&known[alongX ? 0 : 1], half, along, {nearest, across.most + halfAcross}, at.z};
    PointOrders orders{Formula::lines, {}, 0};
    orders.edges[0] = panelsOf(line, 1, share / (2 * halfAcross), line.height());
    const float toLine = std::max(0.0F, along.least - half);
    orders.across = OrderLadder::rungOf(
        nodesOf({halfAcross, across, hypotenuse(toLine, at.z), 2 * half, share}));
    return orders;
}

}  // namespace pistonfield
