// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/Integ.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "FastNearfield/GaussLegendre.h"

namespace {

/// A function that takes note of where it is evaluated.
template <class T, class Function>
struct Noted {
    using return_type = T;
    T operator()(T t) const {
        points.push_back(t);
        return function(t);
    }
    Function function;
    mutable std::vector<T> points;
};

template <class T, class Function>
Noted<T, Function> noted(Function function) {
    return {function, {}};
}

/// A hand-made rule.
template <class T>
struct TableRule : GaussLegendre<T> {
    TableRule(const std::vector<T>& nodes, const std::vector<T>& weights) {
        this->setOrder(static_cast<int>(nodes.size()));
        std::copy(nodes.begin(), nodes.end(), this->abscissas);
        std::copy(weights.begin(), weights.end(), this->weights);
    }
};

std::vector<double> mappedNodes(const GaussLegendre<double>& rule) {
    return {rule.mappedAbscissas, rule.mappedAbscissas + rule.order};
}

std::vector<double> mappedWeights(const GaussLegendre<double>& rule) {
    return {rule.mappedWeights, rule.mappedWeights + rule.order};
}

TEST(Integ, IsExactForPolynomialsUpToTwiceTheOrder) {
    GaussLegendre<double> rule;
    rule.compute(3);
    const Integ<double> integrate(&rule);
    const auto f = noted<double>([](double t) { return 6 * t * t * t * t * t - 3 * t * t + 1; });
    EXPECT_NEAR(integrate(f, -1.0, 2.0), 63.0 - 9.0 + 3.0, 1e-13);
}

TEST(Integ, AppliesTheRuleThatItPointsAt) {
    TableRule<double> one({0.0}, {2.0});
    TableRule<double> two({-0.5, 0.5}, {1.0, 1.0});
    Integ<double> integrate(&one);
    const auto square = noted<double>([](double t) { return t * t; });
    EXPECT_EQ(integrate.rule, &one);
    EXPECT_EQ(integrate(square, -1.0, 1.0), 0.0);
    integrate.rule = &two;
    EXPECT_EQ(integrate(square, -1.0, 1.0), 0.5);
}

TEST(Integ, EvaluatesOncePerNodeInIncreasingOrder) {
    TableRule<double> rule({-0.5, 0.0, 0.5}, {0.5, 1.0, 0.5});
    const Integ<double> integrate(&rule);
    const auto f = noted<double>([](double t) { return t; });
    EXPECT_EQ(integrate(f, 0.0, 4.0), 8.0);
    EXPECT_THAT(f.points, testing::ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(mappedNodes(rule), testing::ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(mappedWeights(rule), testing::ElementsAre(1.0, 2.0, 1.0));
}

TEST(Integ, SumsTheTermsInOrder) {
    // 1e16 + 1 rounds to 1e16, so only from the left is the middle term lost.
    TableRule<double> rule({-0.5, 0.0, 0.5}, {1.0, 1.0, 1.0});
    const Integ<double> integrate(&rule);
    const auto f = noted<double>([](double t) { return t == 0.0 ? 1.0 : std::copysign(1e16, -t); });
    EXPECT_EQ(integrate(f, -1.0, 1.0), 0.0);
    const auto last = noted<double>([](double t) {
        return t > 0.0 ? 1.0 : t < 0.0 ? 1e16 : -1e16;
    });
    EXPECT_EQ(integrate(last, -1.0, 1.0), 1.0);
}

TEST(Integ, MapsInTheRulesOwnPrecision) {
    TableRule<float> rule({-0.3F, 0.7F}, {0.9F, 1.1F});
    const Integ<float> integrate(&rule);
    const float a = 0.1F;
    const float b = 7.3F;
    const auto f = noted<float>([](float t) { return t; });
    const float sum = integrate(f, a, b);
    const float half = (b - a) * 0.5F;
    const float mid = (a + b) * 0.5F;
    const float t0 = half * -0.3F + mid;
    const float t1 = half * 0.7F + mid;
    EXPECT_THAT(f.points, testing::ElementsAre(t0, t1));
    EXPECT_EQ(sum, half * 0.9F * t0 + half * 1.1F * t1);
}

TEST(Integ, ReversedIntervalHasNegativeWeightsAndTheSignedIntegral) {
    GaussLegendre<double> rule;
    rule.compute(4);
    const Integ<double> integrate(&rule);
    const auto cube = noted<double>([](double t) { return t * t * t; });
    EXPECT_NEAR(integrate(cube, 2.0, 0.0), -4.0, 1e-14);
    EXPECT_THAT(mappedWeights(rule), testing::Each(testing::Lt(0.0)));
    EXPECT_GT(rule.mappedAbscissas[0], rule.mappedAbscissas[3]);
}

TEST(Integ, OrderOneIsTheMidpointTimesTheLength) {
    GaussLegendre<double> rule;
    rule.compute(1);
    const Integ<double> integrate(&rule);
    const auto f = noted<double>([](double t) { return 10 * t; });
    EXPECT_EQ(integrate(f, 1.0, 4.0), 75.0);
    EXPECT_THAT(f.points, testing::ElementsAre(2.5));
    EXPECT_THAT(mappedWeights(rule), testing::ElementsAre(3.0));
}

TEST(Integ, OrderZeroGivesZeroWithoutEvaluating) {
    GaussLegendre<double> rule;
    const Integ<double> integrate(&rule);
    const auto f = noted<double>([](double t) { return t; });
    EXPECT_EQ(integrate(f, 1.0, 2.0), 0.0);
    rule.compute(2);
    rule.setOrder(0);
    EXPECT_EQ(integrate(f, 1.0, 2.0), 0.0);
    EXPECT_THAT(f.points, testing::IsEmpty());
}

TEST(Integ, EmptyIntervalGivesZeroFromTheFirstUse) {
    GaussLegendre<double> rule;
    rule.compute(1);
    const Integ<double> integrate(&rule);
    const auto f = noted<double>([](double /*t*/) { return 5.0; });
    EXPECT_EQ(integrate(f, 0.0, 0.0), 0.0);
}

TEST(Integ, IntervalBetweenTheMappedEndNodesKeepsTheMapping) {
    TableRule<double> rule({-0.5, 0.5}, {1.0, 1.0});
    const Integ<double> integrate(&rule);
    const auto one = noted<double>([](double /*t*/) { return 1.0; });
    EXPECT_EQ(integrate(one, 0.0, 4.0), 4.0);  // nodes 1 and 3
    // [1, 3] has length 2, but keeps the nodes and weights of [0, 4].
    EXPECT_EQ(integrate(one, 1.0, 3.0), 4.0);
    EXPECT_THAT(one.points, testing::ElementsAre(1.0, 3.0, 1.0, 3.0));
}

TEST(Integ, SameIntervalTwiceIsMappedAfresh) {
    TableRule<double> rule({-0.5, 0.5}, {1.0, 1.0});
    const Integ<double> integrate(&rule);
    const auto one = noted<double>([](double /*t*/) { return 1.0; });
    EXPECT_EQ(integrate(one, 0.0, 4.0), 4.0);
    rule.mappedWeights[0] = 100.0;
    EXPECT_EQ(integrate(one, 0.0, 4.0), 4.0);
}

TEST(Integ, IntervalThatMeetsOneMappedEndNodeIsMappedAfresh) {
    TableRule<double> rule({-0.5, 0.5}, {1.0, 1.0});
    const Integ<double> integrate(&rule);
    const auto one = noted<double>([](double /*t*/) { return 1.0; });
    EXPECT_EQ(integrate(one, 0.0, 4.0), 4.0);
    EXPECT_EQ(integrate(one, 1.0, 3.5), 2.5);
    EXPECT_EQ(integrate(one, 0.0, 4.0), 4.0);
    EXPECT_EQ(integrate(one, 0.5, 3.0), 2.5);
}

TEST(Integ, RuleWithNodesAtTheEndsKeepsTheMappingOfARepeatedInterval) {
    TableRule<double> rule({-1.0, 1.0}, {1.0, 1.0});
    const Integ<double> integrate(&rule);
    const auto one = noted<double>([](double /*t*/) { return 1.0; });
    EXPECT_EQ(integrate(one, 2.0, 5.0), 3.0);
    rule.mappedWeights[0] = 100.0;
    EXPECT_EQ(integrate(one, 2.0, 5.0), 101.5);
    EXPECT_EQ(integrate(one, 2.0, 6.0), 4.0);
}

TEST(Integ, OneNodeRuleKeepsASymmetricIntervalsMappingForTheEmptyOneAtZero) {
    GaussLegendre<double> rule;
    rule.compute(1);
    const Integ<double> integrate(&rule);
    const auto one = noted<double>([](double /*t*/) { return 1.0; });
    EXPECT_EQ(integrate(one, -3.0, 3.0), 6.0);
    EXPECT_EQ(integrate(one, 0.0, 0.0), 6.0);
}

}  // namespace
