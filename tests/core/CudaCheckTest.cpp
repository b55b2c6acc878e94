// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "core/CudaCheck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/Captured.h"
#include "tests/support/FailureHandlers.h"

namespace {

using namespace cuda_runtime;

/// Leaves an error pending that needs no device.
void leavePendingError() {
    const int argument = 0;
    static_cast<void>(cudaGetLastError());
    static_cast<void>(cudaSetupArgument(&argument, sizeof argument, 0));
}

TEST(CudaCheck, PendingErrorIsPrintedWithItsLabelAndHandedOverBare) {
    const RecordedFailures recorded(AfterFailure::returns);
    leavePendingError();
    const Printed printed = captured([] { checkPending("pre do_calculate", "a/unit", 17); });
    EXPECT_EQ(printed.err,
              "Cuda error: pre do_calculate in file 'a/unit' in line 17 : "
              "__global__ function call is not configured.\n");
    EXPECT_EQ(printed.out, "");
    ASSERT_EQ(recorded.failures.size(), 1U);
    EXPECT_EQ(recorded.failures[0],
              (Failure{"__global__ function call is not configured", 17, "a/unit"}));
}

TEST(CudaCheck, PendingErrorIsReportedOnce) {
    const RecordedFailures recorded(AfterFailure::returns);
    leavePendingError();
    static_cast<void>(captured([] {
        checkPending("first", "a/unit", 1);
        checkPending("second", "a/unit", 2);
    }));
    EXPECT_EQ(recorded.failures.size(), 1U);
}

TEST(CudaCheck, FailedCallIsHandedOverWithItsTextAndNotPrinted) {
    const RecordedFailures recorded(AfterFailure::returns);
    const Printed printed = captured([] {
        checkCall(cudaErrorMemoryAllocation, "cudaMalloc((void**)&d_array, datasize)", "a/unit", 5);
    });
    EXPECT_EQ(printed.err + printed.out, "");
    ASSERT_EQ(recorded.failures.size(), 1U);
    EXPECT_EQ(
        recorded.failures[0],
        (Failure{"Cuda error when calling cudaMalloc((void**)&d_array, datasize): out of memory", 5,
                 "a/unit"}));
}

TEST(CudaCheck, SuccessIsSilent) {
    const RecordedFailures recorded(AfterFailure::throws);
    static_cast<void>(cudaGetLastError());
    const Printed printed = captured([] {
        checkPending("label", "a/unit", 1);
        checkCall(cudaSuccess, "call", "a/unit", 2);
    });
    EXPECT_EQ(printed.err + printed.out, "");
    EXPECT_TRUE(recorded.failures.empty());
}

TEST(iDivUp, RoundsTheQuotientUp) {
    EXPECT_EQ(iDivUp(16, 16), 1);
    EXPECT_EQ(iDivUp(17, 16), 2);
    EXPECT_EQ(iDivUp(0, 16), 0);
    EXPECT_EQ(iDivUp(1, 8), 1);
    EXPECT_EQ(iDivUp(-17, 16), 0);  // the truncating quotient -1, plus one
}

}  // namespace
