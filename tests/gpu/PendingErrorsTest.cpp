// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Errors that another caller of the CUDA runtime left pending beside those of this module.
#include <gmock/gmock.h>

#include "core/CudaCheck.h"
#include "core/cudahelper.h"
#include "cuda_runtime/runtime.h"
#include "tests/gpu/SubstituteRuntime.h"
#include "tests/support/Captured.h"
#include "tests/support/FailureHandlers.h"

namespace {

using cuda_runtime::cudaError_t;
using cuda_runtime::cudaErrorInvalidDevicePointer;
using cuda_runtime::cudaErrorLaunchFailure;
using cuda_runtime::cudaErrorMemoryAllocation;
using cuda_runtime::cudaErrorMissingConfiguration;
using cuda_runtime::cudaErrorNoDevice;
using cuda_runtime::cudaSuccess;
using testing::ElementsAre;
using testing::IsEmpty;

class PendingErrorsTest : public testing::Test {
  protected:
    void SetUp() override { substituteRuntime() = {}; }

    void TearDown() override {
        const SubstituteRuntime::Primary primary = substituteRuntime().primary;
        substituteRuntime() = {};
        substituteRuntime().primary = primary;
        EXPECT_EQ(cuda_runtime::cudaThreadExit(), cudaSuccess);
        EXPECT_EQ(cuda_runtime::letGoOfDevices(), cudaSuccess);
        static_cast<void>(cuda_runtime::cudaGetLastError());
    }

    static void leavePending(cudaError_t status) { substituteRuntime().lastError = status; }
    static cudaError_t pending() { return substituteRuntime().lastError; }
    static cudaError_t work() { return cuda_runtime::cudaThreadSynchronize(); }

