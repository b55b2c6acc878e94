// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <string>
#include <thread>

#include "tests/FastNearfield/gpu/LaunchTest.h"
#include "tests/FastNearfield/gpu/Transcript.h"
#include "tests/support/Captured.h"
#include "tests/support/FailureHandlers.h"

// The timing of launches, which a host program may switch on.

namespace {

using namespace cuda_runtime;
using emulated::Operation;
using testing::Contains;
using testing::Not;

constexpr auto* waiting = "cudaThreadSynchronize()";
constexpr double untouched = -1;

class Timing : public EachLauncher {
  protected:
    Timing() { global_time = untouched; }

    const Sizes n = sizes({2, 2, 2});
};

TEST_P(Timing, IsOffByDefault) {
    EXPECT_EQ(do_timing, 0);
    const auto launch = launcher.prepare(n);
    EXPECT_THAT(transcriptOf([&] { launch->start(); }), Not(Contains(waiting)));
    EXPECT_EQ(global_time, untouched);
}

TEST_P(Timing, WaitsOnceAfterTheLaunchOfATimedLauncher) {
    for (const int flag : {1, -5}) {
        do_timing = flag;
        const auto launch = launcher.prepare(n);
        const Transcript transcript = transcriptOf([&] { launch->start(); });
        EXPECT_EQ(
            transcript,
            perform(launcher.script(n), launcher.unit, AfterFailure::throws, {}, true).transcript);
        EXPECT_THAT(transcript, Contains(waiting).Times(launcher.timed ? 1 : 0));
    }
}

TEST_P(Timing, KeepsWholeMicrosecondsFromBeforeTheLaunchToAfterTheWait) {
    using std::chrono::duration;
    using std::chrono::steady_clock;
    static constexpr double pause = 3000;  // microseconds
    const auto takesLong = [](const emulated::RuntimeCall& call) {
        if (call.operation == Operation::ConfigureCall ||
            call.operation == Operation::ThreadSynchronize)
            std::this_thread::sleep_for(duration<double, std::micro>(pause));
        return cudaSuccess;
    };
    do_timing = 1;
    emulated::emulator().setInterceptor(takesLong);
    const auto start = steady_clock::now();
    static_cast<void>(fieldOf(launcher, n));
    const duration<double, std::micro> all = steady_clock::now() - start;
    if (!launcher.timed) {
        EXPECT_EQ(global_time, untouched);
        return;
    }
    EXPECT_EQ(global_time, std::floor(global_time));
    // The two clocks may differ by a little.
    EXPECT_GE(global_time, 2 * pause - 100);
    EXPECT_LE(global_time, all.count() + 100);
}

TEST_P(Timing, ReportsAFailingWaitByItsText) {
    do_timing = 1;
    const auto launch = launcher.prepare(n);
    const Transcript transcript =
        transcriptOf([&] { launch->start(); }, AfterFailure::throws,
                     PlannedFailure{1, cudaErrorLaunchFailure, Operation::ThreadSynchronize});
    const std::string report =
        "report: Cuda error when calling cudaThreadSynchronize(): unspecified launch failure (" +
        launcher.unit + ")";
    EXPECT_EQ(transcript.back() == report, launcher.timed);
    EXPECT_EQ(global_time, untouched);
}

// Every check fails here, those for pending errors right before and after the wait too.
TEST_P(Timing, ReportsAFailingWaitAtALineBetweenTheChecksAroundIt) {
    do_timing = 1;
    const auto launch = launcher.prepare(n);
    const auto failing = [](const emulated::RuntimeCall& call) {
        const bool checked = call.operation == Operation::GetLastError ||
                             call.operation == Operation::ThreadSynchronize;
        return checked ? cudaErrorLaunchFailure : cudaSuccess;
    };
    const RecordedFailures recorded(AfterFailure::returns);
    emulated::emulator().setInterceptor(failing);
    static_cast<void>(captured([&] { launch->start(); }));
    emulated::emulator().setInterceptor(nullptr);
    const auto& all = recorded.failures;
    const auto wait = std::find_if(all.begin(), all.end(), [](const Failure& failure) {
        return failure.condition.find(waiting) != std::string::npos;
    });
    ASSERT_EQ(wait != all.end(), launcher.timed);
    if (!launcher.timed) return;
    ASSERT_TRUE(wait != all.begin() && wait + 1 != all.end());
    EXPECT_GT(wait->line, (wait - 1)->line);
    EXPECT_LT(wait->line, (wait + 1)->line);
    EXPECT_EQ(wait->file, launcher.unit);
}

INSTANTIATE_TEST_SUITE_P(Of, Timing, testing::ValuesIn(launchers()), EachLauncher::nameOf);

}  // namespace
