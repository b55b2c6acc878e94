// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/RectangularPistonCuda.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "FastNearfield/RectangularPiston2.h"
#include "tests/FastNearfield/gpu/LaunchTest.h"
#include "tests/FastNearfield/gpu/Transcript.h"

namespace {

using namespace cuda_runtime;
using emulated::emulator;
using emulated::Operation;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

/// The CPU evaluation in double precision, point by point, with the rule of the launches.
Field onCpu(const std::vector<Point>& points, double l, double s) {
    RectangularPistonCuda2 piston(l, s, pistonK);
    piston.doubleRule.compute(ruleOrder);
    Field field;
    for (const Point& p : points) {
        const std::array<double, 16> at{1, 0, 0, p.x, 0, 1, 0, p.y, 0, 0, 1, p.z, 0, 0, 0, 1};
        double re = 0;
        double im = 0;
        piston.computeCPU<double, double>(&re, &im, Grid3DR<double>(at.data(), 1, 1, 1));
        field.emplace_back(re, im);
    }
    return field;
}

double largestDifference(const Field& a, const Field& b) {
    double largest = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double difference = std::abs(a[i] - b[i]);
        // Not a number counts as a difference.
        if (!(difference <= largest)) largest = difference;
        if (std::isnan(largest)) break;
    }
    return largest;
}

Transcript launched(const Launcher& launcher, const Sizes& n) {
    const auto launch = launcher.prepare(n);
    return transcriptOf([&] { launch->start(); });
}

class Launchers : public EachLauncher {};

TEST_P(Launchers, MakeTheirCallsAndPrintTheirLinesInOrder) {
    for (const Sizes grid : {Sizes{1, 1, 1}, {2, 2, 2}, {17, 3, 3}, {5, 40, 2}}) {
        const Sizes n = sizes(grid);
        const auto expected =
            perform(launcher.script(n), launcher.unit, AfterFailure::throws, {}, false);
        EXPECT_EQ(launched(launcher, n), expected.transcript);
        EXPECT_EQ(cudaGetLastError(), cudaSuccess);
    }
}

TEST_P(Launchers, FreeWhatTheyAllocate) {
    const auto launch = launcher.prepare(sizes({5, 3, 4}));
    const std::size_t before = emulator().liveBytes();
    static_cast<void>(transcriptOf([&] { launch->start(); }));
    EXPECT_EQ(emulator().liveBytes(), before);
}

TEST_P(Launchers, ComputeTheFieldOfAPistonWithSideLAlongYAndSideSAlongX) {
    const Sizes n = sizes({17, 3, 3});
    const std::vector<Point> points = positions(launcher, n);
    const Field field = fieldOf(launcher, n);
    ASSERT_EQ(field.size(), points.size());
    // Of a field of order 1 in single precision: phases of up to 20 rad are good to about 1e-6.
    constexpr double singlePrecision = 2e-6;
    EXPECT_LT(largestDifference(field, onCpu(points, pistonL, pistonS)), singlePrecision);
    EXPECT_GT(largestDifference(field, onCpu(points, pistonS, pistonL)), 0.1);
}

TEST_P(Launchers, WriteEveryPointAndNothingElse) {
    for (const Sizes grid : {Sizes{1, 1, 1}, {17, 1, 1}, {1, 5, 7}, {3, 3, 15}}) {
        const auto launch = launcher.prepare(sizes(grid));
        static_cast<void>(transcriptOf([&] { launch->start(); }));
        const Field field = launch->field();
        EXPECT_TRUE(std::none_of(field.begin(), field.end(), [](std::complex<double> value) {
            return std::isnan(value.real()) || std::isnan(value.imag());
        }));
        EXPECT_TRUE(launch->keptToItsArrays());
    }
}

TEST_P(Launchers, ReportAnErrorThatWasPendingBeforeThem) {
    const int argument = 0;
    static_cast<void>(cudaSetupArgument(&argument, sizeof argument, 0));
    const Sizes n = sizes({2, 1, 1});
    const std::string label = std::get<script::Check>(launcher.script(n).front()).label;
    const std::string text = "__global__ function call is not configured";
    std::string line = "err: Cuda error: " + label;
    line += " in file '" + launcher.unit + "' in line # : " + text + ".";
    EXPECT_THAT(launched(launcher, n), ElementsAre("cudaGetLastError()", line,
                                                   "report: " + text + " (" + launcher.unit + ")"));
}

INSTANTIATE_TEST_SUITE_P(All, Launchers, testing::ValuesIn(launchers()), EachLauncher::nameOf);

/// Transcripts of single launchers, in full.
class RectangularPiston : public RuleOnDevice {};

TEST_F(RectangularPiston, FuncComputesOnePoint) {
    EXPECT_THAT(
        launched(launcherNamed("RectangularPiston_func"), {1, 1, 1}),
        ElementsAre("cudaGetLastError()", "cudaMalloc(8)",
                    "out:  transform: 0.25 0.0625 0.125 -1.53125 -0.125", "cudaGetLastError()",
                    "out:  _device transform: 0.25 0.0625 0.125 -1.53125 -0.125", "cudaMalloc(64)",
                    "cudaMemcpy(64, cudaMemcpyHostToDevice)",
                    "cudaConfigureCall((1, 1, 1), (128, 1, 1), 0, 0)", "cudaSetupArgument(8, 0)",
                    "cudaSetupArgument(4, 8)", "cudaSetupArgument(4, 12)",
                    "cudaSetupArgument(4, 16)", "cudaSetupArgument(8, 24)",
                    "cudaSetupArgument(4, 32)", "cudaSetupArgument(4, 36)",
                    "cudaSetupArgument(4, 40)", "cudaLaunch()", "cudaGetLastError()", "cudaFree()",
                    "cudaMemcpy(8, cudaMemcpyDeviceToHost)", "cudaFree()"));
}

