// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "core/cuda_init.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/Captured.h"
#include "tests/support/EmulatedDevices.h"
#include "tests/support/FailureHandlers.h"

namespace {

using namespace cuda_runtime;
using emulated::emulator;
using emulated::Operation;
using testing::ElementsAre;

TEST(cuda_init, ClearsTheLastErrorChecksLaunchesAndChecksAgain) {
    const RecordedFailures recorded(AfterFailure::throws);
    const RuntimeLog log;
    EXPECT_EQ(cuda_init(), cudaSuccess);
    EXPECT_THAT(log.calls, ElementsAre("cudaGetLastError()", "cudaGetLastError()",
                                       "cudaConfigureCall((1, 1, 1), (1, 1, 1), 0, 0)",
                                       "cudaLaunch()", "cudaGetLastError()", "cudaGetLastError()"));
    EXPECT_TRUE(emulator().hasContext());
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
}

TEST(cuda_init, ReportsAnErrorThatClearingDidNotClear) {
    const RecordedFailures recorded(AfterFailure::returns);
    const RuntimeLog log(PlannedFailure{2, cudaErrorUnknown, Operation::GetLastError});
    const Printed printed = captured([] { static_cast<void>(cuda_init()); });
    EXPECT_EQ(printed.err,
              "Cuda error: pre cuda_init() in file 'core/cuda_init' in line 14 : unknown error.\n");
    ASSERT_EQ(recorded.failures.size(), 1U);
    EXPECT_EQ(recorded.failures[0], (Failure{"unknown error", 14, "core/cuda_init"}));
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
}

TEST(cuda_init, DoesNotEnterTheKernelWhenTheCallIsNotConfigured) {
    const RecordedFailures recorded(AfterFailure::returns);
    const RuntimeLog log(
        PlannedFailure{1, cudaErrorInvalidConfiguration, Operation::ConfigureCall});
    const Printed printed = captured([] { static_cast<void>(cuda_init()); });
    EXPECT_THAT(log.calls, testing::Not(testing::Contains("cudaLaunch()")));
    EXPECT_EQ(printed.err,
              "Cuda error: post cuda_init() in file 'core/cuda_init' in line 16 : "
              "invalid configuration argument.\n");
    ASSERT_EQ(recorded.failures.size(), 1U);
    EXPECT_EQ(recorded.failures[0],
              (Failure{"invalid configuration argument", 16, "core/cuda_init"}));
}

TEST(cuda_sync, ReturnsTheStatusOfTheSynchronisation) {
    EXPECT_EQ(cuda_sync(), cudaSuccess);
    const RuntimeLog log(PlannedFailure{1, cudaErrorLaunchFailure, Operation::ThreadSynchronize});
    EXPECT_EQ(cuda_sync(), cudaErrorLaunchFailure);
    static_cast<void>(cudaGetLastError());
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
}

}  // namespace
