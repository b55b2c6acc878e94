// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include "method/Orders.h"

namespace {

using pistonfield::OrderLadder;

constexpr int most = 1 << 16;

TEST(OrderLadder, HasEveryOrderUpTo32) {
    for (int nodes = 1; nodes <= 32; ++nodes)
        EXPECT_EQ(OrderLadder::nodesOf(OrderLadder::rungOf(nodes)), nodes);
}

TEST(OrderLadder, HasForEveryOrderOneThatIsEnoughAndAtMostAnEighthLarger) {
    for (int nodes = 33; nodes <= most; ++nodes) {
        const int taken = OrderLadder::nodesOf(OrderLadder::rungOf(nodes));
        ASSERT_GE(taken, nodes);
        ASSERT_LE(8 * (taken - nodes), nodes) << nodes;
    }
}

TEST(OrderLadder, TakesTheLeastRungThatIsEnough) {
    for (int nodes = 2; nodes <= most; ++nodes)
        ASSERT_LT(OrderLadder::nodesOf(OrderLadder::rungOf(nodes) - 1), nodes);
}

TEST(OrderLadder, RisesFromRungToRung) {
    for (int rung = 0; rung < OrderLadder::rungOf(most); ++rung) {
        ASSERT_LT(OrderLadder::nodesOf(rung), OrderLadder::nodesOf(rung + 1));
        ASSERT_EQ(OrderLadder::rungOf(OrderLadder::nodesOf(rung)), rung);
    }
}

TEST(OrderLadder, TakesTheFirstRungForLessThanANode) {
    EXPECT_EQ(OrderLadder::rungOf(0), 0);
    EXPECT_EQ(OrderLadder::rungOf(-5), 0);
    EXPECT_EQ(OrderLadder::nodesOf(0), 1);
}

}  // namespace
