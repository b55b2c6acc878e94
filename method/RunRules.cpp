// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/RunRules.h"

#include <cmath>
#include <numbers>
#include <utility>

namespace pistonfield {

namespace {

std::vector<double> chebyshevPoints(int count) {
    std::vector<double> points;
    points.reserve(static_cast<std::size_t>(count));
    for (int j = 0; j < count; ++j)
        points.push_back(std::cos(std::numbers::pi * (j + 0.5) / count));
    return points;
}

/// The integrals of Chebyshev's polynomials of degree 0 to less than `count` from 0 to s.
std::vector<double> chebyshevIntegrals(double s, int count) {
    const double angle = std::acos(s);
    const auto antiderivative = [&](int degree) {
        if (degree == 0) return s;
        if (degree == 1) return s * s / 2;
        const auto term = [&](int m) {
            return (std::cos(m * angle) - std::cos(m * std::numbers::pi / 2)) / (2 * m);
        };
        return term(degree + 1) - term(degree - 1);
    };
    std::vector<double> integrals;
    integrals.reserve(static_cast<std::size_t>(count));
    for (int degree = 0; degree < count; ++degree) integrals.push_back(antiderivative(degree));
    return integrals;
}

}  // namespace

template <class T>
RunRule<T> RunRules<T>::rule(int nodes) const {
    Numbers& numbers = rules[static_cast<std::size_t>(nodes / 2 - 1)];
    std::call_once(numbers.made, [&] {
        std::vector<T> weights;       // another call begins anew where memory was not found
        std::vector<double> cosines;  // of multiples of pi/(2n)
        cosines.reserve(static_cast<std::size_t>(4) * static_cast<std::size_t>(nodes));
        for (int i = 0; i < 4 * nodes; ++i)
            cosines.push_back(std::cos(std::numbers::pi * i / (2 * nodes)));
        for (int i = 0; i < points; ++i) {
            const double s = -1 + 2.0 * i / (points - 1);
            const std::vector<double> integrals = chebyshevIntegrals(s, nodes);
            for (int j = 0; j < nodes; ++j) {
                // The j-th Lagrange polynomial is 2/n times the sum of T_m(node j) T_m, where the
                // first term counts half.
                double sum = integrals[0] / 2;
                for (int m = 1; m < nodes; ++m)
                    sum += cosines[static_cast<std::size_t>(m * (2 * j + 1) % (4 * nodes))] *
                           integrals[static_cast<std::size_t>(m)];
                weights.push_back(static_cast<T>(2 * sum / nodes));
            }
        }
        numbers.abscissas = chebyshevPoints(nodes);
        numbers.integrals = std::move(weights);
    });
    return {numbers.abscissas.data(), numbers.integrals.data(), nodes};
}

template class RunRules<float>;
template class RunRules<double>;

}  // namespace pistonfield
