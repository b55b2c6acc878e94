// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "reference/Legendre.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>

using reference::legendreRule;
using reference::Rule;

namespace {

constexpr double unit = 0x1p-112;  // distance from 1 to the next Quad

double difference(Quad a, Quad b) { return static_cast<double>(fabsq(a - b)); }

Quad moment(const Rule& rule, int degree) {
    Quad sum = 0;
    for (std::size_t i = 0; i < rule.nodes.size(); ++i) {
        Quad term = rule.weights[i];
        for (int power = 0; power < degree; ++power) term *= rule.nodes[i];
        sum += term;
    }
    return sum;
}

TEST(ReferenceQuad, PiIsAZeroOfTheSineTo113Bits) {
    Quad sine = 1;
    Quad cosine = 0;
    sincosq(reference::pi, &sine, &cosine);
    EXPECT_LT(difference(sine, 0), 2 * unit);
}

TEST(ReferenceLegendre, RulesOfLowOrderHaveTheirClosedForms) {
    const Rule one = legendreRule(1);
    EXPECT_EQ(difference(one.nodes[0], 0), 0);
    EXPECT_EQ(difference(one.weights[0], 2), 0);

    const Rule two = legendreRule(2);
    EXPECT_LT(difference(two.nodes[1], 1 / sqrtq(3)), unit);
    EXPECT_LT(difference(two.weights[0], 1), 4 * unit);

    const Rule three = legendreRule(3);
    const Quad five = 5;
    EXPECT_LT(difference(three.nodes[0], -sqrtq(3 / five)), unit);
    EXPECT_LT(difference(three.weights[0], five / 9), 4 * unit);
    EXPECT_LT(difference(three.weights[1], 8 / Quad(9)), 4 * unit);
}

TEST(ReferenceLegendre, RuleIsExactUpToDegreeTwiceItsOrderLessOne) {
    for (const int order : {1, 2, 3, 4, 7, 16, 33, 100}) {
        const Rule rule = legendreRule(order);
        for (int degree = 0; degree < 2 * order; degree += 2)
            EXPECT_LT(difference(moment(rule, degree), 2 / Quad(degree + 1)), 20 * unit)
                << "order " << order << ", degree " << degree;
    }
    // At the next degree two points miss the integral of x^4 by 2/5 - 2/9.
    EXPECT_LT(difference(2 / Quad(5) - moment(legendreRule(2), 4), Quad(8) / 45), 10 * unit);
}

TEST(ReferenceLegendre, WideningKeepsEveryValue) {
    constexpr std::array<float, 2> nodes{-0.1F, 0.1F};
    constexpr std::array<float, 2> weights{0.3F, 1.7F};
    const Rule rule = reference::widen(2, nodes.data(), weights.data());
    EXPECT_EQ(static_cast<double>(rule.nodes[0]), static_cast<double>(-0.1F));
    EXPECT_EQ(static_cast<double>(rule.weights[1]), static_cast<double>(1.7F));
}

}  // namespace
