// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/RowRules.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>
#include <vector>

namespace {

using pistonfield::RowRule;
using pistonfield::RowRules;

constexpr int sizes[]{1, 2, 3, 7, 16, 33, 64};

template <class T>
struct RowRulesTest : testing::Test {
    static constexpr double unit = std::numeric_limits<T>::epsilon();

    /// Each weight is a sum of as many cosines as there are nodes, 32 at the most.
    static constexpr double rounding = 48 * unit;

    static double pointAt(int i, int points) {
        return points == 1 ? 0 : -1 + 2.0 * i / (points - 1);
    }

    /// What a rule makes of a function at a point.
    template <class F>
    static double interpolated(const RowRule<T>& rule, int point, F function) {
        double sum = 0;
        for (int j = 0; j < rule.count; ++j)
            sum += static_cast<double>(rule.weights[point * rule.count + j]) *
                   function(static_cast<double>(rule.nodes[j]));
        return sum;
    }

    /// Does a work with each rule.
    template <class Work>
    static void forEachRule(Work work) {
        for (const int points : sizes) {
            const RowRules<T> rules(points);
            ASSERT_EQ(rules.points(), points);
            for (int nodes = RowRules<T>::leastNodes; nodes <= RowRules<T>::mostNodes; ++nodes)
                work(rules.rule(nodes), points);
        }
    }
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(RowRulesTest, Precisions);

TYPED_TEST(RowRulesTest, InterpolatePolynomialsOfAsManyCoefficientsAsTheyHaveNodes) {
    this->forEachRule([&](const RowRule<TypeParam>& rule, int points) {
        for (int i = 0; i < points; ++i)
            for (int degree = 0; degree < rule.count; ++degree)
                EXPECT_NEAR(
                    this->interpolated(rule, i, [=](double x) { return std::pow(x, degree); }),
                    std::pow(this->pointAt(i, points), degree), this->rounding)
                    << points << " points, " << rule.count << " nodes, point " << i;
    });
}

// The polynomial that is 0 at all nodes stands for all that a rule does not see.
TYPED_TEST(RowRulesTest, InterpolateNoPolynomialOfMoreCoefficients) {
    const RowRules<TypeParam> rules(7);
    for (int nodes = 1; nodes <= 8; ++nodes) {
        const auto chebyshev = [=](double x) { return std::cos(nodes * std::acos(x)); };
        EXPECT_NEAR(this->interpolated(rules.rule(nodes), 0, chebyshev), 0, nodes * this->rounding);
        EXPECT_NEAR(std::abs(chebyshev(-1)), 1, 1e-15);
    }
}

TYPED_TEST(RowRulesTest, HaveWeightsWhoseSumIsOne) {
    this->forEachRule([&](const RowRule<TypeParam>& rule, int points) {
        for (int i = 0; i < points; ++i)
            EXPECT_NEAR(this->interpolated(rule, i, [](double) { return 1.0; }), 1, this->rounding)
                << points << " points, " << rule.count << " nodes, point " << i;
    });
}

TYPED_TEST(RowRulesTest, HaveNodesInsideTheInterval) {
    this->forEachRule([](const RowRule<TypeParam>& rule, int) {
        for (int j = 0; j < rule.count; ++j) {
            EXPECT_LT(std::abs(rule.nodes[j]), 1);
            for (int other = 0; other < j; ++other) EXPECT_NE(rule.nodes[j], rule.nodes[other]);
        }
    });
}

TYPED_TEST(RowRulesTest, KnowTheCoefficientsOfTheLastTwoPolynomials) {
    const RowRules<TypeParam> rules(5);
    for (int nodes = 2; nodes <= RowRules<TypeParam>::mostNodes; ++nodes) {
        const RowRule<TypeParam> rule = rules.rule(nodes);
        const int known = nodes == 2 ? 1 : 2;
        for (int last = 0; last < known; ++last)
            for (int m = 0; m < nodes; ++m) {
                double coefficient = 0;
                for (int j = 0; j < nodes; ++j)
                    coefficient += static_cast<double>(rule.lastCoefficients[last * nodes + j]) *
                                   std::cos(m * std::acos(static_cast<double>(rule.nodes[j])));
                // The nodes are rounded, and the m-th polynomial's slope is up to m^2.
                EXPECT_NEAR(coefficient, m == nodes - 1 - last ? 1 : 0, (16 + m) * this->unit)
                    << nodes << " nodes, polynomial " << m;
            }
    }
}

TYPED_TEST(RowRulesTest, AreThoseOfTheFirstCallForEveryThread) {
    const RowRules<TypeParam> rules(64);
    std::vector<const TypeParam*> seen(8);
    {
        std::vector<std::jthread> threads;
        for (auto& weights : seen) threads.emplace_back([&] { weights = rules.rule(31).weights; });
    }
    for (const TypeParam* weights : seen) EXPECT_EQ(weights, seen.front());
    const RowRules<TypeParam> others(64);
    const auto expected = others.rule(31);
    for (int i = 0; i < 64 * 31; ++i) EXPECT_EQ(seen.front()[i], expected.weights[i]);
}

}  // namespace
