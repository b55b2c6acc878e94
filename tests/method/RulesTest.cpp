// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/Rules.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <thread>
#include <vector>

namespace {

using pistonfield::Nodes;
using pistonfield::OrderLadder;
using pistonfield::Rules;

/// What a rule makes of the Legendre polynomials of the degrees from 0 to `last`, in double.
template <class T>
std::vector<double> integralsOfLegendre(const Nodes<T>& rule, int last) {
    std::vector<double> integrals(static_cast<std::size_t>(last) + 1);
    for (int i = 0; i < rule.count; ++i) {
        const double x = rule.abscissas[i];
        double before = 0;
        double p = 1;
        for (int k = 0; k <= last; ++k) {
            integrals[static_cast<std::size_t>(k)] += static_cast<double>(rule.weights[i]) * p;
            const double next = ((2 * k + 1) * x * p - k * before) / (k + 1);
            before = p;
            p = next;
        }
    }
    return integrals;
}

template <class T>
struct RulesTest : testing::Test {
    /// All have 2n times this of rounding at the most.
    static constexpr double rounding = 8 * std::numeric_limits<T>::epsilon();
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(RulesTest, Precisions);

TYPED_TEST(RulesTest, IntegratePolynomialsOfTwiceTheirDegreeWhicheverThreadsAskFirst) {
    using T = TypeParam;
    const Rules<T> rules;
    const int last = OrderLadder::rungOf(300);
    const auto threads = 4U;
    std::vector<std::vector<Nodes<T>>> taken(threads);
    {
        std::vector<std::jthread> workers;
        for (unsigned i = 0; i < threads; ++i)
            workers.emplace_back([&, i] {
                for (int rung = 0; rung <= last; ++rung) {
                    rules.require(rung);
                    taken[i].push_back(rules.table()[rung]);
                }
            });
    }
    for (int rung = 0; rung <= last; ++rung) {
        const auto at = static_cast<std::size_t>(rung);
        const Nodes<T>& rule = taken[0][at];
        const int n = OrderLadder::nodesOf(rung);
        ASSERT_EQ(rule.count, n);
        for (const auto& others : taken) {
            EXPECT_EQ(others[at].abscissas, rule.abscissas);
            EXPECT_EQ(others[at].weights, rule.weights);
        }
        const auto integrals = integralsOfLegendre(rule, 2 * n);
        for (int k = 0; k < 2 * n; ++k)
            ASSERT_NEAR(integrals[static_cast<std::size_t>(k)], k == 0 ? 2 : 0,
                        this->rounding * (2 * n))
                << "degree " << k << " by " << n << " nodes";
        // It is no rule of more nodes.
        EXPECT_GT(std::fabs(integrals.back()), 1e-3 / n);
    }
}

TYPED_TEST(RulesTest, HaveTheLaddersLastRung) {
    EXPECT_EQ(OrderLadder::nodesOf(Rules<TypeParam>::rungs - 1), OrderLadder::mostNodes);
}

}  // namespace
