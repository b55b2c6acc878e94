// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Memory and streams of others in the process: what is asked of the runtime for them, and what is
// left as it was.
#include "cuda_runtime/callersMemory.h"

#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <optional>

#include "field/DeviceThread.h"
#include "field/deviceCopies.h"
#include "tests/gpu/SubstituteRuntime.h"

namespace {

using cuda_runtime::cudaError_t;
using cuda_runtime::cudaErrorInvalidDevicePointer;
using cuda_runtime::cudaErrorLaunchFailure;
using cuda_runtime::cudaErrorMemoryAllocation;
using cuda_runtime::cudaSuccess;
using testing::ElementsAre;
using testing::IsEmpty;

/// A caller with an array on the device, and so with its primary context.
class CallersMemoryTest : public testing::Test {
  protected:
    void SetUp() override {
        substituteRuntime() = {};
        substituteRuntime().primary.holders = 1;
        substituteRuntime().primary.made = 1;
        substituteRuntime().primary.memory = {&array};
    }

    void TearDown() override {
        substituteRuntime() = {};
        static_cast<void>(cuda_runtime::cudaGetLastError());
    }

    cudaError_t copy() {
        return cuda_runtime::copyInOrder(&array, &onHost, sizeof array,
                                         cuda_runtime::cudaMemcpyHostToDevice, 0, stream);
    }

    static void expectAllAsItWas() {
        EXPECT_EQ(substituteRuntime().primary.holders, 1);
        EXPECT_EQ(substituteRuntime().primary.made, 1);
        EXPECT_THAT(substituteRuntime().current, IsEmpty());
    }

    double array = 0;
    double onHost = 0;
    void* stream = &onHost;
};

TEST_F(CallersMemoryTest, IsCopiedInTheOrderOfTheirStreamAndNothingElseIsWaitedFor) {
    EXPECT_EQ(copy(), cudaSuccess);
    EXPECT_THAT(substituteRuntime().calls,
                ElementsAre("cuInit", "cuDeviceGet", "cuDevicePrimaryCtxRetain", "cuCtxPushCurrent",
                            "cudaMemcpyAsync", "cudaStreamSynchronize", "cuCtxPopCurrent",
                            "cuDeviceGet", "cuDevicePrimaryCtxRelease"));
    EXPECT_THAT(substituteRuntime().streams, ElementsAre(stream, stream));
    expectAllAsItWas();
}

TEST_F(CallersMemoryTest, IsFound) {
    cuda_runtime::Place place{};
    EXPECT_EQ(cuda_runtime::placeOf(&array, 0, &place), cudaSuccess);
    EXPECT_TRUE(place.isOnDevice);
    EXPECT_EQ(place.device, 0);
    EXPECT_EQ(cuda_runtime::placeOf(&onHost, 0, &place), cudaSuccess);
    EXPECT_FALSE(place.isOnDevice);
    expectAllAsItWas();
    EXPECT_TRUE(cuda_runtime::hasGpus());
}

TEST_F(CallersMemoryTest, IsNotLookedForOnADeviceThatNobodyHas) {
    substituteRuntime().primary.holders = 0;
    cuda_runtime::Place place{true, true, 7};
    EXPECT_EQ(cuda_runtime::placeOf(&array, 0, &place), cudaSuccess);
    EXPECT_FALSE(place.isOnDevice);
    EXPECT_FALSE(place.isShared);
    EXPECT_THAT(substituteRuntime().calls,
                ElementsAre("cuInit", "cuDeviceGet", "cuDevicePrimaryCtxGetState"));
    EXPECT_EQ(substituteRuntime().primary.made, 1);
}

TEST_F(CallersMemoryTest, TellsWhyItIsNotFound) {
    cuda_runtime::Place place{};
    for (const char* const function :
         {"cuInit", "cuDeviceGet", "cuDevicePrimaryCtxGetState", "cuDevicePrimaryCtxRetain"}) {
        substituteRuntime().failing = {{function, CUDA_ERROR_OUT_OF_MEMORY}};
        EXPECT_EQ(cuda_runtime::placeOf(&array, 0, &place), cudaErrorMemoryAllocation) << function;
        substituteRuntime().failing.clear();
        expectAllAsItWas();
    }
}

TEST_F(CallersMemoryTest, IsLeftAsItWasByAFailure) {
    substituteRuntime().operationsFail = true;
    EXPECT_EQ(copy(), cudaErrorLaunchFailure);
    EXPECT_EQ(substituteRuntime().lastError, cudaSuccess);
    expectAllAsItWas();
    substituteRuntime().operationsFail = false;
    for (const char* const function :
         {"cuInit", "cuDeviceGet", "cuDevicePrimaryCtxRetain", "cuCtxPushCurrent"}) {
        substituteRuntime().failing = {{function, CUDA_ERROR_OUT_OF_MEMORY}};
        EXPECT_EQ(copy(), cudaErrorMemoryAllocation) << function;
        EXPECT_THAT(substituteRuntime().streams, ElementsAre(stream)) << function;
        substituteRuntime().failing.clear();
        expectAllAsItWas();
    }
}

TEST_F(CallersMemoryTest, IsReachedWhileAFieldIsComputed) {
    std::future<std::optional<int>> found;
    {
        pistonfield::DeviceThread computing;
        computing.run([&] {
            found =
                std::async(std::launch::async, [this] { return pistonfield::deviceWith(&array); });
            EXPECT_EQ(found.wait_for(std::chrono::seconds(10)), std::future_status::ready);
        });
    }
    EXPECT_EQ(found.get(), 0);
    EXPECT_EQ(cuda_runtime::letGoOfDevices(), cudaSuccess);
    expectAllAsItWas();
}

TEST_F(CallersMemoryTest, LeavesTheErrorsOfOthersPending) {
    substituteRuntime().lastError = cudaErrorInvalidDevicePointer;
    EXPECT_EQ(copy(), cudaSuccess);
    EXPECT_EQ(substituteRuntime().lastError, cudaErrorInvalidDevicePointer);
}

}  // namespace
