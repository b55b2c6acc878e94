// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "lanes/PerInstructionSet.h"

#include <gtest/gtest.h>

namespace {

using lanes::InstructionSet;

TEST(PerInstructionSetTest, HasTheValueOfTheSetInUse) {
    const lanes::PerInstructionSet<InstructionSet> values([]<InstructionSet set>() { return set; });
    const InstructionSet before = lanes::instructionSet();
    for (const InstructionSet set : lanes::instructionSets) {
        lanes::useInstructionSet(set);
        EXPECT_EQ(values.inUse(), set);
    }
    lanes::useInstructionSet(before);
}

TEST(PerInstructionSetTest, HasTheLastOfFewerValuesForTheSetsBeyond) {
    const lanes::PerInstructionSet<InstructionSet, 1> values(
        []<InstructionSet set>() { return set; });
    const InstructionSet before = lanes::instructionSet();
    for (const InstructionSet set : lanes::instructionSets) {
        lanes::useInstructionSet(set);
        EXPECT_EQ(values.inUse(), InstructionSet::baseline);
    }
    lanes::useInstructionSet(before);
}

}  // namespace
