// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "reference/Legendre.h"

#include <cmath>
#include <cstddef>
#include <numbers>
#include <stdexcept>

namespace reference {
namespace {

/// P_n and its derivative at x.
template <class Real>
struct Legendre {
    Real value;
    Real slope;
};

/// The recurrence k P_k = (2k-1) x P_(k-1) - (k-1) P_(k-2).
template <class Real>
Legendre<Real> legendre(int n, Real x) {
    Real previous = 1;
    Real value = x;
    for (int k = 2; k <= n; ++k) {
        const Real next =
            (static_cast<Real>(2 * k - 1) * x * value - static_cast<Real>(k - 1) * previous) /
            static_cast<Real>(k);
        previous = value;
        value = next;
    }
    return {value, static_cast<Real>(n) * (previous - x * value) / (1 - x * x)};
}

/// The i-th largest root, counted from 1, to about double precision: Newton's iteration from
/// Tricomi's asymptotic guess.
double roughRoot(int n, int i) {
    constexpr int enough = 10;
    double x = std::cos(std::numbers::pi * (i - 0.25) / (n + 0.5));
    for (int step = 0; step < enough; ++step) {
        const Legendre<double> p = legendre<double>(n, x);
        x -= p.value / p.slope;
    }
    return x;
}

Quad root(int n, int i) {
    constexpr int limit = 10;
    constexpr double settled = 0x1p-108;  // 32 units of the last place at 1
    Quad x = roughRoot(n, i);
    for (int step = 0; step < limit; ++step) {
        const Legendre<Quad> p = legendre<Quad>(n, x);
        const Quad move = p.value / p.slope;
        x -= move;
        if (fabsq(move) < static_cast<Quad>(settled)) return x;
    }
    throw std::runtime_error("the Newton iteration of a Legendre root does not settle");
}

template <class T>
Rule widened(int order, const T* nodes, const T* weights) {
    return {{nodes, nodes + order}, {weights, weights + order}};
}

}  // namespace

NodeAndWeight legendreNode(int order, int i) {
    const bool middle = 2 * i - 1 == order;
    const Quad x = middle ? Quad(0) : root(order, i);
    const Quad slope = legendre<Quad>(order, x).slope;
    return {x, 2 / ((1 - x * x) * slope * slope)};
}

Rule legendreRule(int order) {
    const auto n = static_cast<std::size_t>(order);
    Rule rule{std::vector<Quad>(n), std::vector<Quad>(n)};
    for (std::size_t i = 0; i <= (n - 1) / 2; ++i) {
        const auto [x, weight] = legendreNode(order, static_cast<int>(i) + 1);
        rule.nodes[i] = -x;
        rule.nodes[n - 1 - i] = x;
        rule.weights[i] = rule.weights[n - 1 - i] = weight;
    }
    return rule;
}

Rule widen(int order, const double* nodes, const double* weights) {
    return widened(order, nodes, weights);
}

Rule widen(int order, const float* nodes, const float* weights) {
    return widened(order, nodes, weights);
}

}  // namespace reference
