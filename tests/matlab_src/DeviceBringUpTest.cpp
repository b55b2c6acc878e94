// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Every call brings the device up before anything else, and takes it down after everything else.
#include <algorithm>

#include "core/ErrorHandler.h"
#include "core/cuda_init.h"
#include "cuda_runtime/emulated/Emulator.h"
#include "tests/matlab_src/GatewayTest.h"

using cuda_runtime::emulated::emulator;
using substitute::Event;
using substitute::EventKind;
using substitute::RaiseMode;
using substitute::theHost;

namespace {

constexpr const char* noDeviceReport =
    "ERROR: assertion failure in core/cuda_init at line 16\n"
    "       condition failed: (no CUDA-capable device is detected).\n\n";
constexpr const char* noDeviceLine =
    "Cuda error: post cuda_init() in file 'core/cuda_init' in line 16 : "
    "no CUDA-capable device is detected.\n";

class DeviceBringUpTest : public GatewayTest {
  protected:
    /// Requests that end in every early way, and the one that is answered.
    static std::vector<Request> variousRequests() {
        Request info;
        info.at(0, substitute::text("info")).onlyFirst(1);
        info.outputs = 0;
        return {Request().onlyFirst(0), info, Request().sizes({0, 1, 1}), Request().mode("cpusp"),
                Request()};
    }

    static std::size_t positionOf(const Event& event) {
        const auto& events = theHost().events;
        return static_cast<std::size_t>(std::find(events.begin(), events.end(), event) -
                                        events.begin());
    }
};

TEST_F(DeviceBringUpTest, precedesEverythingInEveryCall) {
    for (const Request& request : variousRequests()) {
        call(request);
        const auto& events = theHost().events;
        const auto firstOther = std::find_if(events.begin(), events.end(), [](const Event& event) {
            return event.kind != EventKind::runtime;
        });
        const auto before = static_cast<std::size_t>(firstOther - events.begin());
        EXPECT_LT(positionOf({EventKind::runtime, "cudaSetDevice(0)"}), before);
        EXPECT_LT(positionOf({EventKind::runtime, "cudaLaunch()"}), before);
        EXPECT_LT(positionOf({EventKind::runtime, "cudaThreadSynchronize()"}), before);
    }
}

TEST_F(DeviceBringUpTest, isUndoneAfterEverythingInEveryCall) {
    for (const Request& request : variousRequests()) {
        expectNothingLeft(call(request));
        EXPECT_EQ(theHost().events.back(), (Event{EventKind::runtime, "cudaThreadExit()"}));
        const std::vector<std::string> calls = theHost().textsOf(EventKind::runtime);
        EXPECT_EQ(std::count(calls.begin(), calls.end(), "cudaThreadExit()"), 1);
    }
}

TEST_F(DeviceBringUpTest, launchesTheEmptyKernelBetweenTwoChecks) {
    call(Request());
    std::vector<std::string> calls = theHost().textsOf(EventKind::runtime);
    calls.erase(calls.begin(), std::find(calls.begin(), calls.end(), "cudaSetDevice(0)"));
    EXPECT_EQ(calls, (std::vector<std::string>{
                         "cudaSetDevice(0)", "cudaGetLastError()", "cudaGetLastError()",
                         "cudaConfigureCall((1, 1, 1), (1, 1, 1), 0, 0)", "cudaLaunch()",
                         "cudaGetLastError()", "cudaGetLastError()", "cudaThreadSynchronize()",
                         "cudaThreadExit()"}));
}

TEST_F(DeviceBringUpTest, withoutADeviceEndsEveryCall) {
    emulator().setDevices({});
    for (const Request& request : variousRequests()) {
        const Outcome outcome = call(request);
        EXPECT_EQ(outcome.ending, Ending::refused);
        EXPECT_EQ(outcome.error, noDeviceReport);
        EXPECT_EQ(outcome.standardError, noDeviceLine);
        EXPECT_TRUE(eventsOf({EventKind::query, EventKind::print, EventKind::creation}).empty());
        expectNothingLeft(outcome);
    }
    expectNextCallWorks();
}

TEST_F(DeviceBringUpTest, withoutADeviceIsReportedAndTheCallGoesOnWhereErrorsReturn) {
    emulator().setDevices({});
    theHost().raiseMode = RaiseMode::returns;
    const Outcome outcome = call(Request());
    EXPECT_EQ(theHost().textsOf(EventKind::raise).front(), noDeviceReport);
    EXPECT_EQ(outcome.ending, Ending::answered);
    expectNothingLeft(outcome);
}

TEST_F(DeviceBringUpTest, takesOverTheDeviceOfACallThatNeverEnded) {
    static_cast<void>(cuda_init());
    void* leftover = nullptr;
    ASSERT_EQ(cuda_runtime::cudaMalloc(&leftover, 64), cuda_runtime::cudaSuccess);
    const Outcome outcome = call(Request());
    EXPECT_EQ(outcome.ending, Ending::answered);
    expectNothingLeft(outcome);
}

TEST_F(DeviceBringUpTest, clearsAnErrorLeftFromEarlierWork) {
    ASSERT_NE(cuda_runtime::cudaSetDevice(7), cuda_runtime::cudaSuccess);
    EXPECT_EQ(call(Request()).ending, Ending::answered);
}

TEST_F(DeviceBringUpTest, namesAnUnknownCapabilityOnTheStandardOutput) {
    emulator().setDevices({{"new device", 3, 0, 8, 1000000}});
    testing::internal::CaptureStdout();
    const Outcome outcome = call(Request());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "MapSMtoCores undefined SMversion 3.0!\n");
    EXPECT_EQ(outcome.ending, Ending::answered);
}

}  // namespace
