// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/Digest.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using run::Digest;

TEST(Digest, HasATextOf32DigitsWithTheFirstHalfFirst) {
    EXPECT_EQ(run::text({0x0123456789abcdef, 2}), "0123456789abcdef0000000000000002");
}

TEST(Digest, IsAnotherForTheSameBytesAsTwoThings) {
    Digest one;
    one.add("ab");
    Digest two;
    two.add("a");
    two.add("b");
    Digest again;
    again.add("ab");
    EXPECT_NE(one.value(), two.value());
    EXPECT_EQ(one.value(), again.value());
}

TEST(Digest, IsAnotherForNumbersInAnotherOrder) {
    Digest one;
    one.add(std::array{1.0, 2.0});
    Digest other;
    other.add(std::array{2.0, 1.0});
    EXPECT_NE(one.value(), other.value());
}

}  // namespace
