// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/HalfTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace {

using testing::ElementsAre;

constexpr std::array<double, 10> pairs{-0.9, 0.1, -0.5, 0.2, 0, 0.3, 0.5, 0.2, 0.9, 0.1};

TEST(HalfTable, HasTheFirstHalfOfAnEvenRule) {
    const HalfTable<double> half(4, pairs.data());
    EXPECT_THAT(half.x, ElementsAre(-0.9, -0.5));
    EXPECT_THAT(half.w, ElementsAre(0.1, 0.2));
}

TEST(HalfTable, HasTheMiddleOfAnOddRuleToo) {
    const HalfTable<double> half(5, pairs.data());
    EXPECT_THAT(half.x, ElementsAre(-0.9, -0.5, 0));
    EXPECT_THAT(half.w, ElementsAre(0.1, 0.2, 0.3));
}

TEST(HalfTable, RoundsToItsPrecision) {
    const HalfTable<float> half(2, pairs.data());
    EXPECT_THAT(half.x, ElementsAre(-0.9F));
    EXPECT_THAT(half.w, ElementsAre(0.1F));
}

TEST(HalfTable, HasAnAbscissaEvenOfARuleWithoutPairs) {
    const HalfTable<float> half(0, nullptr);
    EXPECT_THAT(half.x, ElementsAre(0));
    EXPECT_THAT(half.w, testing::IsEmpty());
}

}  // namespace
