// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// What a thread leaves on a device that it shares with the rest of the process: the calls of the
// driver in their order, the memory and the constants, over a substitute for the CUDA runtime.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "cuda_runtime/ConstantSymbol.h"
#include "cuda_runtime/DeviceModule.h"
#include "cuda_runtime/runtime.h"
#include "tests/gpu/SubstituteRuntime.h"

namespace {

using namespace cuda_runtime;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

std::array<float, 600> rule{};
std::array<int, 1> order{};
const std::array<ConstantSymbol, 2> symbols{
    {{"global_rule", &rule, sizeof rule}, {"global_order", &order, sizeof order}}};
const DeviceModule module({}, symbols);

class UnitsOfWorkTest : public testing::Test {
  protected:
    void SetUp() override { substituteRuntime() = {}; }

    void TearDown() override {
        EXPECT_EQ(cudaThreadExit(), cudaSuccess);
        EXPECT_EQ(letGoOfDevices(), cudaSuccess);
        static_cast<void>(cudaGetLastError());
        EXPECT_EQ(primary().holders, 0);
    }

    static const SubstituteRuntime::Primary& primary() { return substituteRuntime().primary; }
    static std::vector<std::string>& calls() { return substituteRuntime().calls; }

    static void* allocated() {
        void* address = nullptr;
        EXPECT_EQ(cudaMalloc(&address, 4), cudaSuccess);
        return address;
    }

    static cudaError_t uploadRule(float value) {
        std::array<float, 600> values{};
        values.fill(value);
        return cudaMemcpyToSymbol("global_rule", values.data(), sizeof values);
    }

    static cudaError_t launch() {
        static_cast<void>(cudaConfigureCall({}, {}, 0, nullptr));
        return cudaLaunch(&rule);
    }

