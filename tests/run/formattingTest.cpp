// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/formatting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace formatting = run::formatting;

TEST(Texts, SayDurationsInTheirTwoLargestUnits) {
    EXPECT_EQ(formatting::duration(0), "0 s");
    EXPECT_EQ(formatting::duration(11.2), "12 s");
    EXPECT_EQ(formatting::duration(59.5), "1 min 00 s");
    EXPECT_EQ(formatting::duration(200), "3 min 20 s");
    EXPECT_EQ(formatting::duration(3599), "59 min 59 s");
    EXPECT_EQ(formatting::duration(7500), "2 h 05 min");
    EXPECT_EQ(formatting::duration(4 * 86400 + 7 * 3600), "4 d 07 h");
}

TEST(Texts, SayBytesInPowersOf1000) {
    EXPECT_EQ(formatting::bytes(0), "0 B");
    EXPECT_EQ(formatting::bytes(999), "999 B");
    EXPECT_EQ(formatting::bytes(1000), "1.0 kB");
    EXPECT_EQ(formatting::bytes(1.5e9), "1.5 GB");
    EXPECT_EQ(formatting::bytes(4e12), "4.0 TB");
    EXPECT_EQ(formatting::bytes(9.2e18), "9200000.0 TB");
}

TEST(Texts, SayCountsInWords) {
    EXPECT_EQ(formatting::count(950), "950");
    EXPECT_EQ(formatting::count(12500), "12.5 thousand");
    EXPECT_EQ(formatting::count(1e6), "1.0 million");
    EXPECT_EQ(formatting::count(8e9), "8.0 billion");
    EXPECT_EQ(formatting::count(7e12), "7.0 trillion");
}

TEST(Texts, SayTwoDigitsOfNumbersOfAnySize) {
    EXPECT_EQ(formatting::twoDigits(0), "0");
    EXPECT_EQ(formatting::twoDigits(0.1234), "0.12");
    EXPECT_EQ(formatting::twoDigits(8.06e-5), "8.1e-05");
}

TEST(Texts, SayFailuresInOneLine) {
    EXPECT_EQ(formatting::complaint(std::runtime_error("a\nb\x01.h5 exists")),
              "pistonfield-run: a b .h5 exists");
    EXPECT_THAT(formatting::complaint(std::bad_alloc()), testing::HasSubstr("not enough memory"));
}

TEST(Texts, CutWordsThatNobodyReads) {
    const auto complaint = [](const std::string& text) {
        return formatting::complaint(std::runtime_error(text))
            .substr(std::strlen("pistonfield-run: "));
    };
    const std::string nines(100'000, '9');
    EXPECT_EQ(complaint("-k: " + nines + " is no number"),
              "-k: " + nines.substr(0, 60) + "... is no number");
    EXPECT_EQ(complaint(nines), nines.substr(0, 60) + "...");
    std::string letters;
    for (int i = 0; i < 5000; ++i) letters += "ö";
    EXPECT_EQ(complaint(letters + " x " + letters),
              letters.substr(0, 60) + "... x " + letters.substr(0, 60) + "...");
    EXPECT_EQ(complaint(letters.substr(1)), letters.substr(1, 59) + "...");
    // Names of files are whole, and a line may have many words.
    const std::string name(4096, 'n');
    for (const std::string& text : std::vector<std::string>{name + ": x", "", " ", "a  b "})
        EXPECT_EQ(complaint(text), text);
    std::string list;
    for (int i = 0; i < 1000; ++i) list += "part-" + std::to_string(i) + ".h5 ";
    EXPECT_EQ(complaint(list), list);
}

TEST(Texts, SayTheTimeInUtc) {
    setenv("TZ", "XST-5", 1);
    tzset();
    const std::time_t before = std::time(nullptr);
    const std::string text = formatting::timeNow();
    EXPECT_THAT(text, testing::MatchesRegex("....-..-..T..:..:..Z"));
    std::tm time{};
    ASSERT_NE(strptime(text.c_str(), "%Y-%m-%dT%H:%M:%SZ", &time), nullptr);
    EXPECT_NEAR(static_cast<double>(timegm(&time)), static_cast<double>(before), 2);
}

}  // namespace
