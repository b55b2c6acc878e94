// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
// What the functions' module answers about pulses, and whom it tells how far it is.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/matlab_src/askModule.h"

namespace {

using substitute::doubles;
using substitute::number;
using substitute::text;
using substitute::theHost;

/// A pulse of a disc of the radius 5 on a plane of so many points, a few lengths before it.
std::vector<const host::Array*> pulse(double side, host::Array* function) {
    host::Array* const none = doubles({}, {0, 0});
    const double step = 8 / side;
    return {text("pulse"),
            text("lattice"),
            doubles({step, 0, 0, 0, 0, step, 0, 0, 0, 0, 1, 4, 0, 0, 0, 1}, {4, 4}),
            doubles({side, side, 1}, {1, 3}),
            none,
            text("disc"),
            number(5),
            none,
            none,
            none,
            none,
            none,
            number(1),
            text("cpu"),
            number(1e-6),
            doubles({0, 1, 0, -1, 0.5, 0, 0.2, 0}, {8, 1}),
            none,
            number(4),
            doubles({1.5, 0, 1}, {3, 1}),
            none,
            number(1),
            function};
}

class PulseQuestion : public testing::Test {
  protected:
    void TearDown() override { theHost().reset(); }
};

TEST_F(PulseQuestion, TellsAFunctionHowFarItIs) {
    theHost().resultLimit = 100000000;
    std::vector<double> told;
    theHost().function = [&](double done) {
        told.push_back(done);
        return true;
    };
    host::Array* const function = substitute::arrayOf("function_handle", {1, 1});
    answerTo(pulse(450, function));
    ASSERT_FALSE(told.empty());
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    EXPECT_GT(told.front(), 0);
    EXPECT_LE(told.back(), 1);
}

TEST_F(PulseQuestion, EndsWhereThatFunctionFails) {
    theHost().resultLimit = 100000000;
    int calls = 0;
    theHost().function = [&](double /*done*/) { return ++calls < 2; };
    host::Array* const function = substitute::arrayOf("function_handle", {1, 1});
    EXPECT_EQ(refusalOf(pulse(450, function)), refusal("stopped", "the computation was stopped"));
    EXPECT_EQ(calls, 2);
}

TEST_F(PulseQuestion, TellsNobodyWithoutOne) {
    theHost().function = [](double /*done*/) { return false; };
    const host::Array* const answer = answerTo(pulse(5, doubles({}, {0, 0})));
    EXPECT_GT(host::realData(answer)[1], 8);
}

}  // namespace
