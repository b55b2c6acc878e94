// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <sstream>
#include <vector>

#include "FastNearfield/IntegratorCuda.h"
#include "FastNearfield/RectangularPiston2.h"
#include "FastNearfield/RectangularPistonCuda.h"
#include "core/cudahelper.h"
#include "tests/FastNearfield/gpu/LaunchTest.h"
#include "tests/FastNearfield/gpu/Transcript.h"
#include "tests/support/Captured.h"

// How a piston hands its work to the CPU or to the launchers.

namespace {

using namespace cuda_runtime;
using emulated::emulator;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

constexpr std::size_t points = 12;
constexpr std::size_t reals = 2 * points;

class Routing : public RuleOnDevice {
  protected:
    const std::array<double, 16> transform{0.25,   0.0625,   0.125, -1.53125,  //
                                           -0.125, 0.375,    0.25,  0.28125,   //
                                           0.0625, -0.03125, 0.5,   1.75,      //
                                           0,      0,        0,     1};
    const Grid3DR<double> grid{transform.data(), 3, 4, 1};
    RectangularPistonCuda2 piston{2, 4, 3};

    std::array<float, 16> floatTransform() const {
        std::array<float, 16> m{};
        std::transform(transform.begin(), transform.end(), m.begin(),
                       [](double value) { return static_cast<float>(value); });
        return m;
    }

    /// The launcher's interleaved field in single precision.
    std::vector<float> launched() const {
        std::vector<float> field(reals);
        static_cast<void>(captured([&] {
            RectangularPiston_func(reinterpret_cast<Complex*>(field.data()), 3, 4, 1,
                                   floatTransform().data(), 2, 4, 3);
        }));
        return field;
    }

    template <class T>
    std::vector<T> onCpu() const {
        std::vector<T> field(reals);
        static_cast<void>(captured([&] { piston.computeCPU<T, double>(field.data(), grid); }));
        return field;
    }

    static Transcript printedLines(Transcript transcript) {
        transcript.erase(std::remove_if(transcript.begin(), transcript.end(),
                                        [](const std::string& event) {
                                            return event.compare(0, 4, "out:") != 0;
                                        }),
                         transcript.end());
        return transcript;
    }

