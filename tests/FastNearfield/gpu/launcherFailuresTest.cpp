// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/FastNearfield/gpu/LaunchTest.h"
#include "tests/FastNearfield/gpu/Transcript.h"

// What launchers do when calls of the runtime fail.

namespace {

using namespace cuda_runtime;
using emulated::emulator;
using testing::ElementsAre;

struct Circumstances {
    AfterFailure after;
    cudaError_t status;
    bool timing;
};

std::ostream& operator<<(std::ostream& out, const Circumstances& c) {
    return out << "with a handler that " << (c.after == AfterFailure::throws ? "throws" : "returns")
               << ", status " << c.status << (c.timing ? ", timed" : "");
}

const std::vector<Circumstances>& allCircumstances() {
    static const std::vector<Circumstances> all = [] {
        std::vector<Circumstances> list;
        for (const AfterFailure after : {AfterFailure::throws, AfterFailure::returns})
            for (const cudaError_t status : {cudaErrorUnknown, cudaErrorMemoryAllocation})
                for (const bool timing : {false, true}) list.push_back({after, status, timing});
        return list;
    }();
    return all;
}

class FailingCall : public EachLauncher {
  protected:
    const Sizes n = sizes({5, 2, 3});
    const Field field = fieldOf(launcher, n);

    /// The number of runtime calls of a launch without failures.
    int callCount(bool timing) const {
        const auto expected =
            perform(launcher.script(n), launcher.unit, AfterFailure::throws, {}, timing);
        return static_cast<int>(std::count_if(
            expected.transcript.begin(), expected.transcript.end(),
            [](const std::string& event) { return event.compare(0, 4, "cuda") == 0; }));
    }

    void failNth(int nth, const Circumstances& c) const {
        const PlannedFailure plan{nth, c.status};
        const auto expected = perform(launcher.script(n), launcher.unit, c.after, plan, c.timing);
        const auto launch = launcher.prepare(n);
        const std::size_t before = emulator().liveBytes();
        do_timing = c.timing ? 1 : 0;
        EXPECT_EQ(transcriptOf([&] { launch->start(); }, c.after, plan), expected.transcript);
        do_timing = 0;
        EXPECT_EQ(emulator().liveBytes() - before, expected.leftBytes);
        EXPECT_EQ(cudaGetLastError(), expected.pendingError);
    }

