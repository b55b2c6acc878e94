// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include "run/processes/Watch.h"

namespace {

using run::Silence;
using std::chrono::seconds;

constexpr Silence::Clock::time_point begin{};

TEST(Silence, IsToldOnceWhenItHasBecomeTooLong) {
    Silence silence({"zero", "one", "two"}, seconds(30), begin);
    EXPECT_EQ(silence.news(begin + seconds(29)), "");
    EXPECT_EQ(silence.heard(1, begin + seconds(29)), "");
    EXPECT_EQ(silence.news(begin + seconds(30)),
              "nothing was heard for 30 s of two; the run waits for it");
    EXPECT_EQ(silence.news(begin + seconds(58)), "");
    EXPECT_EQ(silence.news(begin + seconds(59)),
              "nothing was heard for 30 s of one; the run waits for it");
}

TEST(Silence, ThatEndsIsToldToo) {
    Silence silence({"zero", "one"}, seconds(30), begin);
    EXPECT_NE(silence.news(begin + seconds(40)), "");
    EXPECT_EQ(silence.heard(1, begin + seconds(41)), "one is heard of again");
    EXPECT_EQ(silence.heard(1, begin + seconds(42)), "");
    EXPECT_NE(silence.news(begin + seconds(90)), "");
}

TEST(Silence, OfWhoHasNothingMoreToSayIsNone) {
    Silence silence({"zero", "one"}, seconds(30), begin);
    silence.gone(1);
    EXPECT_EQ(silence.news(begin + seconds(90)), "");
}

TEST(Silence, OfManyIsToldInALine) {
    Silence silence({"0", "1", "2", "3", "4", "5", "6", "7"}, seconds(30), begin);
    EXPECT_EQ(silence.news(begin + seconds(30)),
              "nothing was heard for 30 s of 1, 2, 3, 4, 5 and 2 others; the run waits for them");
}

}  // namespace