    template <class Real>
    static std::vector<Real> valuesOf(CudaStorage& storage) {
        const auto* values = static_cast<const Real*>(storage.getHostPointer());
        return {values, values + storage.getSize()};
    }
};

constexpr const char* fiveValues = "0.25 0.0625 0.125 -1.53125 -0.125";

TEST_F(Routing, OfANewPistonIsToTheGpu) { EXPECT_TRUE(piston.useCuda); }

// Deliberate: the launchers use whatever rule the context holds, and a new one holds none.
TEST_F(Routing, OnTheGpuHasZerosWhereTheContextHasNoRule) {
    ASSERT_EQ(cudaThreadExit(), cudaSuccess);
    std::vector<float> field(reals, 1);
    const Printed printed = captured([&] { piston.compute(field.data(), grid); });
    EXPECT_THAT(field, testing::Each(0));
    EXPECT_THAT(printed.out, testing::HasSubstr("\ncuda\n CUDADATA: "));
    EXPECT_EQ(printed.err, "");
}

// As the headers say.
TEST_F(Routing, OnTheGpuGivesTheFieldWithADeviceAndARuleUploadedToIt) {
    ASSERT_EQ(cudaThreadExit(), cudaSuccess);
    std::vector<float> field(reals);
    static_cast<void>(captured([&] {
        const CudaDeviceThread device;
        setCudaIntegratorParameters("RectangularPiston", 100);
        piston.compute(field.data(), grid);
    }));
    const std::vector<float> expected = onCpu<float>();
    for (std::size_t i = 0; i < field.size(); ++i) EXPECT_NEAR(field[i], expected[i], 1e-5) << i;
}

TEST_F(Routing, FloatsOnTheGpuShowTheFirstTwoValues) {
    std::vector<float> field(reals);
    const Transducer& transducer = piston;
    const Transcript transcript = transcriptOf([&] { transducer.compute(field.data(), grid); });
    std::ostringstream firstValues;
    firstValues << "out:  CUDADATA: " << field[0] << " " << field[1] << " " << field[2] << " "
                << field[3];
    EXPECT_THAT(printedLines(transcript),
                ElementsAre(std::string("out:  transform: ") + fiveValues,
                            std::string("out:  _device transform: ") + fiveValues, "out: cuda",
                            firstValues.str()));
    EXPECT_EQ(field, launched());
}

TEST_F(Routing, FloatsOnTheGpuShowNoMoreThanTheFieldHas) {
    std::vector<float> field(2);
    const Grid3DR<double> onePoint(transform.data(), 1, 1, 1);
    const Transcript transcript = transcriptOf([&] { piston.compute(field.data(), onePoint); });
    std::ostringstream values;
    values << "out:  CUDADATA: " << field[0] << " " << field[1];
    EXPECT_EQ(printedLines(transcript).back(), values.str());
}

TEST_F(Routing, FloatsOnTheCpuNeedNoDevice) {
    piston.useCuda = false;
    std::vector<float> field(reals);
    const Transducer& transducer = piston;
    EXPECT_THAT(transcriptOf([&] { transducer.compute(field.data(), grid); }),
                ElementsAre("out: grid: 3 4 1", "out: cpu"));
    EXPECT_EQ(field, onCpu<float>());
}

TEST_F(Routing, DoublesOnTheGpu) {
    std::vector<double> field(reals);
    const Transcript transcript = transcriptOf([&] { piston.compute(field.data(), grid); });
    EXPECT_EQ(transcript.front(), "out: computeCudaDouble 1");
    EXPECT_THAT(printedLines(transcript), testing::SizeIs(1));
    std::vector<double> expected(reals);
    RectangularPiston_func_d(reinterpret_cast<Complexd*>(expected.data()), 3, 4, 1,
                             transform.data(), 2, 4, 3);
    EXPECT_EQ(field, expected);
}

TEST_F(Routing, DoublesOnTheCpuNeedNoDevice) {
    piston.useCuda = false;
    std::vector<double> field(reals);
    EXPECT_THAT(transcriptOf([&] { piston.compute(field.data(), grid); }),
                ElementsAre("out: grid: 3 4 1"));
    EXPECT_EQ(field, onCpu<double>());
}

TEST_F(Routing, FloatStorageOnTheGpuIsFilledOnTheDevice) {
    CudaStorage storage(CudaStorage::DT_FLOAT, reals);
    const Transducer& transducer = piston;
    const Transcript transcript = transcriptOf([&] { transducer.compute(&storage, grid); });
    EXPECT_EQ(transcript.front(), "out: CudaStorage function in RectangularPistonCuda2");
    EXPECT_THAT(printedLines(transcript),
                ElementsAre(testing::_, std::string("out:  _device transform: ") + fiveValues));
    EXPECT_THAT(transcript, Not(Contains(testing::HasSubstr("cudaMemcpyDeviceToHost"))));
    EXPECT_EQ(valuesOf<float>(storage), launched());
}

TEST_F(Routing, FloatStorageOnTheCpuIsFilledOnTheHost) {
    piston.useCuda = false;
    CudaStorage storage(CudaStorage::DT_FLOAT, reals);
    EXPECT_THAT(transcriptOf([&] { piston.compute(&storage, grid); }),
                ElementsAre("out: grid: 3 4 1"));
    EXPECT_EQ(valuesOf<float>(storage), onCpu<float>());
}

TEST_F(Routing, DoubleStorageOnTheCpuIsFilledOnTheHost) {
    piston.useCuda = false;
    CudaStorage storage(CudaStorage::DT_DOUBLE, reals);
    EXPECT_THAT(transcriptOf([&] { piston.compute(&storage, grid); }),
                ElementsAre("out: grid: 3 4 1"));
    EXPECT_EQ(valuesOf<double>(storage), onCpu<double>());
}

TEST_F(Routing, StorageOfTheWrongSizeIsReportedBeforeAnythingElse) {
    for (const bool useCuda : {false, true}) {
        piston.useCuda = useCuda;
        for (const auto type : {CudaStorage::DT_FLOAT, CudaStorage::DT_DOUBLE})
            for (const std::size_t size : {reals - 1, reals + 2, points, std::size_t{0}}) {
                CudaStorage storage(type, size);
                EXPECT_THAT(transcriptOf([&] { piston.compute(&storage, grid); }),
                            ElementsAre("report: data->getSize() == grid.nbPositions()*2 "
                                        "(FastNearfield/RectangularPiston2)"));
            }
    }
}

TEST_F(Routing, StorageOfTheWrongSizeIsReportedFromItsLine) {
    const RecordedFailures recorded(AfterFailure::throws);
    CudaStorage storage(CudaStorage::DT_FLOAT, 1);
    EXPECT_THROW(piston.compute(&storage, grid), Failure);
    ASSERT_EQ(recorded.failures.size(), 1U);
    EXPECT_EQ(recorded.failures[0], (Failure{"data->getSize() == grid.nbPositions()*2", 56,
                                             "FastNearfield/RectangularPiston2"}));
}

TEST_F(Routing, LargerStorageIsFilledFromItsStartWhereTheHandlerReturns) {
    piston.useCuda = false;
    CudaStorage storage(CudaStorage::DT_FLOAT, reals + 1);
    const Transcript transcript =
        transcriptOf([&] { piston.compute(&storage, grid); }, AfterFailure::returns);
    EXPECT_THAT(transcript, ElementsAre(StartsWith("report: data->getSize()"), "out: grid: 3 4 1"));
    std::vector<float> expected = onCpu<float>();
    expected.push_back(0);
    EXPECT_EQ(valuesOf<float>(storage), expected);
}

TEST_F(Routing, DoubleStorageOnTheGpuEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    CudaStorage storage(CudaStorage::DT_DOUBLE, reals);
    EXPECT_EXIT(piston.compute(&storage, grid), testing::KilledBySignal(SIGABRT),
                "FastNearfield/RectangularPiston2:64: compute: Assertion `false' failed");
}

class ComputeCuda : public Routing {
  protected:
    /// The launcher's two halves.
    void SetUp() override {
        static_cast<void>(captured([&] {
            RectangularPiston_func2(re.data(), im.data(), 3, 4, 1, floatTransform().data(), 2, 4,
                                    3);
        }));
    }

