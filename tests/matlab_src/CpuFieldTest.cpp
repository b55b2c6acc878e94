// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The fields that the CPU modes give, against the surface integral that defines them.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "tests/matlab_src/FieldTest.h"

using substitute::EventKind;
using substitute::theHost;

namespace {

class CpuFieldTest : public FieldTest {};

constexpr double doubleAccuracy = 1e-11;  // order 40 and the reference are both exact to this

TEST_F(CpuFieldTest, isThePressureOfThePistonInDoublePrecision) {
    for (const char* mode : {"cpu", "cpudp"})
        EXPECT_LT(largestDifference(fieldOf(grid().mode(mode)), reference()), doubleAccuracy)
            << mode;
}

TEST_F(CpuFieldTest, isThePressureOfThePistonInSinglePrecision) {
    EXPECT_LT(largestDifference(fieldOf(grid().mode("cpusp")), reference()), singleAccuracy);
}

TEST_F(CpuFieldTest, isTheSameInTheModesCpuAndCpudp) {
    EXPECT_EQ(fieldOf(grid().mode("cpu")), fieldOf(grid().mode("cpudp")));
}

TEST_F(CpuFieldTest, holdsSinglePrecisionValuesAsDoublesInTheModeCpusp) {
    const Field field = fieldOf(grid().mode("cpusp"));
    const auto isSingle = [](double value) {
        return static_cast<double>(static_cast<float>(value)) == value;
    };
    for (const std::complex<double> value : field) {
        EXPECT_TRUE(isSingle(value.real()));
        EXPECT_TRUE(isSingle(value.imag()));
    }
    EXPECT_NE(field, fieldOf(grid().mode("cpu")));
}

TEST_F(CpuFieldTest, ofEveryModeIsAnnouncedOnItsChannels) {
    for (const char* mode : {"cpu", "cpudp", "cpusp"}) {
        fieldOf(grid().mode(mode));
        EXPECT_EQ(theHost().textsOf(EventKind::standardOutput), std::vector<std::string>{"5\n"});
        EXPECT_EQ(theHost().textsOf(EventKind::print).back(),
                  std::string(mode) == "cpusp" ? "double precision forced to single precision\n"
                                               : "double precision\n");
    }
}

TEST_F(CpuFieldTest, isPlacedByTheStorageOrderOfTheTransform) {
    // Values 3, 7, 11 of the storage translate; in the caller's matrix they are its fourth row.
    // The second axis of the lattice runs along x, its first along z, its third along -y.
    const host::Array* transform = substitute::doubles({0, 0.5, 0, 0.25,     //
                                                        0, 0, -0.75, 1.0,    //
                                                        0.375, 0, 0, 0.625,  //
                                                        0, 0, 0, 1},
                                                       {4, 4});
    const Field field = fieldOf(grid().transform(transform).sizes({2, 2, 2}));
    Field expected;
    for (int iz = 0; iz < 2; ++iz)
        for (int iy = 0; iy < 2; ++iy)
            for (int ix = 0; ix < 2; ++ix)
                expected.push_back(
                    surfaceIntegral(sides, k, 0.25 + iy * 0.5, 1 - iz * 0.75, 0.625 + ix * 0.375));
    EXPECT_LT(largestDifference(field, expected), doubleAccuracy);
}

TEST_F(CpuFieldTest, isPlacedByTheLastElementAndNoOtherOfTheTransformsLastStorageRow) {
    const auto placed = [&](const std::vector<double>& last) {
        std::vector<double> values{0.5, 0, 0, 0.25, 0, 0.5, 0, 1.5, 0, 0, 0.5, 2};
        values.insert(values.end(), last.begin(), last.end());
        return fieldOf(grid().transform(substitute::doubles(values, {4, 4})).sizes({1, 2, 1}));
    };
    const Field expected{surfaceIntegral(sides, k, 0.125, 0.75, 1),
                         surfaceIntegral(sides, k, 0.125, 1, 1)};
    EXPECT_LT(largestDifference(placed({0, 0, 0, 2}), expected), doubleAccuracy);
    EXPECT_EQ(placed({3, -4, 5, 2}), placed({0, 0, 0, 2}));
}

TEST_F(CpuFieldTest, isThePressureAboveAllFourEdgeLines) {
    for (const char* mode : {"cpu", "cpusp"}) {
        const double accuracy = std::string(mode) == "cpu" ? doubleAccuracy : singleAccuracy;
        const Field alongY =
            fieldOf(grid().mode(mode).lattice({-1, 0.25, 1}, {2, 1, 1}).sizes({2, 1, 1}));
        const Field alongX =
            fieldOf(grid().mode(mode).lattice({0.25, -1.5, 1}, {1, 3, 1}).sizes({1, 2, 1}));
        EXPECT_LT(largestDifference(alongY, {surfaceIntegral(sides, k, -1, 0.25, 1),
                                             surfaceIntegral(sides, k, 1, 0.25, 1)}),
                  accuracy);
        EXPECT_LT(largestDifference(alongX, {surfaceIntegral(sides, k, 0.25, -1.5, 1),
                                             surfaceIntegral(sides, k, 0.25, 1.5, 1)}),
                  accuracy);
    }
}

TEST_F(CpuFieldTest, isThatOfAPistonOfLAlongYAndSAlongX) {
    const auto at = [&](double x, double y) {
        return fieldOf(grid().piston(4, 1, k).lattice({x, y, 1}, steps).sizes({1, 1, 1})).at(0);
    };
    EXPECT_LT(std::abs(at(1.5, 0) - surfaceIntegral({4, 1}, k, 1.5, 0, 1)), doubleAccuracy);
    EXPECT_LT(std::abs(at(0, 1.5) - surfaceIntegral({4, 1}, k, 0, 1.5, 1)), doubleAccuracy);
}

TEST_F(CpuFieldTest, isBitIdenticalInEveryCall) {
    for (const char* mode : {"cpu", "cpusp"})
        EXPECT_EQ(fieldOf(grid().mode(mode)), fieldOf(grid().mode(mode))) << mode;
}

TEST_F(CpuFieldTest, ofEachPointDependsOnNoOtherPoint) {
    for (const char* mode : {"cpu", "cpusp"}) {
        const Field whole = fieldOf(grid().mode(mode));
        for (int iy = 0; iy < 4; ++iy) {
            const double y = origin[1] + iy * steps[1];
            const Field row = fieldOf(
                grid().mode(mode).lattice({origin[0], y, origin[2]}, steps).sizes({3, 1, 1}));
            const auto start = whole.begin() + std::ptrdiff_t{3} * iy;
            EXPECT_LT(largestDifference(row, Field(start, start + 3)),
                      std::string(mode) == "cpu" ? 1e-14 : 1e-6);
        }
    }
}

TEST_F(CpuFieldTest, isComputedForNumbersThatAreNone) {
    for (const double value : {std::nan(""), std::numeric_limits<double>::infinity()})
        for (const char* mode : {"cpu", "cpusp"}) {
            const Outcome outcome = call(grid().mode(mode).piston(3, 2, value));
            EXPECT_EQ(outcome.ending, Ending::answered);
            EXPECT_TRUE(std::isnan(outcome.values().at(0).real()));
        }
}

}  // namespace
