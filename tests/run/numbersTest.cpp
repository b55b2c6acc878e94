// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/numbers.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/support/Refused.h"

namespace {

using run::numbers::real;
using run::numbers::whole;

std::string quoted(const char* text) { return std::string("'").append(text).append("'"); }

TEST(RealNumber, IsTheWholeText) {
    EXPECT_EQ(real("4188.79"), 4188.79);
    EXPECT_EQ(real("+1e-3"), 1e-3);
    EXPECT_EQ(real("-.5"), -.5);
    EXPECT_EQ(real("5."), 5);
    for (const char* text :
         {"", " 1", "1 ", "1,5", "1_000", "0x10", "--1", "+-1", "one", "1e", "."})
        EXPECT_EQ(refused([&] { real(text); }), quoted(text) + " is no number");
}

TEST(RealNumber, IsTheNearestDouble) {
    // Between 1 and the next double, at half of the way and a little beyond.
    EXPECT_EQ(real("1.00000000000000011102230246251565404"), 1.0);
    EXPECT_EQ(real("1.00000000000000011102230246251565405"), 1 + 0x1p-52);
    EXPECT_EQ(real("4.9406564584124654e-324"), 0x1p-1074);
    EXPECT_EQ(real("1.7976931348623157e308"), 0x1.fffffffffffffp1023);
}

TEST(RealNumber, BeyondTheRangeIsRefused) {
    for (const char* text : {"1e400", "-1e400", "1e-400"})
        EXPECT_EQ(refused([&] { real(text); }),
                  quoted(text) + " is beyond the range of double precision");
}

TEST(RealNumber, ComesBackFromItsText) {
    EXPECT_EQ(run::numbers::textOf(5e-3), "0.005");
    EXPECT_EQ(run::numbers::textOf(-2), "-2");
    for (const double number : {0.1, 1.0 / 3, 5e-324, 0x1.fffffffffffffp1023, -4188.790204786391})
        EXPECT_EQ(real(run::numbers::textOf(number)), number);
}

TEST(WholeNumber, IsDecimalWhateverItsZeros) {
    EXPECT_EQ(whole("010"), 10);
    EXPECT_EQ(whole("-08"), -8);
    EXPECT_EQ(whole("+7"), 7);
    EXPECT_EQ(whole("9223372036854775807"), INT64_MAX);
    for (const char* text : {"", "1.0", "1e3", "0x10", "1 000", "+", "+-1"})
        EXPECT_EQ(refused([&] { whole(text); }), quoted(text) + " is no whole number");
}

TEST(WholeNumber, BeyondTheRangeIsRefused) {
    for (const char* text : {"9223372036854775808", "18446744073709551622"})
        EXPECT_EQ(refused([&] { whole(text); }), quoted(text) + " is beyond the range of 64 bits");
}

}  // namespace