    std::vector<float> re = std::vector<float>(points);
    std::vector<float> im = std::vector<float>(points);
};

TEST_F(ComputeCuda, WidensAFieldOfSinglePrecision) {
    constexpr double untouched = -7.25;
    std::vector<double> wideRe(points + 1, untouched);
    std::vector<double> wideIm(points + 1, untouched);
    const Transcript transcript =
        transcriptOf([&] { piston.computeCuda<double>(wideRe.data(), wideIm.data(), grid); });
    EXPECT_THAT(printedLines(transcript), ElementsAre("out: computeCuda", "out: type cast to float",
                                                      "out: allocating 48 bytes"));
    std::vector<double> expectedRe(re.begin(), re.end());
    std::vector<double> expectedIm(im.begin(), im.end());
    expectedRe.push_back(untouched);
    expectedIm.push_back(untouched);
    EXPECT_EQ(wideRe, expectedRe);
    EXPECT_EQ(wideIm, expectedIm);
}

TEST_F(ComputeCuda, FillsFloatsDirectly) {
    std::vector<float> ownRe(points);
    std::vector<float> ownIm(points);
    const Transcript transcript =
        transcriptOf([&] { piston.computeCuda<float>(ownRe.data(), ownIm.data(), grid); });
    EXPECT_THAT(printedLines(transcript), ElementsAre("out: computeCuda", "out: type already float",
                                                      "out: allocating 48 bytes"));
    EXPECT_EQ(ownRe, re);
    EXPECT_EQ(ownIm, im);
}

TEST_F(ComputeCuda, RoundsTheParametersAndTheTransform) {
    const double l = 2.1;
    const double s = 3.7;
    const double k = 2.9;
    std::array<double, 16> fine = transform;
    for (double& value : fine) value *= 1.1;
    fine[15] = 1;
    std::array<float, 16> m{};
    std::transform(fine.begin(), fine.end(), m.begin(),
                   [](double value) { return static_cast<float>(value); });
    std::vector<float> field(reals);
    std::vector<float> expected(reals);
    static_cast<void>(captured([&] {
        RectangularPistonCuda2(l, s, k).compute(field.data(),
                                                Grid3DR<double>(fine.data(), 3, 4, 1));
        RectangularPiston_func(reinterpret_cast<Complex*>(expected.data()), 3, 4, 1, m.data(),
                               static_cast<float>(l), static_cast<float>(s), static_cast<float>(k));
    }));
    EXPECT_EQ(field, expected);
}

TEST_F(ComputeCuda, LeavesTheCallersHalvesAloneWhenTheHandlerThrows) {
    std::vector<double> wideRe(points, 5);
    std::vector<double> wideIm(points, 6);
    const Transcript transcript = transcriptOf(
        [&] { piston.computeCuda<double>(wideRe.data(), wideIm.data(), grid); },
        AfterFailure::throws, PlannedFailure{1, cudaErrorUnknown, emulated::Operation::Launch});
    EXPECT_THAT(transcript.back(), StartsWith("report: unknown error"));
    EXPECT_THAT(wideRe, testing::Each(5));
    EXPECT_THAT(wideIm, testing::Each(6));
}

}  // namespace
