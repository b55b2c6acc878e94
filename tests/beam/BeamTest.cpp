// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/Beam.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>
#include <vector>

#include "arrays/planarArrays.h"
#include "arrays/steering.h"
#include "reference/SurfaceIntegral.h"

namespace {

using namespace pistonfield;
using std::numbers::pi;

/// A lattice along the axes.
Lattice latticeOf(const std::array<double, 3>& from, const std::array<double, 3>& to,
                  const std::array<std::int64_t, 3>& sizes) {
    Lattice lattice;
    lattice.sizes = sizes;
    lattice.transform[15] = 1;
    for (std::size_t i = 0; i < 3; ++i) {
        const auto steps = static_cast<double>(std::max<std::int64_t>(sizes[i] - 1, 1));
        lattice.transform[5 * i] = sizes[i] > 1 ? (to[i] - from[i]) / steps : 1;
        lattice.transform[4 * i + 3] = from[i];
    }
    return lattice;
}

Request requestOf(const RectangularPiston& piston, double k, const Lattice& lattice) {
    Request request;
    request.piston = piston;
    request.wave.wavenumber = k;
    request.lattice = lattice;
    request.tolerance = Tolerance{};
    return request;
}

Request requestOf(const Array& array, double k, const Lattice& lattice) {
    Request request = requestOf(RectangularPiston{}, k, lattice);
    request.array = array;
    return request;
}

Beam measured(const Request& request, const BeamOptions& options = {}) {
    return beamOf(request, sampled(request, {}), options);
}

/// |p| of a piston by a quadrature over its surface.
double magnitude(const RectangularPiston& piston, double k, const Pose::Vector& place) {
    return static_cast<double>(std::abs(reference::surfacePressure(
        {piston.width, piston.height}, {place[0], place[1], place[2]}, k)));
}

/// Where a falling function has a value, by halving.
template <class Function>
double whereIs(double value, double from, double to, const Function& function) {
    for (int i = 0; i < 60; ++i) {
        const double middle = (from + to) / 2;
        (function(middle) > value ? from : to) = middle;
    }
    return (from + to) / 2;
}

constexpr RectangularPiston piston{6, 4};
constexpr double k = 2 * pi;  // wavelengths are the unit

/// What a piston before which nothing is steered has in a region about its last maximum.
const Beam& beamOfPiston() {
    static const Beam beam =
        measured(requestOf(piston, k, latticeOf({-6, -5, 7}, {6, 5, 60}, {25, 21, 54})));
    return beam;
}

TEST(Beam, hasItsPeakWhereTheSurfaceIntegralIsLargest) {
    const Beam& beam = beamOfPiston();
    const Pose::Vector& at = beam.peak.place;
    EXPECT_NEAR(at[0], 0, 1e-3);
    EXPECT_NEAR(at[1], 0, 1e-3);
    EXPECT_FALSE(beam.peak.isOnEdge);
    // Nowhere on the axis is it larger, nor beside the peak.
    double largest = 0;
    for (int i = 0; i < 1060; ++i)
        largest = std::max(largest, magnitude(piston, k, {0, 0, 7 + 0.05 * i}));
    EXPECT_NEAR(beam.peak.value, magnitude(piston, k, at), 1e-7);
    EXPECT_GE(beam.peak.value, largest * (1 - 1e-7));
    EXPECT_LE(beam.peak.value, largest * (1 + 1e-4));  // of so many places on the axis
    EXPECT_DOUBLE_EQ(beam.gain, beam.peak.value);
    EXPECT_NEAR(beam.depth, at[2], 1e-9);
}

TEST(Beam, hasWidthsAtWhichTheSurfaceIntegralFallsToTheLevels) {
    const Beam& beam = beamOfPiston();
    for (std::size_t direction = 0; direction < 3; ++direction)
        for (std::size_t level = 0; level < beamLevels.size(); ++level) {
            const BeamReach& reach = beam.reaches[direction][level];
            for (const double way : {-reach.before, reach.behind}) {
                if (std::isnan(way)) continue;
                Pose::Vector place = beam.peak.place;
                for (std::size_t i = 0; i < 3; ++i) place[i] += way * beam.directions[direction][i];
                EXPECT_NEAR(20 * std::log10(magnitude(piston, k, place) / beam.peak.value),
                            beamLevels[level], 1e-4);
            }
        }
    // Towards the face a piston's field does not fall by 20 dB in this region, nor far away.
    EXPECT_TRUE(std::isnan(beam.reaches[2][2].behind));
    EXPECT_TRUE(std::isnan(beam.reaches[2][2].width()));
    EXPECT_FALSE(std::isnan(beam.reaches[0][2].width()));
    EXPECT_FALSE(std::isnan(beam.reaches[2][0].behind));
}

TEST(Beam, ofAFarRectangleHasTheWidthAndTheSideLobesOfASinc) {
    // On an arc of 2e5 wavelengths, the piston's pattern is sin(u)/u, u = pi*8*sin(angle).
    const RectangularPiston wide{8, 0.1};
    const double radius = 2e5;
    const double half = 0.5 * radius;
    const Beam beam =
        measured(requestOf(wide, k, latticeOf({-half, 0, radius}, {half, 0, radius}, {401, 1, 1})));
    EXPECT_NEAR(beam.peak.place[0], 0, 1e-4 * radius);
    const double level = std::pow(10, -6.0 / 20);
    const auto pattern = [](double u) { return std::abs(std::sin(u) / u); };
    const double u = whereIs(level, 0.1, 3, pattern);
    const double tangent = std::tan(std::asin(u / (8 * pi)));
    // On the line the distance grows, which takes cos(angle) of the pressure.
    const double cosine = 1 / std::hypot(1.0, tangent);
    EXPECT_NEAR(std::atan(beam.reaches[0][1].behind / radius), std::asin(u / (8 * pi)),
                2 * (1 - cosine));
    ASSERT_GE(beam.lobes[0].size(), 4U);
    const BeamLobe& lobe = beam.lobes[0].front();
    EXPECT_NEAR(lobe.level, -13.2615, 1e-3);
    EXPECT_NEAR(std::abs(std::sin(lobe.angle)), 4.493409 / (8 * pi), 1e-5);
    EXPECT_FALSE(lobe.grating);
    EXPECT_NEAR(beam.lobes[0][2].level, -17.8300, 1e-3);
}

TEST(Beam, hasGratingLobesWhereThePitchSaysSo) {
    const Array array{elementsOf(LineArray{16, 0.2, 0.2, 1.5, {}}),
                      std::vector<std::complex<double>>(16, 1)};
    const Beam beam =
        measured(requestOf(array, k, latticeOf({-50, 0, 3000}, {50, 0, 3100}, {101, 1, 101})));
    std::vector<double> angles;
    for (const BeamLobe& lobe : beam.lobes[0])
        if (lobe.grating) angles.push_back(lobe.angle);
    ASSERT_EQ(angles.size(), 2U);
    for (const double angle : angles) EXPECT_NEAR(std::abs(angle), std::asin(1 / 1.5), 1e-3);
    // Along y there is one row, and no grating lobe.
    for (const BeamLobe& lobe : beam.lobes[1]) EXPECT_FALSE(lobe.grating);
}

TEST(Beam, ofASteeredArrayGoesTowardsItsFocus) {
    const std::vector<Element> elements = elementsOf(LineArray{32, 0.4, 6, 0.5, {}});
    const Pose::Vector focus{10, 0, 20};
    const Array array{elements, focusWeights(elements, {k}, focus)};
    const Request request = requestOf(array, k, latticeOf({0, 0, 5}, {20, 0, 35}, {81, 1, 121}));
    BeamOptions options;
    options.power = false;
    const Beam beam = measured(request, options);
    const double length = std::hypot(beam.peak.place[0], beam.peak.place[2]);
    EXPECT_NEAR(beam.directions[2][0], beam.peak.place[0] / length, 1e-9);
    EXPECT_NEAR(beam.directions[2][2], beam.peak.place[2] / length, 1e-9);
    EXPECT_NEAR(beam.directions[0][0], beam.peak.place[2] / length, 1e-9);
    // The beam is at most as far from the axis as it is wide.
    EXPECT_LT(std::abs(std::atan2(beam.peak.place[0], beam.peak.place[2]) - std::atan2(10, 20)),
              0.02);
    EXPECT_FALSE(beam.power.has_value());
    // The plane of the grid has nothing beside it.
    EXPECT_TRUE(std::isnan(beam.reaches[1][0].width()));

    options.axis = Pose::Vector{0, 0, 2};
    EXPECT_EQ(measured(request, options).directions[2], (Pose::Vector{0, 0, 1}));
}

TEST(Beam, hasTheGainOverTheMeanWeight) {
    const std::vector<Element> elements = elementsOf(LineArray{4, 0.4, 2, 0.5, {}});
    const Array array{elements, {2, 1, 1, {0, 4}}};
    const Beam beam = measured(requestOf(array, k, latticeOf({-4, 0, 3}, {4, 0, 9}, {33, 1, 25})));
    EXPECT_NEAR(beam.gain, beam.peak.value / 2, 1e-12);
}

TEST(Beam, isDeratedWhereItIsLargestThen) {
    // A derating moves the peak towards the face; the axis says where to.
    const double rate = 1;  // dB per wavelength
    BeamOptions options;
    options.derating = rate;
    const Beam beam =
        measured(requestOf(piston, k, latticeOf({0, 0, 4}, {0, 0, 40}, {1, 1, 73})), options);
    double largest = 0;
    double at = 0;
    for (int i = 0; i < 1600; ++i) {
        const double z = 4 + 0.01 * i;
        const double value = magnitude(piston, k, {0, 0, z}) * std::pow(10, -rate * z / 20);
        if (value > largest) at = z;
        largest = std::max(largest, value);
    }
    EXPECT_NEAR(beam.derated.value, largest, 1e-6);
    EXPECT_NEAR(beam.derated.place[2], at, 0.01);
    EXPECT_NEAR(beam.deratedDepth, beam.derated.place[2], 1e-9);
    EXPECT_LT(beam.derated.value, beam.peak.value);
}

TEST(Beam, saysThatThePeakIsOnTheRegionsEdge) {
    const Beam beam =
        measured(requestOf(piston, k, latticeOf({-3, 0, 30}, {3, 0, 40}, {25, 1, 41})));
    EXPECT_TRUE(beam.peak.isOnEdge);
    EXPECT_DOUBLE_EQ(beam.peak.place[2], 30);
    EXPECT_TRUE(std::isnan(beam.reaches[2][0].before));
}

TEST(Beam, radiatesWhatThePowerOfItsArraySays) {
    const Beam& beam = beamOfPiston();
    ASSERT_TRUE(beam.power.has_value());
    // A face of some wavelengths radiates nearly what plane waves from it would: half its area.
    EXPECT_NEAR(beam.power->value, 12, 0.4);
    const RadiatedPower power = radiatedPower({{piston, Pose{}}}, {1}, {k}, PowerBy::faces);
    EXPECT_DOUBLE_EQ(beam.power->value, power.value);
}

TEST(Beam, isStopped) {
    const Request request = requestOf(piston, k, latticeOf({-3, 0, 3}, {3, 0, 9}, {25, 1, 25}));
    const Samples samples = sampled(request, {});
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(beamOf(request, samples, {}, {stop.get_token(), {}, 0}), Stopped);
}

TEST(Beam, tellsHowManyPointsAreDone) {
    const Request request = requestOf(piston, k, latticeOf({-3, 0, 3}, {3, 0, 9}, {25, 1, 25}));
    const Samples samples = sampled(request, {});
    std::int64_t last = 0;
    bool rises = true;
    beamOf(request, samples, {}, {{}, [&](std::int64_t points) {
                                      rises = rises && points >= last;
                                      last = points;
                                  }});
    EXPECT_TRUE(rises);
    EXPECT_GT(last, 100);
}

TEST(Beam, refusesWhatItCannotMeasure) {
    Request request = requestOf(piston, k, latticeOf({-3, 0, 3}, {3, 0, 9}, {25, 1, 25}));
    const Samples samples = sampled(request, {});
    const auto fieldOf = [&](const Request& asked, const BeamOptions& options) -> std::string {
        try {
            beamOf(asked, samples, options);
        } catch (const InvalidRequest& refusal) {
            return refusal.field();
        }
        return "";
    };
    BeamOptions options;
    options.axis = Pose::Vector{};
    EXPECT_EQ(fieldOf(request, options), "axis");
    options = {};
    options.derating = -1;
    EXPECT_EQ(fieldOf(request, options), "derating");
    options = {};
    options.hydrophone = {1, 2, 3};
    EXPECT_EQ(fieldOf(request, options), "hydrophone");
    options.hydrophone = {-1};
    EXPECT_EQ(fieldOf(request, options), "hydrophone");
    request.tolerance.reset();
    EXPECT_EQ(fieldOf(request, {}), "tolerance");
    const Array twice{elementsOf(LineArray{1, 1, 1, {}, {}}), {1, 2}};
    EXPECT_EQ(fieldOf(requestOf(twice, k, request.lattice), {}), "weights");
}

}  // namespace
