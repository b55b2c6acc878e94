// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// A driver that fails in the middle: every operation over the CUDA runtime reports it, leaves
// nothing current, and works again when the driver does.
#include <gmock/gmock.h>

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
using testing::IsEmpty;

constexpr auto newerDriverNeeded = static_cast<cudaError_t>(36);

class ContextFailuresTest : public testing::Test {
  protected:
    void SetUp() override { substituteRuntime() = {}; }

    void TearDown() override {
        substituteRuntime().failing.clear();
        EXPECT_EQ(cuda_runtime::cudaThreadExit(), cudaSuccess);
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
        EXPECT_THAT(contexts().current, IsEmpty());
        EXPECT_EQ(contexts().live.size(), 1U);
    }

    static const SubstituteRuntime::Contexts& contexts() { return substituteRuntime().contexts; }
};

TEST_F(ContextFailuresTest, ToCreateAContextAreReportedAndLeaveNone) {
    for (const char* function : {"cuInit", "cuDeviceGet", "cuCtxCreate"}) {
        substituteRuntime() = {};
        fail(function);
        for (int attempt = 0; attempt < 3; ++attempt) {
            EXPECT_EQ(work(), cudaErrorMemoryAllocation) << function;
            EXPECT_EQ(cuda_runtime::cudaGetLastError(), cudaErrorMemoryAllocation);
            EXPECT_EQ(cuda_runtime::cudaGetLastError(), cudaSuccess);
        }
        EXPECT_EQ(cuda_runtime::cudaThreadExit(), cudaSuccess);
        EXPECT_THAT(contexts().live, IsEmpty());
        expectWorks();
        EXPECT_EQ(cuda_runtime::cudaThreadExit(), cudaSuccess);
        EXPECT_THAT(contexts().live, IsEmpty());
    }
}

TEST_F(ContextFailuresTest, ToEnterTheContextAreReportedAndLeaveIt) {
    EXPECT_EQ(work(), cudaSuccess);
    fail("cuCtxPushCurrent");
    EXPECT_EQ(work(), cudaErrorMemoryAllocation);
    expectWorks();
    EXPECT_EQ(contexts().created, 1);
}

TEST_F(ContextFailuresTest, ToLeaveTheContextAreReported) {
    fail("cuCtxPopCurrent");
    EXPECT_EQ(work(), cudaErrorMemoryAllocation);
    EXPECT_EQ(cuda_runtime::cudaThreadExit(), cudaSuccess);
    EXPECT_THAT(contexts().live, IsEmpty());
    EXPECT_THAT(contexts().current, IsEmpty());
    expectWorks();
}

TEST_F(ContextFailuresTest, ToEndTheContextAreReportedOnceAndTheNextContextIsNew) {
    EXPECT_EQ(work(), cudaSuccess);
    fail("cuCtxDestroy");
    EXPECT_EQ(cuda_runtime::cudaThreadExit(), cudaErrorMemoryAllocation);
    EXPECT_EQ(cuda_runtime::cudaThreadExit(), cudaSuccess);
    substituteRuntime().failing.clear();
    EXPECT_EQ(work(), cudaSuccess);
    EXPECT_EQ(contexts().created, 2);
}

TEST_F(ContextFailuresTest, OfAnyOperationAreReportedAndLeaveNothingCurrent) {
    using namespace cuda_runtime;
    int value = 0;
    void* address = nullptr;
    const std::vector<std::function<cudaError_t()>> operations{
        [&] { return cudaMalloc(&address, 4); }, [&] { return cudaFree(address); },
        [&] { return cudaMemcpy(&value, &value, 4, cudaMemcpyHostToDevice); },
        [&] {
            static_cast<void>(cudaConfigureCall({}, {}, 0, 0));
            return cudaLaunch(&value);
        },
        [&] { return cudaThreadSynchronize(); }};
    for (const auto& operation : operations) {
        EXPECT_EQ(operation(), cudaSuccess);
        substituteRuntime().operationsFail = true;
        EXPECT_EQ(operation(), cudaErrorLaunchFailure);
        EXPECT_EQ(cudaGetLastError(), cudaErrorLaunchFailure);
        EXPECT_THAT(contexts().current, IsEmpty());
        substituteRuntime().operationsFail = false;
        expectWorks();
    }
}

TEST_F(ContextFailuresTest, ForWantOfAFunctionNameTheOldDriver) {
    for (const char* function : {"cuInit", "cuDeviceGet", "cuCtxCreate"}) {
        substituteRuntime().missing = {function};
        EXPECT_EQ(work(), newerDriverNeeded) << function;
    }
    expectWorks();
}

TEST_F(ContextFailuresTest, AreReportedWhenTheDeviceIsBroughtUp) {
    for (const char* function : {"cuInit", "cuDeviceGet", "cuCtxCreate"}) {
        fail(function);
        const RecordedFailures failures(AfterFailure::throws);
        const Printed printed = captured([] { EXPECT_THROW(CudaDeviceThread device, Failure); });
        EXPECT_THAT(failures.failures,
                    testing::ElementsAre(Failure{"status 2", 16, "core/cuda_init"}));
        EXPECT_EQ(printed.err,
                  "Cuda error: post cuda_init() in file 'core/cuda_init' in line 16 : status 2.\n");
        EXPECT_THAT(contexts().live, IsEmpty());
    }
    expectWorks();
}

}  // namespace
