// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/arguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using cuda_runtime::argumentOffsets;
using testing::ElementsAre;

struct Complex;
struct Complexd;

TEST(ArgumentOffsets, OfFourByteAddresses) {
    EXPECT_THAT((argumentOffsets<Complexd*, int, int, int, double*, double, double, double>(4)),
                ElementsAre(0, 4, 8, 12, 16, 24, 32, 40));
    EXPECT_THAT((argumentOffsets<Complex*, int, int, int, float*, float, float, float>(4)),
                ElementsAre(0, 4, 8, 12, 16, 20, 24, 28));
}

TEST(ArgumentOffsets, OfEightByteAddresses) {
    EXPECT_THAT((argumentOffsets<Complexd*, int, int, int, double*, double, double, double>(8)),
                ElementsAre(0, 8, 12, 16, 24, 32, 40, 48));
    EXPECT_THAT((argumentOffsets<Complex*, int, int, int, float*, float, float, float>(8)),
                ElementsAre(0, 8, 12, 16, 24, 32, 36, 40));
    EXPECT_THAT((argumentOffsets<float*, float*, int>(8)), ElementsAre(0, 8, 16));
}

TEST(ArgumentOffsets, OfNoParameters) { EXPECT_TRUE(argumentOffsets<>(8).empty()); }

}  // namespace
