// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Lets the environment variable PISTONFIELD_TESTED_SET choose the instruction set of a whole test
// program: its number in lanes::InstructionSet. A set that the processor lacks ends the program
// with the status 77, which stands for "skipped".

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

#include "lanes/InstructionSet.h"

namespace {

class ForcedInstructionSet : public testing::Environment {
  public:
    void SetUp() override {
        const char* const number = std::getenv("PISTONFIELD_TESTED_SET");
        if (number == nullptr) return;
        const auto set = static_cast<lanes::InstructionSet>(std::atoi(number));
        if (set > lanes::bestInstructionSet()) {
            std::cout << "the processor has no " << lanes::nameOf(set) << std::endl;
            std::exit(77);
        }
        lanes::useInstructionSet(set);
        std::cout << "on " << lanes::nameOf(set) << std::endl;
    }
};

const testing::Environment* const registered =
    testing::AddGlobalTestEnvironment(new ForcedInstructionSet);

}  // namespace
