// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "reference/ConvergedPressure.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <stdexcept>

#include "reference/PanelRules.h"

namespace reference {
namespace {

/// The sum of the parts of a contour, the change that the finer rules have made to them, and the
/// sum of their integrands' magnitudes.
struct Parts {
    QuadComplex value;
    double change = 0;
    double magnitudes = 0;

    void add(int sign, const Parts& other) {
        value = value + static_cast<Quad>(sign) * other.value;
        change += other.change;
        magnitudes += other.magnitudes;
    }
};

/// The coordinate y - 1 >= 0 along an edge seen from the foot of the perpendicular on its line.
class Edge {
  public:
    /// @param limit what a panel's value may be off
    Edge(Quad e, Quad z, double k, double limit)
        : e(e), z(z), k(k), limit(limit), h(sqrtq(e * e + z * z)) {}

    /// From t = 0 to t >= 0.
    [[nodiscard]] Parts upTo(Quad t) const { return e == 0 ? Parts{} : between(0, t); }

    /// Of 0 <= from <= to.
    [[nodiscard]] Parts between(Quad from, Quad to) const {
        Parts sum;
        if (e == 0) return sum;
        const Quad end = coordinate(to);
        for (Quad a = coordinate(from); a < end;) {
            const Quad b = panelEnd(a, end);
            sum.add(+1, panel(a, b));
            a = b;
        }
        return sum;
    }

  private:
    /// y - 1 at t >= 0.
    [[nodiscard]] Quad coordinate(Quad t) const {
        return t / h * (1 + t / (h + sqrtq(h * h + t * t)));
    }

    /// A panel's y grows fourfold at most, and its phase by `largestPanelPhase` either way.
    [[nodiscard]] Quad panelEnd(Quad a, Quad end) const {
        const Quad longest =
            std::min(3 * (1 + a), static_cast<Quad>(4 * largestPanelPhase / k) / h);
        const Quad left = end - a;
        if (left <= longest) return end;
        return a + std::min(longest, left / 2);
    }

    [[nodiscard]] Parts panel(Quad a, Quad b) const {
        const double half = static_cast<double>(b - a) / 2;
        const double clearance = (1 + static_cast<double>(a)) / half;
        const double phase = k * static_cast<double>(h) / 2 * half;
        const double rho = 1 + clearance + std::sqrt(clearance * (2 + clearance));
        std::size_t step = panelRuleFor(rho, phase);
        Parts coarse = by(panelRule(step), a, b);
        while (++step < mostPanelRules) {
            Parts fine = by(panelRule(step), a, b);
            fine.change = static_cast<double>(magnitude(fine.value - coarse.value));
            if (fine.change <= limit) return fine;
            coarse = fine;
        }
        throw std::runtime_error("the integral along an edge does not settle");
    }

    [[nodiscard]] Parts by(const Rule& rule, Quad a, Quad b) const {
        const Quad half = (b - a) / 2;
        const Quad middle = (a + b) / 2;
        Parts sum;
        for (std::size_t i = 0; i < rule.nodes.size(); ++i) {
            const Quad v = half * rule.nodes[i] + middle;
            const Quad inverse = h / (2 * (1 + v));
            const Quad t = v * (2 + v) * inverse;
            const Quad r = h + v * v * inverse;
            const Quad d = e * e + t * t;
            const Quad x = static_cast<Quad>(k) / 2 * d / (r + z);
            Quad sine = 0;
            Quad cosine = 0;
            sincosq(x, &sine, &cosine);
            const Quad size = -2 * half * rule.weights[i] * r * sine * e / ((1 + v) * d);
            sum.value = sum.value + size * QuadComplex{sine, cosine};
            sum.magnitudes += std::fabs(static_cast<double>(size));
        }
        return sum;
    }

    Quad e;
    Quad z;
    double k;
    double limit;
    Quad h;
};

/// The whole edge from t1 to t2 > t1.
Parts along(const Edge& edge, Quad t1, Quad t2) {
    if (t1 >= 0) return edge.between(t1, t2);
    if (t2 <= 0) return edge.between(-t2, -t1);
    Parts sum = edge.upTo(-t1);
    sum.add(+1, edge.upTo(t2));
    return sum;
}

}  // namespace

ConvergedPressure convergedPressure(const Rectangle& piston, const Point& point, double k) {
    constexpr double settled = 1e-21;
    constexpr double promised = 1e-18;
    const double reach = std::hypot(std::fabs(point.x) + piston.sideX / 2,
                                    std::fabs(point.y) + piston.sideY / 2, point.z);
    const double amplitude = k * piston.sideX * piston.sideY / (2 * std::numbers::pi * reach);
    const double limit = settled * 2 * std::numbers::pi * amplitude;

    const Quad z = point.z;
    const Quad west = -static_cast<Quad>(piston.sideX) / 2 - point.x;
    const Quad east = static_cast<Quad>(piston.sideX) / 2 - point.x;
    const Quad south = -static_cast<Quad>(piston.sideY) / 2 - point.y;
    const Quad north = static_cast<Quad>(piston.sideY) / 2 - point.y;
    Parts sum;
    sum.add(+1, along({east, z, k, limit}, south, north));
    sum.add(-1, along({west, z, k, limit}, south, north));
    sum.add(+1, along({north, z, k, limit}, west, east));
    sum.add(-1, along({south, z, k, limit}, west, east));

    QuadComplex atFoot;
    sincosq(static_cast<Quad>(-k) * z, &atFoot.im, &atFoot.re);
    const Quad re = sum.value.re * atFoot.re - sum.value.im * atFoot.im;
    const Quad im = sum.value.re * atFoot.im + sum.value.im * atFoot.re;
    constexpr double u = 0x1p-113;
    const double error =
        (sum.change + 8 * u * (8 + k * reach) * sum.magnitudes) / (2 * std::numbers::pi);
    if (!(error <= promised * amplitude))
        throw std::runtime_error("the pressure is not exact enough");
    return {{-im / (2 * pi), re / (2 * pi)}, error};
}

}  // namespace reference
