// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The example program beam_profile, as a user runs it.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

#include "reference/NearField.h"
#include "reference/SurfaceIntegral.h"
#include "tests/examples/ProgramOutput.h"

namespace {

struct Row {
    double z;
    double magnitude;
    std::string bar;
};

/// The rows below the heading of the table.
std::vector<Row> profile() {
    std::istringstream output(outputOf(BEAM_PROFILE_PROGRAM));
    std::string line;
    while (line != " z (mm)     |p|" && std::getline(output, line)) {
    }
    std::vector<Row> rows;
    while (std::getline(output, line)) {
        std::istringstream text(line);
        Row row{};
        text >> row.z >> row.magnitude >> row.bar;
        rows.push_back(row);
    }
    return rows;
}

// The program's piston, in mm: 5 along y by 7.5 along x, at a wavelength of 1.5.
constexpr double k = 2 * std::numbers::pi / 1.5;
constexpr double lastDigit = 1e-4;

TEST(BeamProfile, IsThePressureOnTheAxisInStepsOf2500Micrometres) {
    const std::vector<Row> rows = profile();
    ASSERT_EQ(rows.size(), 33U);
    for (std::size_t i = 1; i < rows.size(); ++i) {
        const double z = 2.5 * static_cast<double>(i);
        EXPECT_EQ(rows[i].z, z);
        const auto p = reference::surfacePressure({7.5, 5}, {0, 0, z}, k);
        EXPECT_NEAR(rows[i].magnitude, static_cast<double>(std::abs(p)), lastDigit) << z;
    }
}

// Where the surface integral is singular the sum over the edges is not.
TEST(BeamProfile, StartsAtThePistonsFace) {
    const std::vector<Row> rows = profile();
    ASSERT_FALSE(rows.empty());
    EXPECT_EQ(rows[0].z, 0);
    const reference::Field expected = reference::nearField(reference::offsetsOf(0, 0, 3.75, 2.5), 0,
                                                           k, reference::legendreRule(100));
    EXPECT_NEAR(rows[0].magnitude, static_cast<double>(reference::magnitude(expected.pressure)),
                lastDigit);
}

TEST(BeamProfile, DrawsABarOf20CharactersForAPressureOf1) {
    for (const Row& row : profile())
        EXPECT_NEAR(static_cast<double>(row.bar.size()), std::floor(20 * row.magnitude), 1)
            << row.z;
}

}  // namespace
