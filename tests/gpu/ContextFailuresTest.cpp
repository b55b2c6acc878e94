// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// A driver that fails in the middle: every operation over the CUDA runtime reports it, leaves
// nothing current, and works again when the driver does.
#include <gmock/gmock.h>

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "core/cudahelper.h"
#include "cuda_runtime/runtime.h"
#include "tests/gpu/SubstituteRuntime.h"
#include "tests/support/Captured.h"
#include "tests/support/FailureHandlers.h"

namespace {

using cuda_runtime::cudaError_t;
using cuda_runtime::cudaErrorLaunchFailure;
using cuda_runtime::cudaErrorMemoryAllocation;
using cuda_runtime::cudaSuccess;
using cuda_runtime::cudaThreadExit;
using testing::IsEmpty;

constexpr auto newerDriverNeeded = static_cast<cudaError_t>(36);

/// What a first operation asks of the driver before it can begin.
constexpr std::array<const char*, 3> beginnings{"cuInit", "cuDeviceGet",
                                                "cuDevicePrimaryCtxRetain"};

class ContextFailuresTest : public testing::Test {
  protected:
    void SetUp() override { substituteRuntime() = {}; }

    void TearDown() override {
        substituteRuntime().failing.clear();
        EXPECT_EQ(cudaThreadExit(), cudaSuccess);
        EXPECT_EQ(cuda_runtime::letGoOfDevices(), cudaSuccess);
        static_cast<void>(cuda_runtime::cudaGetLastError());
    }

    static cudaError_t work() { return cuda_runtime::cudaThreadSynchronize(); }

    static void fail(const std::string& function) {
        substituteRuntime().failing = {{function, CUDA_ERROR_OUT_OF_MEMORY}};
    }

    static void expectWorks() {
        substituteRuntime().failing.clear();
        substituteRuntime().missing.clear();
        EXPECT_EQ(work(), cudaSuccess);
        EXPECT_THAT(substituteRuntime().current, IsEmpty());
        EXPECT_EQ(primary().holders, 2);
    }

    static const SubstituteRuntime::Primary& primary() { return substituteRuntime().primary; }
};

TEST_F(ContextFailuresTest, ToHoldTheContextAreReportedAndLeaveNone) {
    for (const char* function : beginnings) {
        fail(function);
        for (int attempt = 0; attempt < 3; ++attempt) {
            EXPECT_EQ(work(), cudaErrorMemoryAllocation) << function;
            EXPECT_EQ(cuda_runtime::cudaGetLastError(), cudaErrorMemoryAllocation);
            EXPECT_EQ(cuda_runtime::cudaGetLastError(), cudaSuccess);
        }
        EXPECT_EQ(cudaThreadExit(), cudaSuccess);
        EXPECT_EQ(primary().holders, 0);
        expectWorks();
        EXPECT_EQ(cudaThreadExit(), cudaSuccess);
        EXPECT_EQ(cuda_runtime::letGoOfDevices(), cudaSuccess);
        EXPECT_EQ(primary().holders, 0);
    }
}

TEST_F(ContextFailuresTest, ToHoldAContextThatIsHeldAlreadyLeaveThatAlone) {
    EXPECT_EQ(work(), cudaSuccess);
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    for (const char* function : beginnings) {
        fail(function);
        EXPECT_EQ(work(), cudaErrorMemoryAllocation) << function;
        EXPECT_EQ(primary().holders, 1);
    }
    expectWorks();
    EXPECT_EQ(primary().made, 1);
}

TEST_F(ContextFailuresTest, ToEnterTheContextAreReportedAndLeaveIt) {
    EXPECT_EQ(work(), cudaSuccess);
    fail("cuCtxPushCurrent");
    EXPECT_EQ(work(), cudaErrorMemoryAllocation);
    expectWorks();
    EXPECT_EQ(primary().made, 1);
}

TEST_F(ContextFailuresTest, ToLeaveTheContextAreReported) {
    fail("cuCtxPopCurrent");
    EXPECT_EQ(work(), cudaErrorMemoryAllocation);
    EXPECT_EQ(cuda_runtime::cudaGetLastError(), cudaErrorMemoryAllocation);
}

TEST_F(ContextFailuresTest, ToLetGoOfTheContextAreReported) {
    EXPECT_EQ(work(), cudaSuccess);
    fail("cuDevicePrimaryCtxRelease");
    EXPECT_EQ(cudaThreadExit(), cudaErrorMemoryAllocation);
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_EQ(cuda_runtime::letGoOfDevices(), cudaErrorMemoryAllocation);
    EXPECT_EQ(cuda_runtime::letGoOfDevices(), cudaSuccess);
}

TEST_F(ContextFailuresTest, OfAnyOperationAreReportedAndLeaveNothingCurrent) {
    using namespace cuda_runtime;
    int value = 0;
    void* address = nullptr;
    cudaStream_t stream = nullptr;
    const std::vector<std::function<cudaError_t()>> operations{
        [&] { return cudaMalloc(&address, 4); },
        [&] { return cudaFree(nullptr); },
        [&] { return cudaMemcpy(&value, &value, 4, cudaMemcpyHostToDevice); },
        [&] {
            static_cast<void>(cudaConfigureCall({}, {}, 0, nullptr));
            return cudaLaunch(&value);
        },
        [&] { return cudaThreadSynchronize(); },
        [&] { return cudaMallocHost(&address, 4); },
        [&] { return cudaFreeHost(nullptr); },
        [&] { return cudaStreamCreate(&stream); },
        [&] { return cudaStreamSynchronize(nullptr); },
        [&] { return cudaMemcpyAsync(&value, &value, 4, cudaMemcpyHostToDevice, nullptr); }};
    for (const auto& operation : operations) {
        EXPECT_EQ(operation(), cudaSuccess);
        substituteRuntime().operationsFail = true;
        EXPECT_EQ(operation(), cudaErrorLaunchFailure);
        EXPECT_EQ(cudaGetLastError(), cudaErrorLaunchFailure);
        EXPECT_THAT(substituteRuntime().current, IsEmpty());
        substituteRuntime().operationsFail = false;
        expectWorks();
    }
}

TEST_F(ContextFailuresTest, ForWantOfAFunctionNameTheOldDriver) {
    for (const char* function : beginnings) {
        substituteRuntime().missing = {function};
        EXPECT_EQ(work(), newerDriverNeeded) << function;
    }
    expectWorks();
}

TEST_F(ContextFailuresTest, AreReportedWhenTheDeviceIsBroughtUp) {
    for (const char* function : beginnings) {
        fail(function);
        const RecordedFailures failures(AfterFailure::throws);
        const Printed printed = captured([] { EXPECT_THROW(CudaDeviceThread device, Failure); });
        EXPECT_THAT(failures.failures,
                    testing::ElementsAre(Failure{"status 2", 16, "core/cuda_init"}));
        EXPECT_EQ(printed.err,
                  "Cuda error: post cuda_init() in file 'core/cuda_init' in line 16 : status 2.\n");
        EXPECT_EQ(primary().holders, 0);
    }
    expectWorks();
}

}  // namespace
