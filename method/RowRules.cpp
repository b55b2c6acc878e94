// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/RowRules.h"

#include <cmath>
#include <numbers>
#include <utility>

namespace pistonfield {

namespace {

/// T_m at Chebyshev's point number j of so many.
double atNode(int m, int j, int count) {
    return std::cos(std::numbers::pi * m * (j + 0.5) / count);
}

/// The Lagrange polynomial of a node at s: 2/n times the sum of T_m(node) T_m(s), where the first
/// term counts half.
double lagrange(int node, int count, double s) {
    const double angle = std::acos(s);
    double sum = 0.5;
    for (int m = 1; m < count; ++m) sum += atNode(m, node, count) * std::cos(m * angle);
    return 2 * sum / count;
}

}  // namespace

template <class T>
RowRule<T> RowRules<T>::rule(int nodes) const {
    Numbers& numbers = rules[static_cast<std::size_t>(nodes - leastNodes)];
    std::call_once(numbers.made, [&] {
        std::vector<T> abscissas;  // another call begins anew where memory was not found
        std::vector<T> weights;
        std::vector<T> last;
        abscissas.reserve(static_cast<std::size_t>(nodes));
        for (int j = 0; j < nodes; ++j) abscissas.push_back(static_cast<T>(atNode(1, j, nodes)));
        for (int i = 0; i < thePoints; ++i) {
            const double s = thePoints == 1 ? 0 : -1 + 2.0 * i / (thePoints - 1);
            for (int j = 0; j < nodes; ++j)
                weights.push_back(static_cast<T>(lagrange(j, nodes, s)));
        }
        for (int m = nodes - 1; m > 0 && m > nodes - 3; --m)
            for (int j = 0; j < nodes; ++j)
                last.push_back(static_cast<T>(2 * atNode(m, j, nodes) / nodes));
        numbers.nodes = std::move(abscissas);
        numbers.weights = std::move(weights);
        numbers.lastCoefficients = std::move(last);
    });
    return {numbers.nodes.data(), numbers.weights.data(), numbers.lastCoefficients.data(), nodes};
}

template class RowRules<float>;
template class RowRules<double>;

}  // namespace pistonfield