    void expectFreshStart() const {
        EXPECT_EQ(cudaThreadExit(), cudaSuccess);
        EXPECT_EQ(emulator().liveBytes(), 0U);
        uploadRule();
        EXPECT_TRUE(identical(fieldOf(launcher, n), field));
    }
};

TEST_P(FailingCall, IsReportedAndLeavesTheDeviceUsable) {
    for (const Circumstances& c : allCircumstances())
        for (int nth = 1; nth <= callCount(c.timing); ++nth) {
            SCOPED_TRACE(testing::Message() << "call " << nth << " fails " << c);
            failNth(nth, c);
            expectFreshStart();
            if (HasFailure()) return;
        }
}

TEST_P(FailingCall, LeavesTheHostArraysWhereTheHandlerThrowsBeforeTheCopy) {
    const int calls = callCount(false);
    for (int nth = 1; nth <= calls; ++nth) {
        const auto launch = launcher.prepare(n);
        const Transcript transcript = transcriptOf([&] { launch->start(); }, AfterFailure::throws,
                                                   PlannedFailure{nth, cudaErrorUnknown});
        EXPECT_TRUE(launch->keptToItsArrays());
        const bool copied =
            std::any_of(transcript.begin(), transcript.end() - 2, [](const std::string& event) {
                return event.find("cudaMemcpyDeviceToHost") != std::string::npos;
            });
        if (!copied && !launcher.deviceHalf) {
            EXPECT_TRUE(std::isnan(launch->field().front().real())) << "call " << nth;
        }
        static_cast<void>(cudaGetLastError());
    }
}

INSTANTIATE_TEST_SUITE_P(Of, FailingCall, testing::ValuesIn(launchers()), EachLauncher::nameOf);

// The reports of typical failures in full.

class LauncherFailure : public RuleOnDevice {
  protected:
    /// What the channels and the handler get.
    static std::vector<std::string> news(const std::string& name, AfterFailure after,
                                         PlannedFailure plan) {
        const auto launch = launcherNamed(name).prepare({2, 2, 2});
        Transcript transcript = transcriptOf([&] { launch->start(); }, after, plan);
        const auto isSilent = [](const std::string& event) {
            return event.compare(0, 4, "cuda") == 0 || event.compare(0, 4, "out:") == 0;
        };
        transcript.erase(std::remove_if(transcript.begin(), transcript.end(), isSilent),
                         transcript.end());
        return transcript;
    }
};

using emulated::Operation;

TEST_F(LauncherFailure, OfAnAllocationIsNotPrinted) {
    EXPECT_THAT(news("RectangularPiston_func", AfterFailure::throws,
                     {1, cudaErrorMemoryAllocation, Operation::Malloc}),
                ElementsAre("report: Cuda error when calling cudaMalloc((void**)&d_array, "
                            "datasize): out of memory (FastNearfield/RectangularPistonCuda)"));
}

TEST_F(LauncherFailure, OfAnAllocationIsFollowedByAFaultAndARefusedCopy) {
    EXPECT_THAT(
        news("do_calculate", AfterFailure::returns,
             {1, cudaErrorMemoryAllocation, Operation::Malloc}),
        ElementsAre("report: Cuda error when calling cudaMalloc((void**)&d_array, datasize): out "
                    "of memory (FastNearfield/RectangularPistonCuda)",
                    "err: Cuda error: calculate in file 'FastNearfield/RectangularPistonCuda' in "
                    "line # : an illegal memory access was encountered.",
                    "report: an illegal memory access was encountered "
                    "(FastNearfield/RectangularPistonCuda)",
                    "report: Cuda error when calling cudaMemcpy( &data[0], d_array, datasize, "
                    "cudaMemcpyDeviceToHost ): invalid argument "
                    "(FastNearfield/RectangularPistonCuda)"));
}

TEST_F(LauncherFailure, OfTheTransformsAllocationIsFollowedByARefusedCopyAndAFault) {
    EXPECT_THAT(
        news("RectangularPiston_func2_d", AfterFailure::returns,
             {3, cudaErrorMemoryAllocation, Operation::Malloc}),
        ElementsAre("report: Cuda error when calling cudaMalloc((void**)&d_transform, "
                    "16*sizeof(double)): out of memory (FastNearfield/RectangularPistonCuda.dp)",
                    "report: Cuda error when calling cudaMemcpy( d_transform, transform, "
                    "16*sizeof(double), cudaMemcpyHostToDevice ): invalid argument "
                    "(FastNearfield/RectangularPistonCuda.dp)",
                    "err: Cuda error: calculate_grid in file "
                    "'FastNearfield/RectangularPistonCuda.dp' in line # : an illegal memory access "
                    "was encountered.",
                    "report: an illegal memory access was encountered "
                    "(FastNearfield/RectangularPistonCuda.dp)"));
}

TEST_F(LauncherFailure, OfACallShowsAgainAtTheDeviceHalfsEntry) {
    const std::string unit = "(FastNearfield/RectangularPistonCuda)";
    EXPECT_THAT(news("RectangularPiston_func_structured", AfterFailure::returns,
                     {3, cudaErrorUnknown, Operation::Memcpy}),
                ElementsAre("report: Cuda error when calling cudaMemcpy(&d_posz[0], &posz[0], "
                            "sz*sizeof(float), cudaMemcpyHostToDevice): unknown error " +
                                unit,
                            "err: Cuda error: pre RectangularPison_func_device in file "
                            "'FastNearfield/RectangularPistonCuda' in line # : unknown error.",
                            "report: unknown error " + unit));
}

TEST_F(LauncherFailure, OfALaunchIsPrintedWithTheLabelAndHandedOverBare) {
    EXPECT_THAT(news("RectangularPiston_func2", AfterFailure::throws,
                     {1, cudaErrorLaunchFailure, Operation::Launch}),
                ElementsAre("err: Cuda error: RectangularPiston_func2_device in file "
                            "'FastNearfield/RectangularPistonCuda' in line # : unspecified launch "
                            "failure.",
                            "report: unspecified launch failure "
                            "(FastNearfield/RectangularPistonCuda)"));
}

TEST_F(LauncherFailure, OfAFreeIsReportedAndTheNextOneStillTried) {
    EXPECT_THAT(news("RectangularPiston_func_d", AfterFailure::returns,
                     {1, cudaErrorUnknown, Operation::Free}),
                ElementsAre("report: Cuda error when calling cudaFree(d_array): unknown error "
                            "(FastNearfield/RectangularPistonCuda.dp)"));
    EXPECT_EQ(emulator().liveBytes(), 128U);  // the field's 2x2x2 values, not the transform
}

}  // namespace
