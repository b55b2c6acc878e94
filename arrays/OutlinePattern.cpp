// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/OutlinePattern.h"

#include <cmath>

namespace pistonfield {

namespace {

using Complex = std::complex<double>;

/// g(x), by its series where the difference would lose digits.
Complex ofCone(double x) noexcept {
    constexpr double small = 0.3;
    const double square = x * x;
    if (std::abs(x) < small) {
        // The integral of t*cos(xt) and t*sin(xt), up to x^8, which leaves 5e-12 at 0.3.
        const double re =
            1.0 / 2 -
            square * (1.0 / 8 - square * (1.0 / 144 - square * (1.0 / 5760 - square / 403200)));
        const double im =
            x * (1.0 / 3 - square * (1.0 / 30 - square * (1.0 / 840 - square / 45360)));
        return {re, im};
    }
    const double c = std::cos(x);
    const double s = std::sin(x);
    return {(c + x * s - 1) / square, (s - x * c) / square};
}

}  // namespace

OutlinePattern::OutlinePattern(const Outline& outline, double wavenumber, int refinement)
    : centre(circleAbout(outline).centre) {
    const std::vector<BoundaryNode> nodes = nodesAlong(outline, wavenumber, refinement);
    cones.reserve(nodes.size());
    for (const auto& [at, along] : nodes) {
        const PlaneVector b{at[0] - centre[0], at[1] - centre[1]};
        cones.push_back({b, b[0] * along[1] - b[1] * along[0]});
    }
}

Complex OutlinePattern::at(const PlaneVector& q) const noexcept {
    double re = 0;
    double im = 0;
    for (const auto& [b, swept] : cones) {
        const Complex g = ofCone(q[0] * b[0] + q[1] * b[1]);
        re += swept * g.real();
        im += swept * g.imag();
    }
    const double phase = q[0] * centre[0] + q[1] * centre[1];
    const double c = std::cos(phase);
    const double s = std::sin(phase);
    return {c * re - s * im, c * im + s * re};
}

}  // namespace pistonfield
