// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "reference/SurfaceIntegral.h"

#include <cmath>
#include <cstddef>
#include <numbers>
#include <stdexcept>
#include <vector>

#include "reference/Legendre.h"

namespace reference {
namespace {

using Real = long double;

constexpr Real pi = std::numbers::pi_v<Real>;

struct Node {
    Real at;
    Real weight;
};

/// A composite Gauss rule over [-side/2, side/2].
std::vector<Node> compositeRule(Real side, int panels) {
    static const Rule rule = legendreRule(20);
    const Real half = side / static_cast<Real>(2 * panels);
    std::vector<Node> nodes;
    for (int panel = 0; panel < panels; ++panel) {
        const Real middle = half * static_cast<Real>(2 * panel + 1) - side / 2;
        for (std::size_t i = 0; i < rule.nodes.size(); ++i)
            nodes.push_back({middle + half * static_cast<Real>(rule.nodes[i]),
                             half * static_cast<Real>(rule.weights[i])});
    }
    return nodes;
}

std::complex<Real> integral(const Rectangle& piston, const Point& point, Real k, int panelsX,
                            int panelsY) {
    const std::vector<Node> alongX = compositeRule(piston.sideX, panelsX);
    const std::vector<Node> alongY = compositeRule(piston.sideY, panelsY);
    std::complex<Real> sum = 0;
    for (const Node& u : alongX)
        for (const Node& v : alongY) {
            const Real x = point.x - u.at;
            const Real y = point.y - v.at;
            const Real r = std::sqrt(x * x + y * y + static_cast<Real>(point.z) * point.z);
            sum += u.weight * v.weight / r * std::complex<Real>(std::cos(k * r), -std::sin(k * r));
        }
    return k / (2 * pi) * sum;
}

/// One panel to a wavelength.
int startPanels(Real side, Real k) { return 1 + static_cast<int>(side * k / (2 * pi)); }

}  // namespace

std::complex<long double> surfacePressure(const Rectangle& piston, const Point& point, double k) {
    constexpr int limit = 6;
    constexpr Real settled = 1e-14L;
    int panelsX = startPanels(piston.sideX, k);
    int panelsY = startPanels(piston.sideY, k);
    std::complex<Real> value = integral(piston, point, k, panelsX, panelsY);
    for (int step = 0; step < limit; ++step) {
        panelsX += (panelsX + 1) / 2;
        panelsY += (panelsY + 1) / 2;
        const std::complex<Real> finer = integral(piston, point, k, panelsX, panelsY);
        if (std::abs(finer - value) < settled)
            return finer;
        value = finer;
    }
    throw std::runtime_error("the surface integral does not settle");
}

}  // namespace reference
