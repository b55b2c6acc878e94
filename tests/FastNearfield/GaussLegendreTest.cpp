// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/GaussLegendre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <new>
#include <numeric>
#include <set>
#include <vector>

#include "core/limits.h"
#include "reference/Legendre.h"

namespace {

/// The product's double rule.
struct Rule {
    explicit Rule(int order) : nodes(static_cast<std::size_t>(order)), weights(nodes.size()) {
        legendre_compute(order, nodes.data(), weights.data());
    }
    std::vector<double> nodes;
    std::vector<double> weights;
};

std::vector<int> testedOrders() {
    std::vector<int> orders(64);
    std::iota(orders.begin(), orders.end(), 1);
    for (const int order : {100, 255, 256, 511, 512, 1000, 2000}) orders.push_back(order);
    return orders;
}

TEST(LegendreCompute, EqualsTheRuleInHigherPrecision) {
    for (const int order : testedOrders()) {
        const Rule rule(order);
        const reference::Rule exact = reference::legendreRule(order);
        double nodeError = 0;
        double weightError = 0;
        for (std::size_t i = 0; i < rule.nodes.size(); ++i) {
            const auto off = [](double value, Quad from) {
                return static_cast<double>(fabsq(value - from));
            };
            nodeError = std::max(nodeError, off(rule.nodes[i], exact.nodes[i]));
            weightError = std::max(weightError, off(rule.weights[i], exact.weights[i]));
        }
        EXPECT_LE(nodeError, 2e-16) << "order " << order;
        EXPECT_LE(weightError, 1e-15) << "order " << order;
    }
}

// Of the nodes, those nearest to 1 suffer first from a guess that is off.
TEST(LegendreCompute, IsAccurateUpToTheLargestAccurateOrder) {
    for (const int order : {16383, 16384, 17001, pistonfield::largestAccurateOrder}) {
        const Rule rule(order);
        for (const int i : {1, 2, 3, 4, 10, 100, order / 4, order / 2}) {
            const auto [node, weight] = reference::legendreNode(order, i);
            const auto at = static_cast<std::size_t>(order - i);
            EXPECT_LE(static_cast<double>(fabsq(rule.nodes[at] - node)), 2e-16)
                << "order " << order << ", node " << i;
            EXPECT_LE(static_cast<double>(fabsq(rule.weights[at] - weight)), 1e-15)
                << "order " << order << ", node " << i;
        }
        const auto notIncreasing = [](double a, double b) { return a >= b; };
        EXPECT_EQ(std::adjacent_find(rule.nodes.begin(), rule.nodes.end(), notIncreasing),
                  rule.nodes.end());
        EXPECT_NEAR(std::accumulate(rule.weights.begin(), rule.weights.end(), 0.0), 2.0, 1e-13);
    }
}

TEST(LegendreCompute, OrderOneIsTheMidpointRule) {
    const Rule rule(1);
    EXPECT_EQ(rule.nodes[0], 0.0);
    EXPECT_FALSE(std::signbit(rule.nodes[0]));
    EXPECT_EQ(rule.weights[0], 2.0);
}

TEST(LegendreCompute, OrderTwoHasItsNodesAtTheRootOfOneThird) {
    const Rule rule(2);
    EXPECT_DOUBLE_EQ(rule.nodes[0], -1 / std::sqrt(3.0));
    EXPECT_DOUBLE_EQ(rule.nodes[1], 1 / std::sqrt(3.0));
    EXPECT_DOUBLE_EQ(rule.weights[0], 1.0);
    EXPECT_DOUBLE_EQ(rule.weights[1], 1.0);
}

TEST(LegendreCompute, RuleIsExactlySymmetricAroundZero) {
    for (const int order : testedOrders()) {
        const Rule rule(order);
        const std::size_t n = rule.nodes.size();
        for (std::size_t i = 0; i < n; ++i) {
            ASSERT_EQ(rule.nodes[i], -rule.nodes[n - 1 - i]) << "order " << order;
            ASSERT_EQ(rule.weights[i], rule.weights[n - 1 - i]) << "order " << order;
        }
        if (order % 2 == 1) {
            EXPECT_EQ(rule.nodes[n / 2], 0.0) << "order " << order;
        }
    }
}

TEST(LegendreCompute, NodesIncreaseInsideTheInterval) {
    for (const int order : testedOrders()) {
        const Rule rule(order);
        EXPECT_GT(rule.nodes.front(), -1.0);
        EXPECT_LT(rule.nodes.back(), 1.0);
        const auto notIncreasing = [](double a, double b) { return a >= b; };
        EXPECT_EQ(std::adjacent_find(rule.nodes.begin(), rule.nodes.end(), notIncreasing),
                  rule.nodes.end())
            << "order " << order;
    }
}

TEST(LegendreCompute, WeightsArePositiveAndAddUpToTheIntervalsLength) {
    for (const int order : testedOrders()) {
        const Rule rule(order);
        EXPECT_GT(*std::min_element(rule.weights.begin(), rule.weights.end()), 0.0);
        EXPECT_NEAR(std::accumulate(rule.weights.begin(), rule.weights.end(), 0.0), 2.0, 1e-14)
            << "order " << order;
    }
}

TEST(LegendreCompute, FloatRuleIsTheDoubleRuleRounded) {
    for (const int order : testedOrders()) {
        const Rule rule(order);
        std::vector<float> nodes(rule.nodes.size());
        std::vector<float> weights(rule.nodes.size());
        legendre_compute<float>(order, nodes.data(), weights.data());
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            ASSERT_EQ(nodes[i], static_cast<float>(rule.nodes[i])) << "order " << order;
            ASSERT_EQ(weights[i], static_cast<float>(rule.weights[i])) << "order " << order;
        }
    }
}

