// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/ReadingGuard.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using run::ReadingGuard;
using testing::ExitedWithCode;
using testing::KilledBySignal;

volatile int depth = 0;

/// Uses up the stack.
int recurse(int sum) {  // NOLINT(misc-no-recursion)
    volatile char room[4096];
    room[0] = static_cast<char>(sum);
    depth = depth + 1;
    if (depth < 0) return 0;
    return recurse(sum + 1) + room[0];
}

TEST(ReadingGuardDeathTest, TellsEveryWayToCrash) {
    const auto crashBy = [](int signal) {
        const ReadingGuard guard("f.h5", 0);
        static_cast<void>(raise(signal));
    };
    EXPECT_EXIT(crashBy(SIGSEGV), ExitedWithCode(1),
                "^pistonfield-run: f.h5 is damaged: reading it ended by Segmentation fault\n$");
    EXPECT_EXIT(crashBy(SIGBUS), ExitedWithCode(1), "ended by Bus error\n$");
    EXPECT_EXIT(crashBy(SIGFPE), ExitedWithCode(1), "ended by Floating point exception\n$");
    EXPECT_EXIT(crashBy(SIGABRT), ExitedWithCode(1), "ended by Aborted\n$");
}

TEST(ReadingGuardDeathTest, TellsThatTheStackIsUsedUp) {
    const auto crash = [] {
        const ReadingGuard guard("f.h5", std::nullopt);
        recurse(0);
    };
    EXPECT_EXIT(crash(), ExitedWithCode(1), "f.h5 is damaged: reading it ended by Segmentation");
}

TEST(ReadingGuardDeathTest, TellsThatTheTimeIsOver) {
    const auto spin = [] {
        const ReadingGuard guard("f.h5", 0);
        for (;;) depth = depth + 1;
    };
    EXPECT_EXIT(spin(), ExitedWithCode(1), "f.h5 is damaged: reading it does not end\n$");
}

TEST(ReadingGuardDeathTest, NamesTheFileOfTheInnermostScope) {
    const auto crash = [](bool after) {
        const ReadingGuard outer("outer.h5", 0);
        {
            const ReadingGuard inner("inner.h5", 0);
            if (!after) static_cast<void>(raise(SIGSEGV));
        }
        static_cast<void>(raise(SIGSEGV));
    };
    EXPECT_EXIT(crash(false), ExitedWithCode(1), "inner.h5");
    EXPECT_EXIT(crash(true), ExitedWithCode(1), "outer.h5");
}

TEST(ReadingGuardDeathTest, LeavesSignalsAsTheyWereBefore) {
    const auto crash = [] {
        { const ReadingGuard guard("f.h5", 0); }
        static_cast<void>(raise(SIGSEGV));
    };
    EXPECT_EXIT(crash(), KilledBySignal(SIGSEGV), "");
}

}  // namespace
