// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/BeamReport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace pistonfield;
using testing::HasSubstr;

constexpr double none = std::numeric_limits<double>::quiet_NaN();

/// A beam of plain numbers, in m.
Beam plainBeam() {
    Beam beam;
    beam.peak = {{0.001, 0, 0.05}, 2, false, 1e-8};
    beam.directions = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    for (auto& direction : beam.reaches)
        for (BeamReach& reach : direction) reach = {0.001, 0.002};
    beam.reaches[2][2] = {0.01, none};
    beam.lobes[0] = {{{0.01, 0, 0.04}, -13.26, 0.25, true}};
    beam.depth = 0.05;
    beam.gain = 2;
    beam.derated = {{0, 0, 0.04}, 1.5, true, 1e-8};
    beam.deratedDepth = 0.04;
    beam.power = RadiatedPower{1e-4, 0};
    return beam;
}

BeamDrive drive() {
    BeamDrive drive;
    drive.frequency = 4e6;
    drive.speed = 1500;
    drive.density = 1000;
    drive.velocity = 0.5;
    drive.duty = 0.01;
    return drive;
}

const ReportValue& valueOf(const std::vector<ReportValue>& report, const std::string& name) {
    return *std::ranges::find(report, name, &ReportValue::name);
}

double numberOf(const std::vector<ReportValue>& report, const std::string& name) {
    return valueOf(report, name).numbers.front();
}

TEST(BeamReport, isInSiUnits) {
    const auto report = reportOf(plainBeam(), drive());
    // 2 * 1000 kg/m^3 * 1500 m/s * 0.5 m/s = 1.5 MPa
    EXPECT_DOUBLE_EQ(numberOf(report, "peak.pressure"), 1.5e6);
    // 1.5e6^2 / (2 * 1.5e6) = 7.5e5 W/m^2 = 75 W/cm^2
    EXPECT_DOUBLE_EQ(numberOf(report, "intensity.sppa"), 7.5e5);
    EXPECT_DOUBLE_EQ(numberOf(report, "intensity.spta"), 7.5e3);
    EXPECT_DOUBLE_EQ(numberOf(report, "wavelength"), 1500 / 4e6);
    // 1e-4 m^2 * 1.5e6 * 0.25 W
    EXPECT_DOUBLE_EQ(numberOf(report, "power"), 37.5);
    EXPECT_DOUBLE_EQ(valueOf(report, "depth_of_field").numbers[1], 0.003);
    EXPECT_TRUE(std::isnan(valueOf(report, "widths").numbers[8]));
}

TEST(BeamReport, hasTheMechanicalIndexOfTheDeratedPressure) {
    // 1.125 MPa over the square root of 4 MHz
    const auto report = reportOf(plainBeam(), drive());
    EXPECT_DOUBLE_EQ(numberOf(report, "derated.pressure"), 1.125e6);
    EXPECT_DOUBLE_EQ(numberOf(report, "mechanical_index"), 0.5625);
    // 0.3 dB/(cm MHz) at 4 MHz: 1.2 dB/cm
    EXPECT_DOUBLE_EQ(drive().deratingPerMetre(), 120);
}

TEST(BeamReport, isATableForPeople) {
    const std::string table = tableOf(plainBeam(), drive());
    EXPECT_THAT(table, HasSubstr("Peak pressure                           1.500 MPa\n"));
    EXPECT_THAT(table, HasSubstr("(1.0000, 0.0000, 50.0000) mm\n"));
    EXPECT_THAT(table, HasSubstr("beyond the region\n"));
    EXPECT_THAT(table, HasSubstr("along lateral 1, grating lobe"));
    EXPECT_THAT(table, HasSubstr("75.00 W/cm^2        750.0 mW/cm^2\n"));
    EXPECT_THAT(table, HasSubstr("1.125 MPa, on the region's edge"));
    EXPECT_THAT(table, HasSubstr("37.50 W\n"));
}

TEST(BeamReport, isJson) {
    const std::string json = jsonOf(reportOf(plainBeam(), drive()));
    EXPECT_THAT(json, HasSubstr("{\n  \"frequency\": 4e+06,\n"));
    EXPECT_THAT(json,
                HasSubstr("\"peak\": {\n    \"pressure\": 1500000,\n    \"place\": [0.001, "));
    EXPECT_THAT(json, HasSubstr("\"on_edge\": false,\n"));
    EXPECT_THAT(json, HasSubstr("[0.003, 0.003, null]]"));
    EXPECT_THAT(json, HasSubstr("\"grating\": [true]\n  },\n"));
    EXPECT_THAT(json, HasSubstr("\"power\": 37.5\n}\n"));
}

TEST(BeamReport, isLinesOfNumbers) {
    const std::string lines = linesOf(reportOf(plainBeam(), drive()));
    EXPECT_THAT(lines, HasSubstr("peak.place 0 1 3 0.001 0 0.05\n"));
    EXPECT_THAT(lines, HasSubstr("peak.on_edge 1 1 1 0\n"));
    // Column by column.
    EXPECT_THAT(lines,
                HasSubstr("behind 0 3 3 0.002 0.002 0.002 0.002 0.002 0.002 0.002 0.002 NaN\n"));
}

TEST(BeamReport, refusesADriveThatIsNone) {
    const auto refused = [](auto change) -> std::string {
        BeamDrive wrong = drive();
        change(wrong);
        try {
            reportOf(plainBeam(), wrong);
        } catch (const InvalidRequest& refusal) {
            return refusal.field();
        }
        return "";
    };
    EXPECT_EQ(refused([](BeamDrive& d) { d.frequency = 0; }), "frequency");
    EXPECT_EQ(refused([](BeamDrive& d) { d.speed = -1; }), "speed");
    EXPECT_EQ(refused([](BeamDrive& d) { d.density = none; }), "density");
    EXPECT_EQ(refused([](BeamDrive& d) { d.velocity = 0; }), "velocity");
    EXPECT_EQ(refused([](BeamDrive& d) { d.duty = 1.1; }), "duty");
    EXPECT_EQ(refused([](BeamDrive& d) { d.derating = -0.1; }), "derating");
    EXPECT_EQ(refused([](BeamDrive& /*d*/) {}), "");
}

}  // namespace
