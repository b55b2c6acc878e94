// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "EdgeIntegrals.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>

#include "method/RectangleField.h"
#include "reference/Legendre.h"

namespace edge_integrals {

namespace {

using pistonfield::Face;
using pistonfield::GroupPoints;
using pistonfield::groupSize;

/// An edge as a point sees it.
struct Edge {
    long double half;    ///< half its length
    long double along;   ///< from its middle to the foot
    long double offset;  ///< e
    long double z;
};

Edge edgeOf(const Face& face, int edge, const Position& at) {
    const long double x = at.x;
    const long double y = at.y;
    switch (edge) {
        case 0:
            return {face.halfX, x, face.halfY - y, at.z};
        case 1:
            return {face.halfX, x, face.halfY + y, at.z};
        case 2:
            return {face.halfY, y, face.halfX - x, at.z};
        default:
            return {face.halfY, y, face.halfX + x, at.z};
    }
}

/// (exp(-jR) - exp(-jz))/D, but for the factor exp(-jz), without cancellation.
Complex integrand(const Edge& edge, long double t) {
    const long double D = edge.offset * edge.offset + t * t;
    const long double half = D / (std::sqrt(D + edge.z * edge.z) + edge.z) / 2;
    return Complex(0, -2 * std::sin(half) / D) * std::polar(1.0L, -half);
}

Complex byPanel(const Edge& edge, long double from, long double to) {
    static const reference::Rule rule = reference::legendreRule(16);
    Complex sum;
    for (std::size_t i = 0; i < rule.nodes.size(); ++i) {
        const auto node = static_cast<long double>(rule.nodes[i]);
        const auto weight = static_cast<long double>(rule.weights[i]);
        sum += weight * integrand(edge, (from + to) / 2 + (to - from) / 2 * node);
    }
    return (to - from) / 2 * sum;
}

/// From `begin` >= 0 to `end`, measured from the foot: panels no longer than they are far from the
/// foot, in pieces of up to a third of a wavelength.
Complex between(const Edge& edge, long double begin, long double end) {
    const long double nearest = std::hypot(edge.offset, edge.z) / 2;
    Complex sum;
    while (end > begin) {
        const long double from = end > nearest ? std::max(begin, end / 2) : begin;
        const auto pieces = static_cast<int>(std::ceil((end - from) / 2));
        const long double length = (end - from) / pieces;
        for (int i = 0; i < pieces; ++i)
            sum += byPanel(edge, from + i * length, from + (i + 1) * length);
        end = from;
    }
    return sum;
}

}  // namespace

Position positionOf(const GroupPoints& points, int i) {
    return {points.x[i], points.y[i], points.z[i]};
}

Complex exact(const Face& face, int edge, const Position& at) {
    const Edge of = edgeOf(face, edge, at);
    if (of.offset == 0) return 0;
    const long double nearer = of.half - of.along;
    const long double farther = of.half + of.along;
    const Complex integral = nearer < 0 ? between(of, -nearer, farther)
                                        : between(of, 0, nearer) + between(of, 0, farther);
    return of.offset * std::polar(1.0L, -of.z) * integral;
}

Complex byRule(const Face& face, int edge, const Position& at,
               const pistonfield::Nodes<double>& rule) {
    const Edge of = edgeOf(face, edge, at);
    if (of.offset == 0) return 0;
    Complex sum;
    for (int i = 0; i < rule.count; ++i)
        sum += static_cast<long double>(rule.weights[i]) *
               integrand(of, of.half * rule.abscissas[i] - of.along);
    return of.half * of.offset * std::polar(1.0L, -of.z) * sum;
}

Complex pressure(const Face& face, const Position& at) {
    Complex sum;
    for (int edge = 0; edge < 4; ++edge) sum += exact(face, edge, at);
    return Complex(0, 0.5L * std::numbers::inv_pi_v<long double>) * sum;
}

GroupPoints groupAlong(const Position& from, const Position& step) {
    GroupPoints points;
    for (int i = 0; i < groupSize; ++i) {
        points.x[i] = std::fabs(from.x + i * step.x);
        points.y[i] = std::fabs(from.y + i * step.y);
        points.z[i] = std::fabs(from.z + i * step.z);
    }
    pistonfield::findPlace(points, 1);
    return points;
}

double leastAmplitude(const Face& face, const GroupPoints& points) {
    const double quarter = std::sqrt(face.halfX * face.halfY) / 2;
    const double distance = std::max(points.place.reach, quarter);
    return std::min(1.0, 2 * face.halfX * face.halfY / std::numbers::pi / distance);
}

Face randomFace(Random& random, double ratio) {
    const double longer = random.magnitude(-1, 1.3);
    const double shorter = std::max(longer / std::pow(ratio, random.between(0, 1)), 4e-5);
    Face face{longer, shorter};
    if (random.below(2) == 0) std::swap(face.halfX, face.halfY);
    return face;
}

}  // namespace edge_integrals
