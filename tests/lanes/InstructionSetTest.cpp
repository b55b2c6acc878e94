// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "lanes/InstructionSet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <set>
#include <sstream>
#include <string>

namespace {

using lanes::InstructionSet;

TEST(InstructionSetTest, IsTheOneThatWasChosen) {
    const InstructionSet before = lanes::instructionSet();
    lanes::useInstructionSet(InstructionSet::baseline);
    EXPECT_EQ(lanes::instructionSet(), InstructionSet::baseline);
    lanes::useInstructionSet(before);
    EXPECT_EQ(lanes::instructionSet(), before);
}

#ifdef __x86_64__

/// What the system says that the processor has.
std::set<std::string> processorFlags() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with("flags")) continue;
        std::istringstream words(line.substr(line.find(':') + 1));
        std::set<std::string> flags;
        for (std::string word; words >> word;) flags.insert(word);
        return flags;
    }
    return {};
}

bool hasAll(const std::set<std::string>& flags, std::initializer_list<const char*> wanted) {
    return std::all_of(wanted.begin(), wanted.end(),
                       [&](const char* flag) { return flags.contains(flag); });
}

TEST(InstructionSetTest, IsTheBestThatTheProcessorHas) {
    const std::set<std::string> flags = processorFlags();
    if (flags.empty()) GTEST_SKIP() << "the system does not say what the processor has";
    const bool v3 = hasAll(flags, {"avx2", "fma", "bmi1", "bmi2"});
    const bool v4 =
        v3 && hasAll(flags, {"avx512f", "avx512bw", "avx512cd", "avx512dq", "avx512vl"});
    EXPECT_EQ(lanes::bestInstructionSet(), v4   ? InstructionSet::v4
                                           : v3 ? InstructionSet::v3
                                                : InstructionSet::baseline);
}

TEST(InstructionSetTest, HasAName) {
    EXPECT_STREQ(lanes::nameOf(InstructionSet::baseline), "x86-64");
    EXPECT_STREQ(lanes::nameOf(InstructionSet::v3), "x86-64-v3");
    EXPECT_STREQ(lanes::nameOf(InstructionSet::v4), "x86-64-v4");
}

#else

TEST(InstructionSetTest, HasAName) {
    EXPECT_STREQ(lanes::nameOf(InstructionSet::baseline), "aarch64");
}

#endif

TEST(InstructionSetTest, HasANameOfItsOwn) {
    std::set<std::string> names;
    for (const InstructionSet set : lanes::instructionSets) names.insert(lanes::nameOf(set));
    EXPECT_EQ(names.size(), std::size(lanes::instructionSets));
    EXPECT_FALSE(names.contains("unknown"));
    EXPECT_STREQ(lanes::nameOf(static_cast<InstructionSet>(std::size(lanes::instructionSets))),
                 "unknown");
}

}  // namespace
