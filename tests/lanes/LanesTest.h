// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <type_traits>
#include <vector>

#include "PackOperations.h"
#include "lanes/InstructionSet.h"

/// A test of the packs of T. It is skipped on a processor without their instruction set.
template <class T>
class LanesTest : public testing::Test {
  protected:
    void SetUp() override {
        constexpr auto set = lanes::InstructionSet::PISTONFIELD_SET_OF_PACKS;
        if (set > lanes::bestInstructionSet())
            GTEST_SKIP() << "this processor is not " << lanes::nameOf(set);
    }

    /// Calls check(operations) for every kind of pack.
    template <class Check>
    static void forEachPack(Check check) {
        for (const PackOperations<T>& operations : packOperations<T>()) {
            SCOPED_TRACE(testing::Message() << operations.lanes << " lanes");
            check(operations);
        }
    }
};

struct PrecisionName {
    template <class T>
    static std::string GetName(int /*index*/) {
        return std::is_same_v<T, float> ? "float" : "double";
    }
};

using Precisions = testing::Types<float, double>;