    static const std::vector<std::byte>& ruleOnTheDevice() { return primary().constants.at(&rule); }
};

TEST_F(UnitsOfWorkTest, HoldThePrimaryContextAndKeepItForTheNext) {
    EXPECT_EQ(cudaThreadSynchronize(), cudaSuccess);
    EXPECT_THAT(calls(),
                ElementsAre("cuInit", "cuDeviceGet", "cuDevicePrimaryCtxRetain",  //
                            "cuInit", "cuDeviceGet", "cuDevicePrimaryCtxRetain",  //
                            "cuCtxPushCurrent", "cudaDeviceSynchronize", "cuCtxPopCurrent"));
    calls().clear();
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_THAT(calls(), ElementsAre("cuCtxPushCurrent", "cudaDeviceSynchronize", "cuCtxPopCurrent",
                                     "cuDeviceGet", "cuDevicePrimaryCtxRelease"));
    EXPECT_EQ(primary().holders, 1);
    EXPECT_EQ(cudaThreadSynchronize(), cudaSuccess);
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_EQ(primary().made, 1);
}

TEST_F(UnitsOfWorkTest, FreeTheirMemoryAtTheirEndAndNobodyElses) {
    int others = 0;
    substituteRuntime().primary.memory.insert(&others);
    void* const freed = allocated();
    static_cast<void>(allocated());
    static_cast<void>(allocated());
    EXPECT_EQ(cudaFree(freed), cudaSuccess);
    EXPECT_EQ(primary().memory.size(), 3U);
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_THAT(primary().memory, ElementsAre(&others));
    calls().clear();
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(UnitsOfWorkTest, EndTheirStreamsAndTheHostsMemory) {
    int others = 0;
    substituteRuntime().primary.streams.insert(&others);
    substituteRuntime().primary.hostMemory.insert(&others);
    std::array<cudaStream_t, 3> streams{};
    std::array<void*, 3> staging{};
    for (cudaStream_t& stream : streams) EXPECT_EQ(cudaStreamCreate(&stream), cudaSuccess);
    for (void*& memory : staging) EXPECT_EQ(cudaMallocHost(&memory, 4), cudaSuccess);
    EXPECT_EQ(cudaStreamDestroy(streams[1]), cudaSuccess);
    EXPECT_EQ(cudaFreeHost(staging[1]), cudaSuccess);
    EXPECT_EQ(primary().streams.size(), 3U);
    EXPECT_EQ(primary().hostMemory.size(), 3U);
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_THAT(primary().streams, ElementsAre(&others));
    EXPECT_THAT(primary().hostMemory, ElementsAre(&others));
}

TEST_F(UnitsOfWorkTest, WorkOnTheStreamsThatAreNamed) {
    cudaStream_t stream = nullptr;
    EXPECT_EQ(cudaStreamCreate(&stream), cudaSuccess);
    int value = 0;
    static_cast<void>(cudaConfigureCall({}, {}, 0, stream));
    EXPECT_EQ(cudaLaunch(&rule), cudaSuccess);
    EXPECT_EQ(cudaMemcpyAsync(&value, &value, 4, cudaMemcpyDeviceToHost, stream), cudaSuccess);
    EXPECT_EQ(launch(), cudaSuccess);
    EXPECT_THAT(substituteRuntime().usedStreams, ElementsAre(stream, stream, nullptr));
}

// What is in a context that is broken goes with it.
TEST_F(UnitsOfWorkTest, OnADeviceThatFailsWithWorkUnderWayLeaveNothing) {
    cudaStream_t stream = nullptr;
    void* staging = nullptr;
    EXPECT_EQ(cudaStreamCreate(&stream), cudaSuccess);
    EXPECT_EQ(cudaMallocHost(&staging, 4), cudaSuccess);
    substituteRuntime().kernelsFail = true;
    static_cast<void>(cudaConfigureCall({}, {}, 0, stream));
    EXPECT_EQ(cudaLaunch(&rule), cudaSuccess);
    EXPECT_EQ(cudaStreamSynchronize(stream), cudaErrorLaunchFailure);
    EXPECT_EQ(cudaStreamDestroy(stream), cudaErrorLaunchFailure);
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_EQ(primary().holders, 0);
    EXPECT_THAT(primary().streams, IsEmpty());
    EXPECT_THAT(primary().hostMemory, IsEmpty());
}

TEST_F(UnitsOfWorkTest, LeaveNoRuleBehind) {
    EXPECT_EQ(uploadRule(3), cudaSuccess);
    EXPECT_THAT(ruleOnTheDevice(), Contains(Not(std::byte{})));
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_EQ(ruleOnTheDevice().size(), sizeof rule);
    EXPECT_THAT(ruleOnTheDevice(), Each(std::byte{}));
    EXPECT_EQ(primary().constants.count(&order), 0U);
}

TEST_F(UnitsOfWorkTest, OfOtherThreadsGoOn) {
    void* const mine = allocated();
    EXPECT_EQ(uploadRule(3), cudaSuccess);
    std::jthread([] {
        static_cast<void>(allocated());
        EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    }).join();
    EXPECT_THAT(primary().memory, ElementsAre(mine));
    EXPECT_THAT(ruleOnTheDevice(), Contains(Not(std::byte{})));
    EXPECT_EQ(primary().holders, 2);
}

TEST_F(UnitsOfWorkTest, KeepTheRuleThatAnotherOneWroteOverTheirs) {
    EXPECT_EQ(uploadRule(3), cudaSuccess);
    std::latch written(1);
    std::latch ended(1);
    {
        const std::jthread other([&] {
            EXPECT_EQ(uploadRule(4), cudaSuccess);
            written.count_down();
            ended.wait();
            EXPECT_EQ(cudaThreadExit(), cudaSuccess);
        });
        written.wait();
        EXPECT_EQ(cudaThreadExit(), cudaSuccess);
        EXPECT_THAT(ruleOnTheDevice(), Contains(Not(std::byte{})));
        ended.count_down();
    }
    EXPECT_THAT(ruleOnTheDevice(), Each(std::byte{}));
}

TEST_F(UnitsOfWorkTest, LeaveWhatIsCurrentToTheThread) {
    int others = 0;
    const auto context = reinterpret_cast<CUcontext>(&others);
    substituteRuntime().current = {context};
    static_cast<void>(allocated());
    EXPECT_THAT(substituteRuntime().current, ElementsAre(context));
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_THAT(substituteRuntime().current, ElementsAre(context));
}

TEST_F(UnitsOfWorkTest, AreOnOneDevice) {
    EXPECT_EQ(cudaSetDevice(0), cudaSuccess);
    EXPECT_EQ(cudaSetDevice(1), cudaErrorInvalidDevice);
    EXPECT_EQ(cudaThreadSynchronize(), cudaSuccess);
    EXPECT_EQ(cudaSetDevice(0), cudaSuccess);
}

TEST_F(UnitsOfWorkTest, OnADeviceThatFailsReportItOnceAndTakeTheContextWithThem) {
    static_cast<void>(allocated());
    substituteRuntime().kernelsFail = true;
    EXPECT_EQ(launch(), cudaSuccess);
    EXPECT_EQ(cudaThreadSynchronize(), cudaErrorLaunchFailure);
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_EQ(primary().holders, 0);
    substituteRuntime().kernelsFail = false;
    EXPECT_EQ(cudaThreadSynchronize(), cudaSuccess);
    EXPECT_EQ(primary().made, 2);
}

TEST_F(UnitsOfWorkTest, ReportAtTheirEndWhatFailedSinceTheLastOperation) {
    substituteRuntime().kernelsFail = true;
    EXPECT_EQ(launch(), cudaSuccess);
    EXPECT_EQ(cudaThreadExit(), cudaErrorLaunchFailure);
    EXPECT_EQ(primary().holders, 0);
}

TEST_F(UnitsOfWorkTest, CannotMendAContextThatSomebodyElseHolds) {
    EXPECT_EQ(cudaThreadSynchronize(), cudaSuccess);
    ++substituteRuntime().primary.holders;
    substituteRuntime().kernelsFail = true;
    EXPECT_EQ(launch(), cudaSuccess);
    EXPECT_EQ(cudaThreadExit(), cudaErrorLaunchFailure);
    EXPECT_EQ(primary().holders, 1);
    EXPECT_EQ(cudaThreadSynchronize(), cudaErrorLaunchFailure);
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    --substituteRuntime().primary.holders;
    substituteRuntime().primary = {};
}

TEST_F(UnitsOfWorkTest, GoOnWhenTheModuleLetsGoOfTheDevices) {
    void* const address = allocated();
    EXPECT_EQ(letGoOfDevices(), cudaSuccess);
    EXPECT_EQ(primary().holders, 1);
    EXPECT_THAT(primary().memory, ElementsAre(address));
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_EQ(primary().holders, 0);
}

/// Ends the process after some memory was allocated, and tells what is left then.
void leave(bool inForkedChild) {
    substituteRuntime() = {};
    static_cast<void>(std::atexit([] {
        const SubstituteRuntime::Primary& primary = substituteRuntime().primary;
        std::cerr << "holders " << primary.holders << ", calls "
                  << std::count(substituteRuntime().calls.begin(), substituteRuntime().calls.end(),
                                "cudaFree");
    }));
    void* address = nullptr;
    static_cast<void>(cudaMalloc(&address, 4));
    if (inForkedChild && fork() != 0) {
        int status = 0;
        static_cast<void>(wait(&status));
        std::_Exit(WEXITSTATUS(status));
    }
    std::exit(0);
}

// At the end of the process as when the module is unloaded.
TEST(UnitsOfWorkDeathTest, EndWhenTheModuleGoes) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(leave(false), testing::ExitedWithCode(0), "holders 0, calls 1");
}

TEST(UnitsOfWorkDeathTest, AreLeftToTheParentByAForkedChild) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(leave(true), testing::ExitedWithCode(0), "holders 2, calls 0");
}

}  // namespace
