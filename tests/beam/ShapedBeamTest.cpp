// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
// Beams of other shapes than rectangles, with losses and before other baffles.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <functional>
#include <memory>
#include <numbers>
#include <utility>
#include <vector>

#include "arrays/RadiatedPower.h"
#include "arrays/pistonShapes.h"
#include "arrays/planarArrays.h"
#include "arrays/steering.h"
#include "beam/Beam.h"
#include "beam/SourceField.h"

namespace {

using namespace pistonfield;
using std::numbers::pi;

constexpr double k = 2 * pi;  // wavelengths are the unit

/// A lattice in the plane y = 0, or with one column along the axis.
Lattice latticeOf(double x, std::int64_t columns, double from, double to, std::int64_t rows) {
    const double step = columns > 1 ? 2 * x / static_cast<double>(columns - 1) : 1;
    const double along = rows > 1 ? (to - from) / static_cast<double>(rows - 1) : 1;
    Lattice lattice;
    lattice.transform = {step, 0, 0, columns > 1 ? -x : 0, 0, 1, 0, 0, 0, 0, along, from, 0,
                         0,    0, 1};
    lattice.sizes = {columns, 1, rows};
    return lattice;
}

Request requestOf(std::vector<Element> elements, const Lattice& lattice, double attenuation = 0,
                  Baffle baffle = Baffle::rigid) {
    Request request;
    const std::vector<std::complex<double>> equal(elements.size(), 1);
    request.array = Array{std::move(elements), equal};
    request.wave = {k, attenuation};
    request.lattice = lattice;
    request.baffle = baffle;
    request.tolerance = Tolerance{};
    return request;
}

Element discOf(double radius) {
    return {{}, {}, std::make_shared<const Outline>(discOutline(radius))};
}

Beam measured(const Request& request, const BeamOptions& options = {}) {
    return beamOf(request, sampled(request, {}), options);
}

/// Where a function is largest, by thirds.
double largestAt(double from, double to, const std::function<double(double)>& function) {
    for (int i = 0; i < 100; ++i) {
        const double a = from + (to - from) / 3;
        const double b = to - (to - from) / 3;
        (function(a) < function(b) ? from : to) = function(a) < function(b) ? a : b;
    }
    return (from + to) / 2;
}

constexpr double radius = 4;

/// |p| on a disc's axis in a medium with losses: its edge is everywhere at the same distance.
double onAxis(double z, double attenuation, Baffle baffle) {
    const std::complex<double> s(attenuation, k);
    const double rim = std::hypot(z, radius);
    const std::complex<double> rigid = k / s * (std::exp(-s * z) - std::exp(-s * rim));
    const std::complex<double> soft =
        std::complex<double>(0, -1) * (std::exp(-s * z) - z / rim * std::exp(-s * rim));
    if (baffle == Baffle::free) return std::abs(rigid + soft) / 2;
    return std::abs(baffle == Baffle::rigid ? rigid : soft);
}

TEST(ShapedBeam, ofADiscHasThePeakOfItsAxisInEveryMedium) {
    const Lattice axis = latticeOf(0, 1, 6, 40, 69);
    for (const Baffle baffle : {Baffle::rigid, Baffle::soft, Baffle::free})
        for (const double attenuation : {0.0, 0.02}) {
            const auto value = [&](double z) { return onAxis(z, attenuation, baffle); };
            const double z = largestAt(10, 25, value);
            const Beam beam = measured(requestOf({discOf(radius)}, axis, attenuation, baffle));
            EXPECT_NEAR(beam.peak.value, value(z), 1e-7);
            EXPECT_NEAR(beam.peak.place[2], z, 1e-3);
            EXPECT_NEAR(beam.depth, beam.peak.place[2], 1e-12);
            EXPECT_DOUBLE_EQ(beam.gain, beam.peak.value);
            const double fallen = beam.peak.place[2] + beam.reaches[2][0].behind;
            EXPECT_NEAR(20 * std::log10(value(fallen) / value(z)), -3, 1e-4);
            EXPECT_EQ(beam.power.has_value(), attenuation == 0 || baffle == Baffle::rigid);
        }
}

TEST(ShapedBeam, ofADiscRadiatesThePowerOfItsResistance) {
    const Beam beam = measured(requestOf({discOf(radius)}, latticeOf(0, 1, 6, 40, 69)));
    const double expected =
        pi * radius * radius / 2 * (1 - std::cyl_bessel_j(1.0, 2 * k * radius) / (k * radius));
    ASSERT_TRUE(beam.power.has_value());
    EXPECT_NEAR(beam.power->value, expected, 1e-8 * expected);
}

TEST(ShapedBeam, ofManyPlacesHasNoPowerWithLosses) {
    // Each side has at least 8 nodes, and 8192 are the most.
    std::vector<PlaneVector> corners;
    for (int i = 0; i < 1200; ++i)
        corners.push_back(
            {radius * std::cos(2 * pi * i / 1200), radius * std::sin(2 * pi * i / 1200)});
    const Element element{{}, {}, std::make_shared<const Outline>(polygonShape(corners, {}))};
    EXPECT_THROW(radiatedPower({element}, {1}, {k, 0.02}, PowerBy::faces), InvalidRequest);
    const Beam beam = measured(requestOf({element}, latticeOf(0, 1, 6, 40, 69), 0.02));
    EXPECT_FALSE(beam.power.has_value());
    EXPECT_GT(beam.peak.value, 1);
}

TEST(ShapedBeam, ofAFarDiscHasTheSideLobesOfItsPattern) {
    // 2 J1(u)/u, u = ka sin(angle), has its first side lobe at u = 5.13562.
    const double far = 3e4;
    const Beam beam = measured(requestOf({discOf(radius)}, latticeOf(0.2 * far, 201, far, far, 1)));
    ASSERT_GE(beam.lobes[0].size(), 2U);
    const BeamLobe& lobe = beam.lobes[0].front();
    const double u = 5.135622;
    EXPECT_NEAR(lobe.level, 20 * std::log10(2 * std::abs(std::cyl_bessel_j(1.0, u)) / u), 1e-3);
    EXPECT_NEAR(std::abs(std::sin(lobe.angle)), u / (k * radius), 1e-5);
}

/// Sectors have their frames in the middle of the disc, and their faces beside it.
TEST(ShapedBeam, ofSectorsThatFillADiscIsThatOfTheDisc) {
    const auto sector =
        std::make_shared<const Outline>(sectorOutline(0, radius, -pi / 3, 2 * pi / 3));
    std::vector<Element> sectors;
    for (const double turn : {0.0, 2 * pi / 3, -2 * pi / 3})
        sectors.push_back(
            {{},
             {{}, {std::cos(turn), std::sin(turn), 0}, {-std::sin(turn), std::cos(turn), 0}},
             sector});
    const Lattice plane = latticeOf(6, 25, 8, 40, 65);
    const Beam whole = measured(requestOf({discOf(radius)}, plane));
    const Beam parts = measured(requestOf(sectors, plane));
    EXPECT_NEAR(parts.peak.value, whole.peak.value, 1e-7);
    EXPECT_NEAR(parts.reaches[0][1].width(), whole.reaches[0][1].width(), 1e-6);
    EXPECT_NEAR(parts.directions[2][2], 1, 1e-12);
    ASSERT_FALSE(whole.lobes[0].empty());
    EXPECT_NEAR(parts.lobes[0][0].level, whole.lobes[0][0].level, 1e-5);
    EXPECT_NEAR(parts.power->value, whole.power->value, 1e-8 * whole.power->value);
    // From one sector the way to the peak begins amid its face.
    const Beam one = measured(requestOf({sectors[0]}, latticeOf(0, 1, 400, 420, 11)));
    const double middle = 2 * radius / 3 * std::sin(pi / 3) / (pi / 3);
    EXPECT_NEAR(one.directions[2][0] / one.directions[2][2], -middle / one.peak.place[2], 1e-9);
}

TEST(ShapedBeam, isDeratedByTheDistanceFromItsFace) {
    BeamOptions options;
    options.derating = 1;
    options.power = false;
    const Request request = requestOf({discOf(radius)}, latticeOf(0, 1, 4, 40, 73));
    const auto value = [](double z) { return onAxis(z, 0, Baffle::rigid) * std::pow(10, -z / 20); };
    const Beam beam = measured(request, options);
    double largest = 0;
    for (int i = 0; i <= 36000; ++i) largest = std::max(largest, value(4 + 1e-3 * i));
    EXPECT_NEAR(beam.derated.value, largest, 1e-6);
    EXPECT_NEAR(beam.derated.value, value(beam.derated.place[2]), 1e-7);
}

/// What one list leaves to the next ones does not change what they are within.
TEST(SourceFieldTest, hasTheValuesOfAPlanWhateverItHasLookedAtBefore) {
    const std::vector<Element> elements = elementsOf(LineArray{24, 0.7, 5, 0.8, {}});
    Request request = requestOf(elements, latticeOf(0, 1, 1, 2, 2));
    request.array->weights = focusWeights(elements, {k}, {3, 0, 30});
    const SourceField field(request);
    for (const double z : {30.0, 31.0, 12.0, 2.0, 300.0}) {
        const PointList points{{3, 0, -5, 1}, {0, 1, 2, 0.5}, {z, z, z + 1, 1.5 * z}};
        Request alone = request;
        alone.points = points;
        alone.lattice.sizes = {4, 1, 1};
        alone.tolerance = Tolerance{1e-10};
        std::array<std::complex<double>, 4> wanted{};
        Plan(alone).compute(alone.lattice.box(), wanted.data());
        const auto found = field.pressures(points);
        double largest = 0;
        for (const auto& value : wanted) largest = std::max(largest, std::abs(value));
        for (std::size_t i = 0; i < wanted.size(); ++i)
            EXPECT_NEAR(std::abs(found[i] - wanted[i]), 0, 1.01e-8 * largest) << z;
    }
}

}  // namespace
