// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <vector>

#include "FastNearfield/GaussLegendre.h"

// Rules have the same bits whatever processor the library is compiled for.

/// The library's function, compiled for this machine's processor: see CMakeLists.txt.
void native_legendre_compute(int order, double* x, double* w);

namespace {

using Compute = void (*)(int, double*, double*);

/// The nodes of a rule, then its weights.
std::vector<double> ruleBy(Compute compute, int order) {
    const auto size = static_cast<std::size_t>(order);
    std::vector<double> rule(2 * size);
    compute(order, rule.data(), rule.data() + size);
    return rule;
}

/// Whether the rules of an order are the same, bit for bit.
bool agree(int order) {
    const std::vector<double> rule = ruleBy(&legendre_compute, order);
    const std::vector<double> native = ruleBy(&native_legendre_compute, order);
    return std::memcmp(rule.data(), native.data(), rule.size() * sizeof(double)) == 0;
}

TEST(NativeRules, HaveTheBitsOfTheLibrarysRules) {
    std::vector<int> differing;
    for (int order = 1; order <= 700; ++order)
        if (!agree(order)) differing.push_back(order);
    for (const int order : {1000, 1511, 2048, 4095, 8192})
        if (!agree(order)) differing.push_back(order);
    EXPECT_EQ(differing, std::vector<int>());
}

}  // namespace