    static void failToBringTheDeviceUp() {
        const RecordedFailures failures(AfterFailure::throws);
        const Printed printed = captured([] { EXPECT_THROW(CudaDeviceThread device, Failure); });
        EXPECT_THAT(printed.err, testing::StartsWith("Cuda error: post cuda_init() "));
        EXPECT_EQ(failures.failures.size(), 1U);
    }
};

TEST_F(PendingErrorsTest, OfAnotherCallerAreReportedOnceByTheCheckAtAFunctionsEntry) {
    leavePending(cudaErrorInvalidDevicePointer);
    const RecordedFailures failures(AfterFailure::returns);
    const Printed printed = captured([] {
        checkPending("pre do_calculate", "a/unit", 17);
        checkPending("calculate", "a/unit", 18);
    });
    EXPECT_THAT(failures.failures, ElementsAre(Failure{"status 17", 17, "a/unit"}));
    EXPECT_EQ(printed.err,
              "Cuda error: pre do_calculate in file 'a/unit' in line 17 : status 17.\n");
    EXPECT_EQ(pending(), cudaErrorInvalidDevicePointer);
}

TEST_F(PendingErrorsTest, OfAnotherCallerAreReportedAgainOnceTheyWereCleared) {
    for (int time = 0; time < 2; ++time) {
        leavePending(cudaErrorInvalidDevicePointer);
        EXPECT_EQ(cuda_runtime::cudaGetLastError(), cudaErrorInvalidDevicePointer);
        leavePending(cudaSuccess);
        EXPECT_EQ(cuda_runtime::cudaGetLastError(), cudaSuccess);
    }
}

TEST_F(PendingErrorsTest, OfAnotherCallerStayWhenOperationsSucceed) {
    leavePending(cudaErrorInvalidDevicePointer);
    EXPECT_EQ(work(), cudaSuccess);
    EXPECT_EQ(cuda_runtime::cudaThreadExit(), cudaSuccess);
    EXPECT_EQ(pending(), cudaErrorInvalidDevicePointer);
}

TEST_F(PendingErrorsTest, OfAnotherCallerOutliveAFailureOfTheModulesOwn) {
    EXPECT_EQ(work(), cudaSuccess);
    leavePending(cudaErrorInvalidDevicePointer);
    substituteRuntime().failing = {{"cuCtxPushCurrent", CUDA_ERROR_OUT_OF_MEMORY}};
    EXPECT_EQ(work(), cudaErrorMemoryAllocation);
    EXPECT_EQ(pending(), cudaErrorInvalidDevicePointer);
    EXPECT_EQ(cuda_runtime::cudaGetLastError(), cudaErrorMemoryAllocation);
    EXPECT_EQ(cuda_runtime::cudaGetLastError(), cudaErrorInvalidDevicePointer);
    EXPECT_EQ(cuda_runtime::cudaGetLastError(), cudaSuccess);
    EXPECT_EQ(pending(), cudaErrorInvalidDevicePointer);
    substituteRuntime().failing.clear();
}

TEST_F(PendingErrorsTest, OfAnotherCallerOutliveALaunchThatIsNotConfigured) {
    leavePending(cudaErrorInvalidDevicePointer);
    EXPECT_EQ(cuda_runtime::cudaLaunch(nullptr), cudaErrorMissingConfiguration);
    EXPECT_EQ(pending(), cudaErrorInvalidDevicePointer);
}

// The runtime holds one error: a later one takes the place of an earlier.
TEST_F(PendingErrorsTest, OfAnotherCallerAreNotClearedByAFailureInTheRuntime) {
    EXPECT_EQ(work(), cudaSuccess);
    leavePending(cudaErrorInvalidDevicePointer);
    substituteRuntime().operationsFail = true;
    EXPECT_EQ(work(), cudaErrorLaunchFailure);
    EXPECT_EQ(pending(), cudaErrorLaunchFailure);
    EXPECT_EQ(cuda_runtime::cudaGetLastError(), cudaErrorLaunchFailure);
    EXPECT_EQ(cuda_runtime::cudaGetLastError(), cudaSuccess);
    EXPECT_EQ(pending(), cudaErrorLaunchFailure);
}

TEST_F(PendingErrorsTest, OfTheModuleAreNotThoseOfTheProcess) {
    substituteRuntime().operationsFail = true;
    EXPECT_EQ(work(), cudaErrorLaunchFailure);
    EXPECT_EQ(pending(), cudaSuccess);
    EXPECT_EQ(cuda_runtime::cudaGetLastError(), cudaErrorLaunchFailure);
}

TEST_F(PendingErrorsTest, OfAnotherCallerOutliveThatTheDeviceIsBroughtUpAndDown) {
    leavePending(cudaErrorInvalidDevicePointer);
    const RecordedFailures failures(AfterFailure::throws);
    const Printed printed = captured([] { const CudaDeviceThread device; });
    EXPECT_EQ(printed.err, "");
    EXPECT_THAT(failures.failures, IsEmpty());
    EXPECT_EQ(pending(), cudaErrorInvalidDevicePointer);
}

TEST_F(PendingErrorsTest, OfThisModuleFromBeforeAreClearedWhenTheDeviceIsBroughtUp) {
    substituteRuntime().operationsFail = true;
    EXPECT_EQ(work(), cudaErrorLaunchFailure);
    substituteRuntime().operationsFail = false;
    const RecordedFailures failures(AfterFailure::throws);
    const Printed printed = captured([] { const CudaDeviceThread device; });
    EXPECT_EQ(printed.err, "");
    EXPECT_THAT(failures.failures, IsEmpty());
}

TEST_F(PendingErrorsTest, FromBeforeDoNotHideThatThereIsNoDevice) {
    substituteRuntime().hasDevice = false;
    substituteRuntime().failing = {{"cuDeviceGet", CUDA_ERROR_NO_DEVICE}};
    for (const cudaError_t before :
         {cudaSuccess, cudaErrorNoDevice, cudaErrorInvalidDevicePointer}) {
        leavePending(before);
        failToBringTheDeviceUp();
    }
}

TEST_F(PendingErrorsTest, WithoutADriverAreThatOfTheDriverAlone) {
    substituteRuntime().hasDriver = false;
    failToBringTheDeviceUp();
    failToBringTheDeviceUp();
    EXPECT_EQ(cuda_runtime::cudaGetLastError(), cudaSuccess);
}

}  // namespace
