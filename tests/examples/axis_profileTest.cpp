// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The example program axis_profile, as a user runs it.

#include <gtest/gtest.h>

#include <numbers>
#include <sstream>
#include <string>

#include "reference/SurfaceIntegral.h"
#include "tests/examples/ProgramOutput.h"

namespace {

// The program's piston, in mm; what an amplitude of 0.1 m/s makes of p in water, in kPa.
constexpr double k = 2 * std::numbers::pi / 1.5;
constexpr double scale = 1000 * 1500 * 0.1 * 1e-3;
constexpr double lastDigit = 1e-3;

TEST(AxisProfile, IsThePressureOnTheAxisInStepsOf5Millimetres) {
    std::istringstream output(outputOf(AXIS_PROFILE_PROGRAM));
    std::string heading;
    ASSERT_TRUE(std::getline(output, heading));
    double z = 0;
    double magnitude = 0;
    double rows = 0;
    while (output >> z >> magnitude) {
        ++rows;
        EXPECT_EQ(z, 5 * rows);
        const auto p = reference::surfacePressure({7.5, 5}, {0, 0, z}, k);
        EXPECT_NEAR(magnitude, scale * static_cast<double>(std::abs(p)), lastDigit) << z;
    }
    EXPECT_EQ(rows, 16);
}

}  // namespace
