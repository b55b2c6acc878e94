// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/GaussLegendre.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

#include "core/Constants.h"

namespace {

/// The 32-bit signed integer that a wrapped-around computation leaves, as a double.
double asSigned(std::uint32_t value) { return static_cast<std::int32_t>(value); }

/// A Legendre polynomial and its first four derivatives at a point near a root.
struct Expansion {
    double value;
    double slope;  // (1 - x^2) times the first derivative
    double d1, d2, d3, d4;
};

/// Roots that go through the recurrence side by side: a single one is a long chain of divisions.
constexpr int rootsAtATime = 8;
using Roots = double[rootsAtATime];

/// A Legendre polynomial and the one of the next lower degree, at each root.
struct Polynomials {
    Roots value;
    Roots previous;
};

Polynomials legendreAt(int n, const Roots& x) {
    Polynomials p{};
    for (int i = 0; i < rootsAtATime; ++i) {
        p.value[i] = x[i];
        p.previous[i] = 1.0;
    }
    for (int k = 2; k <= n; ++k) {
        for (int i = 0; i < rootsAtATime; ++i) {
            const double next =
                2.0 * x[i] * p.value[i] - p.previous[i] - (x[i] * p.value[i] - p.previous[i]) / k;
            p.previous[i] = p.value[i];
            p.value[i] = next;
        }
    }
    return p;
}

Expansion expandLegendre(int n, double e1, double x0, double value, double previous) {
    const double square = 1.0 - x0 * x0;
    Expansion p{};
    p.value = value;
    p.slope = n * (previous - x0 * value);
    p.d1 = p.slope / square;
    p.d2 = (2.0 * x0 * p.d1 - e1 * value) / square;
    p.d3 = (4.0 * x0 * p.d2 + (2.0 - e1) * p.d1) / square;
    p.d4 = (6.0 * x0 * p.d3 + (6.0 - e1) * p.d2) / square;
    return p;
}

/// The offset of the root from the point of expansion: a series step, then one Newton correction.
double rootOffset(const Expansion& p) {
    const double u = p.value / p.d1;
    const double v = p.d2 / p.d1;
    const double h = -u * (1.0 + 0.5 * u * (v + u * (v * v - p.d3 / (3.0 * p.d1))));
    const double value =
        p.value + h * (p.d1 + 0.5 * h * (p.d2 + h / 3.0 * (p.d3 + 0.25 * h * p.d4)));
    const double slope = p.d1 + h * (p.d2 + 0.5 * h * (p.d3 + h * p.d4 / 3.0));
    return h - value / slope;
}

[[noreturn]] void refuseOrder(int order) {
    std::cout << "\nLEGENDRE_COMPUTE - Fatal error!\n  Illegal value of ORDER = "
              << std::to_string(order) << "\n"
              << std::flush;
    std::exit(1);
}

}  // namespace

void legendre_compute(int order, double* x, double* w) {
    if (order < 1) refuseOrder(order);
    const int n = order;
    const int m = n / 2 + n % 2;
    const auto un = static_cast<std::uint32_t>(n);
    const double e1 = asSigned(un * (un + 1));

    const auto guess = [&](int i) {
        const double angle =
            asSigned(4 * static_cast<std::uint32_t>(i) - 1) * Math::Pi / asSigned(4 * un + 2);
        return (1.0 - (1.0 - 1.0 / n) / asSigned(8 * un * un)) * std::cos(angle);
    };
    for (int first = 1; first <= m; first += rootsAtATime) {
        const int count = std::min(rootsAtATime, m - first + 1);
        Roots guesses{};
        for (int i = 0; i < count; ++i) guesses[i] = guess(first + i);
        const Polynomials at = legendreAt(n, guesses);
        for (int i = 0; i < count; ++i) {
            const double x0 = guesses[i];
            const Expansion p = expandLegendre(n, e1, x0, at.value[i], at.previous[i]);
            const double h = rootOffset(p);
            const double node = x0 + h;
            const double fx =
                p.slope -
                h * e1 *
                    (p.value +
                     0.5 * h * (p.d1 + h / 3.0 * (p.d2 + 0.25 * h * (p.d3 + 0.2 * h * p.d4))));
            x[m - first - i] = node;
            w[m - first - i] = 2.0 * (1.0 - node * node) / (fx * fx);
        }
    }

    if (n % 2 == 1) x[0] = 0.0;
    for (int i = 1; i <= m; ++i) {
        x[n - i] = x[m - i];
        w[n - i] = w[m - i];
    }
    for (int i = 1; i <= n - m; ++i) {
        x[i - 1] = -x[n - i];
        w[i - 1] = w[n - i];
    }
}
