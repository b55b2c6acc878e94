// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "tests/matlab_src/SurfaceIntegral.h"

#include <array>
#include <cmath>
#include <numbers>

namespace {

constexpr int panels = 60;

// The five-point Gauss-Legendre rule (Abramowitz and Stegun, table 25.4).
constexpr std::array<double, 5> nodes{-0.906179845938664, -0.538469310105683, 0.0,
                                      0.538469310105683, 0.906179845938664};
constexpr std::array<double, 5> weights{0.236926885056189, 0.478628670499366, 0.568888888888889,
                                        0.478628670499366, 0.236926885056189};

/// The composite integral of f over [-side/2, side/2].
template <class Function>
std::complex<double> integral(double side, Function f) {
    const double half = side / panels / 2;
    std::complex<double> sum = 0;
    for (int panel = 0; panel < panels; ++panel)
        for (std::size_t i = 0; i < nodes.size(); ++i)
            sum += weights[i] * half * f(-side / 2 + half * (2 * panel + 1 + nodes[i]));
    return sum;
}

}  // namespace

std::complex<double> surfaceIntegral(PistonSides piston, double k, double x, double y, double z) {
    const auto overPiston = integral(piston.s, [&](double u) {
        return integral(piston.l, [&](double v) {
            const double distance = std::hypot(x - u, y - v, z);
            return std::polar(1.0, -k * distance) / distance;
        });
    });
    return k / (2 * std::numbers::pi) * overPiston;
}