TEST_F(RectangularPiston, Func2PrintsTheBytesOfOneComponent) {
    const Transcript transcript = launched(launcherNamed("RectangularPiston_func2"), {10, 10, 10});
    EXPECT_THAT(transcript, Contains("out: allocating 4000 bytes"));
    EXPECT_THAT(transcript, Contains("cudaMalloc(4000)").Times(2));
    EXPECT_THAT(transcript, Contains(testing::StartsWith("out: ")).Times(1));
}

TEST_F(RectangularPiston, FuncStructuredPrintsHalfOfWhatItAllocates) {
    const Transcript transcript =
        launched(launcherNamed("RectangularPiston_func_structured"), {10, 10, 10});
    EXPECT_THAT(transcript, Contains("out: allocating 4000 bytes"));
    EXPECT_THAT(transcript, Contains("cudaMalloc(8000)").Times(1));
}

TEST_F(RectangularPiston, FuncUnstructuredDevicePrintsItsGeometry) {
    const Transcript transcript =
        launched(launcherNamed("RectangularPiston_func_unstructured_device"), {1000, 1, 1});
    EXPECT_THAT(std::vector<std::string>(transcript.begin() + 1, transcript.begin() + 5),
                ElementsAre("out: nbPos1000", "out: grid: 1 64 1", "out: 8192",
                            "cudaConfigureCall((1, 64, 1), (128, 1, 1), 0, 0)"));
}

TEST_F(RectangularPiston, DoubleLaunchersPrintNothing) {
    for (const char* name : {"RectangularPiston_func_d", "RectangularPiston_func2_d",
                             "do_calculate_grid_d", "do_calculate_d"})
        EXPECT_THAT(launched(launcherNamed(name), {2, 2, 2}),
                    Not(Contains(testing::HasSubstr(": "))));
}

TEST_F(RectangularPiston, FuncDAllocatesFieldAndTransform) {
    const Transcript transcript = launched(launcherNamed("RectangularPiston_func_d"), {2, 2, 2});
    EXPECT_THAT(transcript, Contains("cudaMalloc(128)").Times(2));
    EXPECT_THAT(transcript, Contains("cudaConfigureCall((1, 1, 1), (128, 1, 1), 0, 0)"));
}

TEST_F(RectangularPiston, Func2DFillsOneBlockWith16By8Points) {
    const Transcript transcript = launched(launcherNamed("RectangularPiston_func2_d"), {16, 8, 1});
    EXPECT_THAT(transcript, Contains("cudaMalloc(1024)").Times(2));
    EXPECT_THAT(transcript, Contains("cudaConfigureCall((1, 1, 1), (128, 1, 1), 0, 0)"));
}

TEST_F(RectangularPiston, GridOf17By3By3PointsTakesTwoByTwoBlocks) {
    for (const Launcher& launcher : launchers()) {
        if (launcher.unstructured) continue;
        EXPECT_THAT(launched(launcher, {17, 3, 3}),
                    Contains("cudaConfigureCall((2, 2, 1), (128, 1, 1), 0, 0)").Times(1))
            << launcher;
    }
}

TEST_F(RectangularPiston, ListOfPointsAlwaysHas64BlocksAlongY) {
    const auto geometry = [](int count) {
        const auto launch =
            launcherNamed("RectangularPiston_func_unstructured").prepare({count, 1, 1});
        return transcriptOf([&] { launch->start(); }, AfterFailure::throws,
                            PlannedFailure{1, cudaErrorUnknown, Operation::Launch});
    };
    EXPECT_THAT(geometry(1), Contains("cudaConfigureCall((1, 64, 1), (128, 1, 1), 0, 0)"));
    EXPECT_THAT(geometry(8192), Contains("cudaConfigureCall((1, 64, 1), (128, 1, 1), 0, 0)"));
    EXPECT_THAT(geometry(8193), Contains("cudaConfigureCall((2, 64, 1), (128, 1, 1), 0, 0)"));
    const Transcript million = geometry(1000000);
    EXPECT_THAT(million, Contains("cudaConfigureCall((123, 64, 1), (128, 1, 1), 0, 0)"));
    EXPECT_THAT(million, Contains("out: grid: 123 64 1"));
    EXPECT_THAT(million, Contains("out: 1007616"));
}

/// Neither the order of evaluation nor the layout of the output changes a value.
TEST_F(RectangularPiston, LaunchersOverOneTransformAgreeToTheBit) {
    const Sizes n{7, 6, 5};
    const Field field = fieldOf(launcherNamed("RectangularPiston_func"), n);
    for (const char* name : {"RectangularPiston_func_device", "RectangularPiston_func2",
                             "RectangularPiston_func2_device", "do_calculate_grid"})
        EXPECT_TRUE(identical(fieldOf(launcherNamed(name), n), field)) << name;
    const Field twin = fieldOf(launcherNamed("RectangularPiston_func_d"), n);
    for (const char* name : {"RectangularPiston_func2_d", "do_calculate_grid_d"})
        EXPECT_TRUE(identical(fieldOf(launcherNamed(name), n), twin)) << name;
}

TEST_F(RectangularPiston, FieldIsZeroWithoutARule) {
    ASSERT_EQ(cudaThreadExit(), cudaSuccess);
    for (const Launcher& launcher : launchers())
        EXPECT_THAT(fieldOf(launcher, {3, 1, 1}), testing::Each(std::complex<double>(0, 0)))
            << launcher;
}

}  // namespace