TEST(LegendreCompute, WritesNothingBeyondTheRule) {
    for (const int order : {1, 2, 5}) {
        const auto n = static_cast<std::size_t>(order);
        std::vector<double> nodes(n + 1, 42.0);
        std::vector<double> weights(n + 1, 42.0);
        legendre_compute(order, nodes.data(), weights.data());
        EXPECT_EQ(nodes[n], 42.0);
        EXPECT_EQ(weights[n], 42.0);
    }
}

/// Sends standard output where a death test looks for text: to standard error.
void joinOutputs() { dup2(STDERR_FILENO, STDOUT_FILENO); }

template <class T>
void computeRefusedOrder(int order) {
    joinOutputs();
    T unused = 0;
    legendre_compute(order, &unused, &unused);
}

TEST(LegendreComputeDeathTest, RefusesAnOrderBelowOneOnStandardOutput) {
    EXPECT_EXIT(computeRefusedOrder<double>(0), testing::ExitedWithCode(1),
                testing::Eq("\nLEGENDRE_COMPUTE - Fatal error!\n  Illegal value of ORDER = 0\n"));
    EXPECT_EXIT(computeRefusedOrder<double>(-17), testing::ExitedWithCode(1),
                testing::Eq("\nLEGENDRE_COMPUTE - Fatal error!\n  Illegal value of ORDER = -17\n"));
    EXPECT_EXIT(computeRefusedOrder<float>(-1), testing::ExitedWithCode(1),
                testing::Eq("\nLEGENDRE_COMPUTE - Fatal error!\n  Illegal value of ORDER = -1\n"));
}

TEST(LegendreComputeDeathTest, RefusalWritesNothingToStandardError) {
    const auto refuse = [] {
        double unused = 0;
        legendre_compute(0, &unused, &unused);
    };
    EXPECT_EXIT(refuse(), testing::ExitedWithCode(1), testing::Eq(""));
}

template <class T>
class GaussLegendreTest : public testing::Test {
  protected:
    static std::vector<T*> arraysOf(const GaussLegendre<T>& rule) {
        return {rule.abscissas, rule.weights, rule.mappedAbscissas, rule.mappedWeights};
    }
};

using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(GaussLegendreTest, Precisions);

TYPED_TEST(GaussLegendreTest, OwnsNoArraysAtFirst) {
    const GaussLegendre<TypeParam> rule;
    EXPECT_TRUE(rule.unallocated);
    EXPECT_EQ(rule.order, 0);
    EXPECT_THAT(this->arraysOf(rule), testing::Each(testing::IsNull()));
}

TYPED_TEST(GaussLegendreTest, InitAllocatesNothingForAnUnallocatedRule) {
    GaussLegendre<TypeParam> rule;
    rule.order = 5;
    rule.init();
    EXPECT_THAT(this->arraysOf(rule), testing::Each(testing::IsNull()));
}

TYPED_TEST(GaussLegendreTest, DestructionFreesNothingOfAnUnallocatedRule) {
    std::vector<TypeParam> foreign(4);
    {
        GaussLegendre<TypeParam> rule;
        rule.order = 4;
        rule.abscissas = rule.weights = rule.mappedAbscissas = rule.mappedWeights = foreign.data();
    }
    EXPECT_EQ(foreign, std::vector<TypeParam>(4));
}

TYPED_TEST(GaussLegendreTest, InitAllocatesFourArraysAndKeepsEarlierOnesAlive) {
    GaussLegendre<TypeParam> rule;
    rule.order = 3;
    rule.unallocated = false;
    rule.init();
    std::vector<TypeParam*> earlier = this->arraysOf(rule);
    EXPECT_THAT(earlier, testing::Each(testing::NotNull()));
    EXPECT_EQ(std::set<TypeParam*>(earlier.begin(), earlier.end()).size(), 4U);
    for (TypeParam* array : earlier) std::fill_n(array, 3, TypeParam(7));

    rule.init();
    for (TypeParam* array : earlier) {
        EXPECT_THAT(this->arraysOf(rule), testing::Not(testing::Contains(array)));
        EXPECT_EQ(array[2], TypeParam(7));
        delete[] array;
    }
}

