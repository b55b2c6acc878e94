// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "reference/SurfaceIntegral.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "reference/PanelRules.h"

namespace reference {
namespace {

/// An interval of a coordinate.
struct Interval {
    Quad from;
    Quad to;

    [[nodiscard]] double half() const { return static_cast<double>(to - from) / 2; }
    [[nodiscard]] Quad middle() const { return (from + to) / 2; }
    [[nodiscard]] Interval lower() const { return {from, middle()}; }
    [[nodiscard]] Interval upper() const { return {middle(), to}; }
    /// The smallest magnitude in it.
    [[nodiscard]] double nearest() const {
        return static_cast<double>(std::max({from, -to, Quad(0)}));
    }
    [[nodiscard]] bool hasZero() const { return from <= 0 && to >= 0; }
};

/// The sum of f(x) by a rule.
template <class F>
QuadComplex applied(const Rule& rule, const Interval& interval, F f) {
    const Quad half = (interval.to - interval.from) / 2;
    const Quad middle = interval.middle();
    QuadComplex sum;
    for (std::size_t i = 0; i < rule.nodes.size(); ++i)
        sum = sum + rule.weights[i] * f(half * rule.nodes[i] + middle);
    return half * sum;
}

/// For an interval that a singularity keeps a distance from.
const Rule& ruleFor(double half, double distance, double k) {
    const double clearance = distance / half;
    return panelRule(panelRuleFor(clearance + std::hypot(1.0, clearance), k * half));
}

/// exp(-j*k*R)/denominator.
QuadComplex wave(Quad k, Quad r, Quad denominator) {
    QuadComplex e;
    sincosq(-k * r, &e.im, &e.re);
    return 1 / denominator * e;
}

/// The integral over cells off the point, in coordinates from the point's foot.
class Cells {
  public:
    Cells(double z, double k) : z(z), k(k) {}

    [[nodiscard]] QuadComplex over(const Interval& x, const Interval& y) const {
        const double distance = std::hypot(x.nearest(), y.nearest(), z);
        const double longest = std::min(distance / 2, largestPanelPhase / k);
        if (std::max(x.half(), y.half()) > longest) {
            if (x.half() > y.half()) return over(x.lower(), y) + over(x.upper(), y);
            return over(x, y.lower()) + over(x, y.upper());
        }
        const Quad zz = static_cast<Quad>(z) * z;
        const Rule& alongY = ruleFor(y.half(), distance, k);
        return applied(ruleFor(x.half(), distance, k), x, [&](Quad u) {
            return applied(alongY, y, [&](Quad v) {
                const Quad r = sqrtq(u * u + v * v + zz);
                return wave(k, r, r);
            });
        });
    }

  private:
    double z;
    double k;
};

/// The integral over the triangle with corners at 0, (a, 0) and (a, b), seen from 0: with y = x*v
/// it is exp(-j*k*x*s)/s over x in [0, a] and v in [0, b/a], s = sqrt(1 + v^2).
class Triangle {
  public:
    Triangle(Quad a, double k) : a(a), k(k) {}

    [[nodiscard]] QuadComplex over(const Interval& v) const {
        const double distance = std::hypot(1.0, v.nearest());
        const double longest =
            std::min(distance / 2, largestPanelPhase / (k * static_cast<double>(a)));
        if (v.half() > longest) return over(v.lower()) + over(v.upper());
        const Rule& alongV = ruleFor(v.half(), distance, k * static_cast<double>(a));
        return applied(alongV, v, [&](Quad at) { return along({0, a}, sqrtq(1 + at * at)); });
    }

  private:
    [[nodiscard]] QuadComplex along(const Interval& x, Quad s) const {
        const double phase = k * static_cast<double>(s) * x.half();
        if (phase > largestPanelPhase) return along(x.lower(), s) + along(x.upper(), s);
        constexpr double entire = 1e4;
        return applied(panelRule(panelRuleFor(entire, phase)), x,
                       [&](Quad u) { return wave(k, u * s, s); });
    }

    Quad a;
    double k;
};

/// Over the rectangle from 0 to (a, b), seen from 0.
QuadComplex fromCorner(Quad a, Quad b, double k) {
    if (!(a > 0 && b > 0)) return {};
    return Triangle(a, k).over({0, b / a}) + Triangle(b, k).over({0, a / b});
}

}  // namespace

QuadComplex surfaceIntegral(const Rectangle& piston, const Point& point, double k) {
    const Quad halfX = static_cast<Quad>(piston.sideX) / 2;
    const Quad halfY = static_cast<Quad>(piston.sideY) / 2;
    const Interval x{-halfX - point.x, halfX - point.x};
    const Interval y{-halfY - point.y, halfY - point.y};
    const bool onFace = point.z == 0 && x.hasZero() && y.hasZero();
    const QuadComplex sum = onFace
                                ? fromCorner(x.to, y.to, k) + fromCorner(-x.from, y.to, k) +
                                      fromCorner(x.to, -y.from, k) + fromCorner(-x.from, -y.from, k)
                                : Cells(point.z, k).over(x, y);
    return k / (2 * pi) * sum;
}

std::complex<long double> surfacePressure(const Rectangle& piston, const Point& point, double k) {
    const QuadComplex p = surfaceIntegral(piston, point, k);
    return {static_cast<long double>(p.re), static_cast<long double>(p.im)};
}

}  // namespace reference
