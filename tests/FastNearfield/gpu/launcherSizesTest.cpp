// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>

#include "tests/FastNearfield/gpu/LaunchTest.h"
#include "tests/FastNearfield/gpu/Transcript.h"

// Grids that are too large for the launchers, or almost.

namespace {

using namespace cuda_runtime;
using emulated::emulator;
using emulated::Operation;
using testing::Contains;

template <class Predicate>
std::vector<Launcher> launchersThat(Predicate predicate) {
    std::vector<Launcher> chosen;
    std::copy_if(launchers().begin(), launchers().end(), std::back_inserter(chosen), predicate);
    return chosen;
}

bool isUnwritten(LaunchOfLauncher& launch) {
    const Field field = launch.field();
    return std::all_of(field.begin(), field.end(), [](std::complex<double> value) {
        return std::isnan(value.real()) && std::isnan(value.imag());
    });
}

/// Sizes whose fields have more bytes than fit 31 bits, or fewer than none.
std::vector<Sizes> impossibleSizes(const Launcher& launcher) {
    if (launcher.unstructured)
        return {{INT_MAX, 1, 1}, {1 << 30, 1, 1}, {1 << 29, 1, 1}, {-1, 1, 1}, {INT_MIN, 1, 1}};
    return {{46341, 46341, 1},
            {65536, 65536, 1},
            {1, 65536, 65536},
            {INT_MAX, 1, 1},
            {1, INT_MAX, 1},
            {1, 1, INT_MAX},
            {1 << 29, 1, 1},
            {1024, 1024, 1024},
            {-1, 1, 1},
            {1, -3, 5},
            {2, 2, -4},
            {INT_MIN, 1, 1},
            {INT_MAX, INT_MAX, INT_MAX}};
}

class HostLaunchers : public EachLauncher {};

TEST_P(HostLaunchers, AskForMoreMemoryThanThereIsWhereTheBytesDoNotFit) {
    for (const Sizes& n : impossibleSizes(launcher)) {
        SCOPED_TRACE(testing::Message() << n);
        const auto launch = launcher.prepare(n);
        const Transcript transcript = transcriptOf([&] { launch->start(); });
        const auto steps = launcher.script(n);
        const auto first = std::find_if(steps.begin(), steps.end(), [](const script::Step& step) {
            return std::holds_alternative<script::Allocate>(step);
        });
        const auto& allocation = std::get<script::Allocate>(*first);
        EXPECT_EQ(transcript.back(), "report: Cuda error when calling " + allocation.callText +
                                         ": out of memory (" + launcher.unit + ")");
        EXPECT_EQ(transcript, perform(steps, launcher.unit, AfterFailure::throws,
                                      PlannedFailure{2, cudaErrorMemoryAllocation}, false)
                                  .transcript);
        EXPECT_TRUE(isUnwritten(*launch));
        EXPECT_TRUE(launch->keptToItsArrays());
        static_cast<void>(cudaGetLastError());
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, HostLaunchers,
                         testing::ValuesIn(launchersThat([](const Launcher& each) {
                             return !each.deviceHalf;
                         })),
                         EachLauncher::nameOf);

class HostGridLaunchers : public EachLauncher {};

/// The sizes' product wraps around to 0 in 32 bits, or to that of a small grid.
TEST_P(HostGridLaunchers, WriteNothingForWrappedSizesWhereTheHandlerReturns) {
    for (const Sizes& n : {Sizes{65536, 65536, 1}, {65537, 65537, 1}}) {
        SCOPED_TRACE(testing::Message() << n);
        const auto launch = launcher.prepare(n);
        // The launch fails as well: so many threads take their time to do nothing.
        const Transcript transcript =
            transcriptOf([&] { launch->start(); }, AfterFailure::returns,
                         PlannedFailure{1, cudaErrorInvalidConfiguration, Operation::Launch});
        EXPECT_THAT(transcript,
                    Contains(testing::AllOf(testing::HasSubstr("cudaMemcpyDeviceToHost )"),
                                            testing::HasSubstr(": invalid argument"))));
        EXPECT_TRUE(isUnwritten(*launch));
        EXPECT_TRUE(launch->keptToItsArrays());
        static_cast<void>(cudaGetLastError());
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, HostGridLaunchers,
                         testing::ValuesIn(launchersThat([](const Launcher& each) {
                             return !each.deviceHalf && !each.unstructured;
                         })),
                         EachLauncher::nameOf);

class GridLaunchers : public EachLauncher {};

TEST_P(GridLaunchers, CannotHaveMoreThan65535BlocksAlongY) {
    const std::string text = "invalid configuration argument";
    for (const Sizes& n : {Sizes{1, 524281, 1}, {1, 1, 524281}, {1, 4097, 128}}) {
        const auto launch = launcher.prepare(n);
        const Transcript transcript = transcriptOf([&] { launch->start(); });
        EXPECT_THAT(transcript, Contains("cudaLaunch()"));
        EXPECT_EQ(transcript.back(), "report: " + text + " (" + launcher.unit + ")");
        EXPECT_TRUE(isUnwritten(*launch));
        EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, GridLaunchers,
                         testing::ValuesIn(launchersThat([](const Launcher& each) {
                             return !each.unstructured;
                         })),
                         EachLauncher::nameOf);

class Largest : public RuleOnDevice {};

TEST_F(Largest, GridAlongYIsLaunched) {
    ASSERT_EQ(cudaThreadExit(), cudaSuccess);  // without a rule the field is 0, and soon computed
    const auto launch = launcherNamed("do_calculate").prepare({1, 524280, 1});
    EXPECT_THAT(transcriptOf([&] { launch->start(); }),
                Contains("cudaConfigureCall((1, 65535, 1), (128, 1, 1), 0, 0)"));
    EXPECT_THAT(launch->field(), testing::Each(std::complex<double>(0, 0)));
}

TEST_F(Largest, FieldIsAskedForToTheByte) {
    const auto asked = [](const char* name, const Sizes& n) {
        const auto launch = launcherNamed(name).prepare(n);
        const Transcript transcript =
            transcriptOf([&] { launch->start(); }, AfterFailure::throws,
                         PlannedFailure{1, cudaErrorMemoryAllocation, Operation::Malloc});
        static_cast<void>(cudaGetLastError());
        return *(transcript.end() - 2);
    };
    EXPECT_EQ(asked("RectangularPiston_func", {(1 << 28) - 1, 1, 1}), "cudaMalloc(2147483640)");
    EXPECT_EQ(asked("RectangularPiston_func_d", {1, (1 << 27) - 1, 1}), "cudaMalloc(2147483632)");
    EXPECT_EQ(asked("RectangularPiston_func2", {1, 1, (1 << 29) - 1}), "cudaMalloc(2147483644)");
    EXPECT_EQ(asked("RectangularPiston_func2_d", {1, 1, (1 << 28) - 1}), "cudaMalloc(2147483640)");
}

TEST_F(Largest, EmptyGridIsNotLaunched) {
    for (const Launcher& launcher : launchers()) {
        const auto launch = launcher.prepare({0, 1, 1});
        const Transcript transcript = transcriptOf([&] { launch->start(); });
        EXPECT_EQ(transcript.back(),
                  "report: invalid configuration argument (" + launcher.unit + ")")
            << launcher;
        EXPECT_TRUE(isUnwritten(*launch));
        EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    }
}

}  // namespace