TYPED_TEST(GaussLegendreTest, NewOrderAllocatesArraysOfThatOrder) {
    GaussLegendre<TypeParam> rule;
    EXPECT_TRUE(rule.setOrder(6));
    EXPECT_EQ(rule.order, 6);
    EXPECT_FALSE(rule.unallocated);
    for (TypeParam* array : this->arraysOf(rule)) std::fill_n(array, 6, TypeParam(1));
    EXPECT_TRUE(rule.setOrder(9));
    EXPECT_EQ(rule.order, 9);
    for (TypeParam* array : this->arraysOf(rule)) std::fill_n(array, 9, TypeParam(1));
}

TYPED_TEST(GaussLegendreTest, SameOrderLeavesTheArraysAsTheyAre) {
    GaussLegendre<TypeParam> rule;
    rule.compute(4);
    const std::vector<TypeParam*> before = this->arraysOf(rule);
    rule.abscissas[1] = TypeParam(0.125);
    rule.weights[2] = TypeParam(0.25);
    EXPECT_FALSE(rule.setOrder(4));
    rule.compute(4);
    EXPECT_EQ(this->arraysOf(rule), before);
    EXPECT_EQ(rule.abscissas[1], TypeParam(0.125));
    EXPECT_EQ(rule.weights[2], TypeParam(0.25));
}

TYPED_TEST(GaussLegendreTest, OrderZeroOfANewRuleChangesNothing) {
    GaussLegendre<TypeParam> rule;
    EXPECT_FALSE(rule.setOrder(0));
    EXPECT_TRUE(rule.unallocated);
}

TYPED_TEST(GaussLegendreTest, ReturnsToOrderZero) {
    GaussLegendre<TypeParam> rule;
    rule.compute(3);
    EXPECT_TRUE(rule.setOrder(0));
    EXPECT_EQ(rule.order, 0);
    EXPECT_FALSE(rule.unallocated);
}

TYPED_TEST(GaussLegendreTest, ComputesTheRuleOfANewOrder) {
    GaussLegendre<TypeParam> rule;
    for (const int order : {1, 5, 100}) {
        rule.compute(order);
        ASSERT_THAT(this->arraysOf(rule), testing::Each(testing::NotNull()));
        const Rule expected(order);
        for (std::size_t i = 0; i < expected.nodes.size(); ++i) {
            ASSERT_EQ(rule.abscissas[i], static_cast<TypeParam>(expected.nodes[i]));
            ASSERT_EQ(rule.weights[i], static_cast<TypeParam>(expected.weights[i]));
        }
    }
}

TYPED_TEST(GaussLegendreTest, TakesTheRuleOfATable) {
    constexpr std::array<double, 6> pairs{-0.7, 0.6, 0.1, 0.8, 0.9, 0.6};
    GaussLegendre<TypeParam> rule;
    // Whatever the rule was before, one of the same order too.
    for (const int before : {0, 3, 100}) {
        rule.setOrder(before);
        rule.take(3, pairs.data());
        EXPECT_EQ(rule.order, 3);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(rule.abscissas[i], static_cast<TypeParam>(pairs[2 * i]));
            EXPECT_EQ(rule.weights[i], static_cast<TypeParam>(pairs[2 * i + 1]));
        }
    }
}

TYPED_TEST(GaussLegendreTest, ReplacesATableOfTheSameOrder) {
    constexpr std::array<double, 4> first{-0.7, 1, 0.7, 1};
    constexpr std::array<double, 4> second{-0.5, 0.25, 0.5, 0.75};
    GaussLegendre<TypeParam> rule;
    rule.take(2, first.data());
    rule.take(2, second.data());
    EXPECT_THAT(std::vector(rule.abscissas, rule.abscissas + 2), testing::ElementsAre(-0.5, 0.5));
    EXPECT_THAT(std::vector(rule.weights, rule.weights + 2), testing::ElementsAre(0.25, 0.75));
}

TYPED_TEST(GaussLegendreTest, NegativeOrderFailsToAllocateAndLeavesNothingToFree) {
    GaussLegendre<TypeParam> rule;
    rule.compute(3);
    EXPECT_THROW(rule.setOrder(-1), std::bad_alloc);
    EXPECT_EQ(rule.order, 0);
    EXPECT_TRUE(rule.unallocated);
    EXPECT_THAT(this->arraysOf(rule), testing::Each(testing::IsNull()));
}

}  // namespace
