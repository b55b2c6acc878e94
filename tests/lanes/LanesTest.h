// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <type_traits>
#include <vector>

#include "PackOperations.h"

/// Whether the processor has this level of the x86-64 architecture: 1, 3 or 4.
inline bool processorHasLevel(int level) {
    const bool has3 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                      __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
    const bool has4 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                      __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
                      __builtin_cpu_supports("avx512vl");
    return level == 1 || (has3 && (level == 3 || has4));
}

/// A test of the packs of T. It is skipped on a processor without their instruction set.
template <class T>
class LanesTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!processorHasLevel(PISTONFIELD_TESTED_LEVEL))
            GTEST_SKIP() << "this processor is not x86-64-v" << PISTONFIELD_TESTED_LEVEL;
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
