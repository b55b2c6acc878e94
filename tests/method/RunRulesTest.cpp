// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/RunRules.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <thread>
#include <vector>

namespace {

using pistonfield::RunRule;
using pistonfield::RunRules;

template <class T>
struct RunRulesTest : testing::Test {
    static constexpr double unit = std::numeric_limits<T>::epsilon();

    /// What a rule makes of the integral of a function up to a point.
    template <class F>
    static auto integral(const RunRule<T>& rule, int point, F function) {
        decltype(function(0.0)) sum{};
        for (int j = 0; j < rule.count; ++j)
            sum += static_cast<double>(rule.integrals[point * rule.count + j]) *
                   function(rule.abscissas[j]);
        return sum;
    }

    static double pointAt(int i, int points) { return -1 + 2.0 * i / (points - 1); }
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(RunRulesTest, Precisions);

TYPED_TEST(RunRulesTest, IntegratePolynomialsFromTheMiddleToEachPoint) {
    for (const int points : {2, 3, 4, 13, 26, 32}) {
        const RunRules<TypeParam> rules(points);
        for (int nodes = 2; nodes <= RunRules<TypeParam>::mostNodes; nodes += 2) {
            const auto rule = rules.rule(nodes);
            ASSERT_EQ(rule.count, nodes);
            for (int i = 0; i < points; ++i)
                for (int degree = 0; degree < nodes; ++degree) {
                    const double s = this->pointAt(i, points);
                    EXPECT_NEAR(
                        this->integral(rule, i, [=](double x) { return std::pow(x, degree); }),
                        std::pow(s, degree + 1) / (degree + 1), 8 * this->unit)
                        << points << " points, " << nodes << " nodes, point " << i;
                }
        }
    }
}

// exp(jcx) grows to exp(c Im x) on an ellipse: M = exp(c (rho - 1/rho)/2).
TYPED_TEST(RunRulesTest, AreWithinTheirBound) {
    constexpr int points = 26;
    const RunRules<TypeParam> rules(points);
    for (const double c : {0.1, 1.0, 8.0, 20.0})
        for (int nodes = 2; nodes <= RunRules<TypeParam>::mostNodes; nodes += 2) {
            double bound = std::numeric_limits<double>::infinity();
            for (int k = 1; k < 32; ++k) {
                const double rho = std::pow(1.1, k);
                bound = std::min(bound, 4 * std::exp(c * (rho - 1 / rho) / 2) *
                                            std::pow(rho, -nodes) / (1 - 1 / rho));
            }
            for (int i = 0; i < points; ++i) {
                const double s = this->pointAt(i, points);
                const std::complex<double> j(0, 1);
                const auto exact = (std::exp(j * c * s) - 1.0) / (j * c);
                const auto got = this->integral(rules.rule(nodes), i,
                                                [=](double x) { return std::exp(j * c * x); });
                EXPECT_LE(std::abs(got - exact), bound + 16 * this->unit)
                    << "c " << c << ", " << nodes << " nodes, point " << i;
            }
        }
}

TYPED_TEST(RunRulesTest, AreMadeOnceWhicheverThreadAsks) {
    const RunRules<TypeParam> rules(5);
    std::vector<const TypeParam*> seen(4);
    {
        std::vector<std::jthread> threads;
        for (auto& at : seen) threads.emplace_back([&] { at = rules.rule(12).integrals; });
    }
    for (const TypeParam* at : seen) EXPECT_EQ(at, seen.front());
}

}  // namespace
