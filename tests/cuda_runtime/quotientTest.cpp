// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

#include "cuda_runtime/kernel.h"

namespace {

constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();

// Where a quotient that is rounded rather than cut would be off by one: beside multiples.
TEST(QuotientTest, IsThatOfIntegersBesideMultiplesUpToTheLargest) {
    using Ints = cuda_runtime::Lanes<float>::Ints;
    const std::vector<std::int32_t> divisors{1, 2, 3, 7, 100, 46341, 65536, largest - 1, largest};
    for (const std::int32_t divisor : divisors) {
        const std::int32_t most = largest / divisor;
        for (const std::int32_t multiple : {0, 1, 2, most / 2, most - 1, most}) {
            for (const std::int64_t offset : {-1, 0, 1}) {
                const std::int64_t index = std::int64_t{multiple} * divisor + offset;
                if (index < 0 || index > largest) continue;
                const auto narrow = static_cast<std::int32_t>(index);
                const Ints quotients =
                    cuda_runtime::quotient(lanes::broadcast<Ints>(narrow), divisor);
                EXPECT_EQ(quotients[0], narrow / divisor) << narrow << " / " << divisor;
            }
        }
    }
}

}  // namespace
