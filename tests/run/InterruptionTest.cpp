// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/processes/Interruption.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

namespace {

// Signals stay with a process, so each test has one of its own.
TEST(InterruptionDeathTest, KnowsTheSignalThatCame) {
    EXPECT_EQ(run::signalled(), 0);
    for (const int signal : {SIGINT, SIGTERM})
        EXPECT_EXIT(
            {
                run::listenForSignals();
                std::raise(signal);
                std::exit(run::signalled());
            },
            testing::ExitedWithCode(signal), "");
}

TEST(InterruptionDeathTest, TheSecondSignalEndsTheProcess) {
    EXPECT_EXIT(
        {
            run::listenForSignals();
            std::raise(SIGTERM);
            std::raise(SIGTERM);
        },
        testing::KilledBySignal(SIGTERM), "");
}

}  // namespace
