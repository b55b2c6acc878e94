// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "core/LatticeBox.h"

#include <gtest/gtest.h>

namespace {

TEST(LatticeBox, HasNoPointsAtFirst) { EXPECT_EQ(LatticeBox().points(), 0); }

TEST(LatticeBox, CountsItsPointsWhereverItLies) {
    EXPECT_EQ((LatticeBox{{7, -2, 1'000'000'000'000}, {3, 4, 5}}).points(), 60);
}

TEST(LatticeBox, CountsMorePointsThan32BitsDo) {
    EXPECT_EQ((LatticeBox{{}, {1 << 20, 1 << 20, 1 << 20}}).points(), std::int64_t{1} << 60);
}

TEST(LatticeBox, EqualsOneOfTheSamePointsOnly) {
    const LatticeBox box{{1, 2, 3}, {4, 5, 6}};
    EXPECT_EQ(box, (LatticeBox{{1, 2, 3}, {4, 5, 6}}));
    EXPECT_NE(box, (LatticeBox{{1, 2, 4}, {4, 5, 6}}));
    EXPECT_NE(box, (LatticeBox{{1, 2, 3}, {4, 5, 7}}));
}

}  // namespace
