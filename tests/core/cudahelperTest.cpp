// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "core/cudahelper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/Captured.h"
#include "tests/support/EmulatedDevices.h"
#include "tests/support/FailureHandlers.h"

namespace {

using namespace cuda_runtime;
using emulated::emulator;
using emulated::Operation;
using testing::ElementsAre;

/// What the choice among these devices gives and prints.
struct Choice {
    int device;
    std::string printed;
};

Choice choiceAmong(std::vector<cudaDeviceProp> devices) {
    const EmulatedDevices list(std::move(devices));
    Choice choice{};
    choice.printed = captured([&] { choice.device = chooseDevice(); }).out;
    static_cast<void>(cudaGetLastError());
    return choice;
}

constexpr auto device = EmulatedDevices::device;

TEST(CoresPerMultiprocessor, KnowsTheOldArchitectures) {
    EXPECT_EQ(coresPerMultiprocessor(1, 0), 8);
    EXPECT_EQ(coresPerMultiprocessor(1, 1), 8);
    EXPECT_EQ(coresPerMultiprocessor(1, 2), 8);
    EXPECT_EQ(coresPerMultiprocessor(1, 3), 8);
    EXPECT_EQ(coresPerMultiprocessor(2, 0), 32);
    EXPECT_EQ(coresPerMultiprocessor(2, 1), 48);
    EXPECT_EQ(coresPerMultiprocessor(9999, 9999), 1);
}

TEST(DeviceChoice, TakesTheOnlyKnownDevice) {
    const Choice choice = choiceAmong({device(1, 3, 30, 1000)});
    EXPECT_EQ(choice.device, 0);
    EXPECT_EQ(choice.printed, "");
}

TEST(DeviceChoice, TakesTheHighestEstimatedRate) {
    EXPECT_EQ(choiceAmong({device(1, 1, 16, 1000), device(2, 0, 14, 1000)}).device, 1);
    EXPECT_EQ(choiceAmong({device(2, 0, 14, 1000), device(1, 1, 16, 1000)}).device, 0);
    EXPECT_EQ(choiceAmong({device(1, 3, 30, 1000), device(1, 3, 30, 1001)}).device, 1);
}

TEST(DeviceChoice, KeepsTheEarlierOfEqualDevices) {
    EXPECT_EQ(choiceAmong({device(1, 3, 30, 1000), device(1, 3, 30, 1000)}).device, 0);
}

TEST(DeviceChoice, NeverPrefersADeviceOfUnknownCapability) {
    const Choice alone = choiceAmong({device(3, 0, 8, 1000)});
    EXPECT_EQ(alone.device, 0);
    EXPECT_EQ(alone.printed, "MapSMtoCores undefined SMversion 3.0!\n");
    const Choice second = choiceAmong({device(3, 0, 8, 1000), device(9, 0, 132, 1980000)});
    EXPECT_EQ(second.device, 0);
    EXPECT_EQ(second.printed,
              "MapSMtoCores undefined SMversion 3.0!\nMapSMtoCores undefined SMversion 9.0!\n");
}

TEST(DeviceChoice, AboveArchitectureTwoConsidersOnlyTheBestOne) {
    // The best architecture's cores are unknown, and the known device is not of it: none is chosen.
    EXPECT_EQ(choiceAmong({device(3, 0, 8, 1000), device(2, 0, 14, 1000)}).device, 0);
    // Up to architecture 2 the faster device wins, whatever its architecture.
    EXPECT_EQ(choiceAmong({device(2, 0, 1, 1000), device(1, 3, 30, 1000)}).device, 1);
}

TEST(DeviceChoice, CountsTheEmulationDeviceAsOneCoreAndAsNoArchitecture) {
    EXPECT_EQ(choiceAmong({device(9999, 9999, 2, 1000), device(1, 0, 1, 1000)}).device, 1);
    EXPECT_EQ(choiceAmong({device(1, 0, 1, 1000), device(9999, 9999, 16, 1000)}).device, 1);
    EXPECT_EQ(choiceAmong({device(9999, 9999, 2, 1000)}).printed, "");
}

TEST(DeviceChoice, RateWrapsAroundIn32Bits) {
    // 48 * 100 * 1000000 is 2^32 + 505032704, and 8 * 300 * 1000000 is 2^31 + 252516352.
    EXPECT_EQ(choiceAmong({device(1, 0, 100, 1000000), device(2, 1, 100, 1000000)}).device, 0);
    EXPECT_EQ(choiceAmong({device(1, 0, 1, 1), device(1, 0, 300, 1000000)}).device, 0);
}

TEST(DeviceChoice, AWrappedRateOfUnknownCoresCanBeTheHighest) {
    // -1 * 132 * 16500000 is 2116967296 - 2^32.
    EXPECT_EQ(choiceAmong({device(2, 1, 16, 1000), device(9, 0, 132, 16500000)}).device, 1);
}

TEST(DeviceChoice, WithoutDevicesIsDeviceZero) { EXPECT_EQ(choiceAmong({}).device, 0); }

TEST(CudaDeviceThread, BringsTheChosenDeviceUpAndTakesItDown) {
    const EmulatedDevices list({device(1, 1, 16, 1000), device(2, 0, 14, 1000)});
    const RecordedFailures recorded(AfterFailure::throws);
    const RuntimeLog log;
    {
        const CudaDeviceThread thread;
        EXPECT_EQ(emulator().currentDevice(), 1);
        EXPECT_TRUE(emulator().hasContext());
    }
    EXPECT_FALSE(emulator().hasContext());
    EXPECT_THAT(log.calls,
                ElementsAre("cudaGetDeviceCount()", "cudaGetDeviceProperties(0)",
                            "cudaGetDeviceProperties(1)", "cudaGetDeviceProperties(0)",
                            "cudaGetDeviceProperties(1)", "cudaSetDevice(1)", "cudaGetLastError()",
                            "cudaGetLastError()", "cudaConfigureCall((1, 1, 1), (1, 1, 1), 0, 0)",
                            "cudaLaunch()", "cudaGetLastError()", "cudaGetLastError()",
                            "cudaThreadSynchronize()", "cudaThreadExit()"));
}

TEST(CudaDeviceThread, FreesWhatTheScopeLeftOnTheDevice) {
    {
        const CudaDeviceThread thread;
        void* address = nullptr;
        ASSERT_EQ(cudaMalloc(&address, 1000), cudaSuccess);
        EXPECT_EQ(emulator().liveBytes(), 1000U);
    }
    EXPECT_EQ(emulator().liveBytes(), 0U);
}

TEST(CudaDeviceThread, WithoutDevicesTriesDeviceZeroAndReportsTheLaunch) {
    const EmulatedDevices none({});
    const RecordedFailures recorded(AfterFailure::throws);
    const RuntimeLog log;
    const Printed printed = captured([] { EXPECT_THROW(const CudaDeviceThread thread, Failure); });
    EXPECT_THAT(log.calls, testing::Contains("cudaSetDevice(0)"));
    EXPECT_EQ(printed.err,
              "Cuda error: post cuda_init() in file 'core/cuda_init' in line 16 : "
              "no CUDA-capable device is detected.\n");
    ASSERT_EQ(recorded.failures.size(), 1U);
    EXPECT_EQ(recorded.failures[0],
              (Failure{"no CUDA-capable device is detected", 16, "core/cuda_init"}));
    static_cast<void>(cudaGetLastError());
}

TEST(CudaDeviceThread, LeavesNoContextBehindWhenBringingItUpFails) {
    const RecordedFailures recorded(AfterFailure::throws);
    const RuntimeLog log(PlannedFailure{3, cudaErrorUnknown, Operation::GetLastError});
    static_cast<void>(captured([] { EXPECT_THROW(const CudaDeviceThread thread, Failure); }));
    EXPECT_TRUE(log.failed);
    EXPECT_FALSE(emulator().hasContext());
}

TEST(CudaDeviceThread, ReportsAFailingEndOfTheContext) {
    const RecordedFailures recorded(AfterFailure::throws);
    const RuntimeLog log(PlannedFailure{1, cudaErrorLaunchFailure, Operation::ThreadExit});
    const Printed printed = captured([] { EXPECT_THROW({ const CudaDeviceThread t; }, Failure); });
    EXPECT_EQ(printed.err + printed.out, "");
    ASSERT_EQ(recorded.failures.size(), 1U);
    EXPECT_EQ(recorded.failures[0],
              (Failure{"Cuda error when calling cudaThreadExit(): unspecified launch failure", 25,
                       "core/cudahelper"}));
    static_cast<void>(cudaGetLastError());
    static_cast<void>(cudaThreadExit());
}

TEST(CudaDeviceThread, DoesNotThrowWhileAnotherExceptionIsOnItsWay) {
    const RecordedFailures recorded(AfterFailure::throws);
    const RuntimeLog log(PlannedFailure{1, cudaErrorLaunchFailure, Operation::ThreadExit});
    const auto unwind = [] {
        const CudaDeviceThread thread;
        throw std::runtime_error("on its way");
    };
    EXPECT_THROW(unwind(), std::runtime_error);
    EXPECT_EQ(recorded.failures.size(), 1U);
    static_cast<void>(cudaGetLastError());
    static_cast<void>(cudaThreadExit());
}

TEST(CudaInterface, ListsTheDevices) {
    const EmulatedDevices list({device(1, 1, 16, 1000), device(2, 0, 14, 1401000)});
    EXPECT_EQ(captured(CudaInterface::dumpDevices).out,
              "Device: 0 Processors 16 clockrate 1000\n"
              "Device: 1 Processors 14 clockrate 1401000\n"
              "Total: 2 devices.\n");
}

TEST(CudaInterface, ListsNoDevices) {
    const EmulatedDevices none({});
    EXPECT_EQ(captured(CudaInterface::dumpDevices).out, "Total: 0 devices.\n");
    static_cast<void>(cudaGetLastError());
}

TEST(CudaInterface, PassesTheStatusesOn) {
    EXPECT_EQ(CudaInterface::init(), cudaSuccess);
    EXPECT_EQ(CudaInterface::sync(), cudaSuccess);
    CudaInterface::release();
    EXPECT_FALSE(emulator().hasContext());
}

}  // namespace
