// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/BoundaryPanel.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "arrays/LegendreRule.h"

namespace pistonfield {

namespace {

PlaneVector turned(const PlaneVector& v, const PlaneVector& along) noexcept {
    return {along[0] * v[0] - along[1] * v[1], along[1] * v[0] + along[0] * v[1]};
}

bool areSame(const PlaneVector& a, const PlaneVector& b, double rounding) noexcept {
    return std::hypot(a[0] - b[0], a[1] - b[1]) <= rounding;
}

/// The integrand on two panels.
class PairIntegrand {
  public:
    PairIntegrand(const BoundaryPanel& one, const BoundaryPanel& other, const PlaneVector& offset,
                  const MutualKernel& kernel)
        : one(one), other(other), offset(offset), kernel(kernel) {}

    double at(double s, double t) const noexcept {
        const EdgePlace a = one.at(s);
        const EdgePlace b = other.at(t);
        const double x = b.at[0] + offset[0] - a.at[0];
        const double y = b.at[1] + offset[1] - a.at[1];
        return kernel.at(std::hypot(x, y)) *
               (a.tangent[0] * b.tangent[0] + a.tangent[1] * b.tangent[1]);
    }

    /// Whether two ends, or other places, are the same.
    bool meet(double s, double t, double rounding) const noexcept {
        const PlaneVector a = one.at(s).at;
        const PlaneVector b = other.at(t).at;
        return areSame(a, {b[0] + offset[0], b[1] + offset[1]}, rounding);
    }

  private:
    const BoundaryPanel& one;
    const BoundaryPanel& other;
    PlaneVector offset;
    const MutualKernel& kernel;
};

/// Over two panels that are the same.
/// @param way 1, or -1 where they go opposite ways
double overSame(const PairIntegrand& integrand, double way, const LegendreRule& rule) {
    double sum = 0;
    for (std::size_t i = 0; i < rule.nodes.size(); ++i) {
        const double s = rule.nodes[i];
        const double half = (1 + s) / 2;
        for (std::size_t l = 0; l < rule.nodes.size(); ++l) {
            const double t = -1 + half * (1 + rule.nodes[l]);
            sum += rule.weights[i] * rule.weights[l] * half *
                   (integrand.at(s, way * t) + integrand.at(t, way * s));
        }
    }
    return sum;
}

/// Over two panels that meet in one end of each.
double overCorner(const PairIntegrand& integrand, double endOfOne, double endOfOther,
                  const LegendreRule& rule) {
    double sum = 0;
    for (std::size_t i = 0; i < rule.nodes.size(); ++i) {
        const double x = 1 + rule.nodes[i];
        for (std::size_t l = 0; l < rule.nodes.size(); ++l) {
            const double y = x * (1 + rule.nodes[l]) / 2;
            sum += rule.weights[i] * rule.weights[l] * x / 2 *
                   (integrand.at(endOfOne * (1 - x), endOfOther * (1 - y)) +
                    integrand.at(endOfOne * (1 - y), endOfOther * (1 - x)));
        }
    }
    return sum;
}

double overApart(const BoundaryPanel& one, const BoundaryPanel& other, const PlaneVector& offset,
                 const MutualKernel& kernel) {
    double sum = 0;
    for (const BoundaryNode& a : one.nodes()) {
        double ofNode = 0;
        for (const BoundaryNode& b : other.nodes()) {
            const double x = b.at[0] + offset[0] - a.at[0];
            const double y = b.at[1] + offset[1] - a.at[1];
            ofNode += kernel.at(std::sqrt(x * x + y * y)) *
                      (a.step[0] * b.step[0] + a.step[1] * b.step[1]);
        }
        sum += ofNode;
    }
    return sum;
}

}  // namespace

BoundaryPanel::BoundaryPanel(const OutlineEdge& edge, const std::array<double, 2>& part,
                             const PlaneVector& along, int order)
    : edge(edge), part(part), along(along) {
    const LegendreRule rule(order);
    theNodes.reserve(rule.nodes.size());
    for (std::size_t i = 0; i < rule.nodes.size(); ++i) {
        const auto [place, tangent] = at(rule.nodes[i]);
        theNodes.push_back({place, {rule.weights[i] * tangent[0], rule.weights[i] * tangent[1]}});
    }
}

EdgePlace BoundaryPanel::at(double s) const noexcept {
    const double half = (part[1] - part[0]) / 2;
    const auto [place, tangent] = placeOn(edge, part[0] + half * (1 + s));
    return {turned(place, along), turned({half * tangent[0], half * tangent[1]}, along)};
}

std::vector<BoundaryPanel> panelsAlong(const Outline& outline, const PlaneVector& along,
                                       const Wave& wave, int refinement) {
    std::vector<BoundaryPanel> panels;
    for (const Loop& loop : outline.loops)
        for (const OutlineEdge& edge : loop) {
            const Arc* const arc = std::get_if<Arc>(&edge);
            const bool isLong = arc != nullptr && std::abs(arc->sweep) > std::numbers::pi;
            const int count = wave.attenuation == 0 ? 1 : isLong ? 4 : 2;
            const int order = orderAlong(edge, 1.0 / count, wave.wavenumber, refinement);
            panels.reserve(panels.size() + 4);
            for (int i = 0; i < count; ++i)
                panels.emplace_back(
                    edge, std::array{2.0 * i / count - 1, 2.0 * (i + 1) / count - 1}, along, order);
        }
    return panels;
}

double pairIntegral(const BoundaryPanel& one, const BoundaryPanel& other, const PlaneVector& offset,
                    const MutualKernel& kernel, double rounding) {
    if (kernel.isSmooth()) return overApart(one, other, offset, kernel);
    const PairIntegrand integrand(one, other, offset, kernel);
    for (const double endOfOne : {-1.0, 1.0})
        for (const double endOfOther : {-1.0, 1.0}) {
            if (!integrand.meet(endOfOne, endOfOther, rounding)) continue;
            const auto order = static_cast<int>(std::max(one.nodes().size(), other.nodes().size()));
            const bool isSame =
                integrand.meet(-endOfOne, -endOfOther, rounding) && integrand.meet(0, 0, rounding);
            return isSame ? overSame(integrand, endOfOne * endOfOther, LegendreRule(order))
                          : overCorner(integrand, endOfOne, endOfOther, LegendreRule(order));
        }
    return overApart(one, other, offset, kernel);
}

}  // namespace pistonfield
