// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "reference/TruncationBound.h"

#include <gtest/gtest.h>

namespace {

constexpr double z = 0.75;
constexpr double k = 6.5;

reference::Offsets offsets() { return reference::offsetsOf(0.5, -1.5, 2, 1); }

double errorOf(int order) {
    const auto by = [](int n) {
        return reference::nearField(offsets(), z, k, reference::legendreRule(n)).pressure;
    };
    static const reference::QuadComplex converged = by(100);
    return static_cast<double>(reference::magnitude(by(order) - converged));
}

TEST(TruncationBound, isAboveTheErrorOfEveryOrder) {
    for (int order = 2; order < 40; ++order)
        EXPECT_LE(errorOf(order), reference::truncationBound(offsets(), z, k, order)) << order;
}

TEST(TruncationBound, asksForADozenPointsTooManyAtMost) {
    for (int order = 8; order < 32; ++order)
        EXPECT_LE(reference::truncationBound(offsets(), z, k, order + 12), errorOf(order)) << order;
}

}  // namespace
