// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/processes/Progress.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <thread>

#include "tests/support/Captured.h"

namespace {

using run::Progress;
using testing::MatchesRegex;

TEST(Progress, SaysItsRateAndTimeAtTheEnd) {
    const Printed printed = captured([] {
        Progress progress("computing", 1000, 0);
        progress.add(600);
        progress.add(400);
    });
    EXPECT_THAT(printed.err,
                MatchesRegex("pistonfield-run: computing 100 %, .* points/s, [0-9]+ s\n"));
    EXPECT_EQ(printed.out, "");
}

TEST(Progress, SaysWhatIsLeftOfWorkThatWasStopped) {
    const Printed printed = captured([] {
        Progress progress("verifying", 1000, 0);
        progress.add(250);
    });
    EXPECT_THAT(printed.err,
                MatchesRegex("pistonfield-run: verifying 25 %, .* points/s, .* left\n"));
}

TEST(Progress, CountsWhatWasThereBeforeButNotForTheRate) {
    const Printed printed = captured([] {
        Progress progress("computing", 1'000'000'000'000, 999'999'000'000);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        progress.add(1000);
    });
    // 1000 points in 10 ms or somewhat more.
    EXPECT_THAT(printed.err, MatchesRegex("pistonfield-run: computing 99 %, [0-9]+\\.[0-9] "
                                          "thousand points/s, .* left\n"));
}

TEST(Progress, Reaches100PercentWithTheLastPointOnly) {
    const Printed printed = captured([] {
        Progress progress("computing", 1000, 0);
        progress.add(999);
    });
    EXPECT_THAT(printed.err, MatchesRegex(".* 99 %, .* left\n"));
}

TEST(Progress, SaysNothingWhereNothingWasDone) {
    EXPECT_EQ(captured([] { const Progress progress("computing", 1000, 1000); }).err, "");
}

/// What a terminal gets as standard error.
template <class Work>
std::string onTerminal(Work work) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    EXPECT_EQ(grantpt(terminal), 0);
    EXPECT_EQ(unlockpt(terminal), 0);
    const int other = open(ptsname(terminal), O_RDWR | O_NOCTTY);
    const int kept = dup(STDERR_FILENO);
    dup2(other, STDERR_FILENO);
    work();
    dup2(kept, STDERR_FILENO);
    // With nobody left to write, reading comes to an end; a single read may have the first line
    // alone.
    for (const int file : {other, kept}) close(file);
    std::string text;
    std::array<char, 4096> some{};
    for (ssize_t size = 0; (size = read(terminal, some.data(), some.size())) > 0;)
        text.append(some.data(), static_cast<std::size_t>(size));
    close(terminal);
    return text;
}

TEST(Progress, ChangesOneLineOnATerminal) {
    const std::string text = onTerminal([] {
        Progress progress("computing", 1000, 0);
        progress.add(100);  // too early to be shown
        std::this_thread::sleep_for(std::chrono::milliseconds(600));
        progress.add(400);
        progress.add(500);
    });
    EXPECT_EQ(text.size(), 2 * 80U + 2);  // the terminal ends lines with two characters
    EXPECT_THAT(text, MatchesRegex("\rpistonfield-run: computing 50 %, .* points/s, 1 s left *"
                                   "\rpistonfield-run: computing 100 %, .* points/s, 1 s *\r\n"));
}

}  // namespace
