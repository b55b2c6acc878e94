// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "lanes/pipelined.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The stages' calls, in order; each stage hands on what it was called for.
std::vector<std::string> callsFor(int count) {
    std::vector<std::string> calls;
    const auto stage = [&calls](const char* name) {
        return [&calls, name](int i) {
            calls.push_back(name + std::to_string(i));
            return i;
        };
    };
    lanes::pipelined(count, stage("a"), stage("b"), stage("c"));
    return calls;
}

TEST(StaggeredTest, TakesNothingThroughNoStage) {
    EXPECT_THAT(callsFor(0), IsEmpty());
    EXPECT_THAT(callsFor(-1), IsEmpty());
}

TEST(StaggeredTest, TakesEachItemThroughAllStages) {
    EXPECT_THAT(callsFor(1), ElementsAre("a0", "b0", "c0"));
    EXPECT_THAT(callsFor(2), ElementsAre("a0", "b0", "a1", "c0", "b1", "c1"));
}

TEST(StaggeredTest, BeginsTheNextItemsBeforeItEndsOne) {
    EXPECT_THAT(callsFor(4), ElementsAre("a0", "b0", "a1", "b1", "a2", "c0", "b2", "a3", "c1", "c2",
                                         "b3", "c3"));
}

}  // namespace
