// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "reference/NearField.h"

#include <algorithm>
#include <cstddef>

namespace reference {
namespace {

QuadComplex phasor(Quad angle) {
    QuadComplex e;
    sincosq(angle, &e.im, &e.re);
    return e;
}

EdgeIntegral operator+(const EdgeIntegral& a, const EdgeIntegral& b) {
    return {a.value + b.value, a.bound + b.bound, a.drift + b.drift};
}

EdgeIntegral doubled(const EdgeIntegral& a) { return {2 * a.value, 2 * a.bound, 2 * a.drift}; }

Quad furthest(Quad a, Quad b) { return std::max(fabsq(a), fabsq(b)); }

/// The integrals along edges, for one point.
class Edges {
  public:
    Edges(Quad z, Quad k, const Rule& rule) : z(z), k(k), rule(rule), atFoot(phasor(-k * z)) {}

    [[nodiscard]] EdgeIntegral over(Quad offset, Quad from, Quad to) const {
        const Quad half = (to - from) / 2;
        const Quad middle = (from + to) / 2;
        const Quad extent = furthest(from, to);
        EdgeIntegral sum{};
        for (std::size_t i = 0; i < rule.nodes.size(); ++i) {
            const Quad t = half * rule.nodes[i] + middle;
            const Quad d = offset * offset + t * t;
            const Quad weight = half * rule.weights[i] / d;
            const QuadComplex f = weight * (phasor(-k * sqrtq(z * z + d)) - atFoot);
            const Quad drift = extent * 2 * fabsq(t) / d * (fabsq(f.re) + fabsq(f.im));
            sum = sum + EdgeIntegral{f, 2 * fabsq(weight), drift};
        }
        return sum;
    }

    [[nodiscard]] EdgeIntegral over(Quad offset, Quad from, Quad to, Span span) const {
        switch (span) {
            case Span::split:
                return over(offset, from, 0) + over(offset, 0, to);
            case Span::doubledUpper:
                return doubled(over(offset, 0, to));
            case Span::doubledWhole:
                return doubled(over(offset, from, to));
            default:
                return over(offset, from, to);
        }
    }

  private:
    Quad z;
    Quad k;
    const Rule& rule;
    QuadComplex atFoot;
};

bool isThin(Quad from, Quad to) { return fabsq(from - to) < static_cast<Quad>(1e-7); }

Span wholeOrSplit(Quad from, Quad to) { return (from > 0) != (to > 0) ? Span::split : Span::whole; }

}  // namespace

Offsets offsetsOf(Quad px, Quad py, Quad halfX, Quad halfY) {
    return {px - halfX, px + halfX, py - halfY, py + halfY};
}

Spans hostSpans(const Offsets& o) {
    return {isThin(o.y1, o.y2) ? Span::doubledUpper : wholeOrSplit(o.y1, o.y2),
            isThin(o.x1, o.x2) ? Span::doubledWhole : wholeOrSplit(o.x1, o.x2)};
}

EdgeIntegral edgeIntegral(Quad offset, Quad from, Quad to, Quad z, Quad k, const Rule& rule) {
    return Edges(z, k, rule).over(offset, from, to);
}

Quad errorMeasure(const Field& field, Quad k) { return (1 + k * field.reach) * field.scale; }

Quad errorMeasureWithDrift(const Field& field, Quad k) {
    return errorMeasure(field, k) + field.drift;
}

Field nearField(const Offsets& o, Quad z, Quad k, const Rule& rule, Spans spans) {
    const Edges edges(z, k, rule);
    QuadComplex sum;
    Quad bound = 0;
    Quad drift = 0;
    const auto add = [&](int sign, Quad offset, Quad from, Quad to, Span span) {
        const EdgeIntegral edge = edges.over(offset, from, to, span);
        sum = sum + static_cast<Quad>(sign) * offset * edge.value;
        bound += fabsq(offset) * edge.bound;
        drift += fabsq(offset) * edge.drift;
    };
    add(+1, o.x1, o.y1, o.y2, spans.alongY);
    add(-1, o.x2, o.y1, o.y2, spans.alongY);
    add(+1, o.y1, o.x1, o.x2, spans.alongX);
    add(-1, o.y2, o.x1, o.x2, spans.alongX);

    const Quad farX = furthest(o.x1, o.x2);
    const Quad farY = furthest(o.y1, o.y2);
    return {{sum.im / (2 * pi), -sum.re / (2 * pi)},
            bound / (2 * pi),
            drift / (2 * pi),
            sqrtq(z * z + farX * farX + farY * farY)};
}

Field nearField(const Offsets& offsets, Quad z, Quad k, const Rule& rule) {
    return nearField(offsets, z, k, rule, hostSpans(offsets));
}

}  // namespace reference
