// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/GridField.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <numbers>
#include <stop_token>
#include <vector>

#include "beam/Beam.h"

namespace {

using namespace pistonfield;

constexpr Pose::Vector middle{0.13, -0.21, 5.07};
constexpr Pose::Vector widths{0.7, 1.1, 3.0};  ///< of exp(-(r/width)^2)

double gaussian(const Pose::Vector& place) {
    double exponent = 0;
    for (std::size_t i = 0; i < 3; ++i) exponent += std::pow((place[i] - middle[i]) / widths[i], 2);
    return std::exp(-exponent);
}

/// A lattice from (-3, -4, 0) on, with steps of 0.15, 0.2 and 0.5.
Lattice latticeOf(const std::array<std::int64_t, 3>& sizes) {
    return {{0.15, 0, 0, -3, 0, 0.2, 0, -4, 0, 0, 0.5, 0, 0, 0, 0, 1}, sizes};
}

/// The Gaussian as a wave along z.
GridField gaussianField(const std::array<std::int64_t, 3>& sizes = {41, 41, 21}) {
    const Lattice lattice = latticeOf(sizes);
    std::vector<std::complex<double>> values;
    for (std::int64_t z = 0; z < sizes[2]; ++z)
        for (std::int64_t y = 0; y < sizes[1]; ++y)
            for (std::int64_t x = 0; x < sizes[0]; ++x) {
                const Pose::Vector place{-3 + 0.15 * static_cast<double>(x),
                                         -4 + 0.2 * static_cast<double>(y),
                                         0.5 * static_cast<double>(z)};
                values.push_back(std::polar(gaussian(place), -6 * place[2]));
            }
    return {lattice, values};
}

/// What polynomials through 6 points may miss of the Gaussian's peak. Its square is exp(-2u^2)
/// along each direction, with a sixth derivative of up to 960; a product of 6 distances in steps is
/// at most 225/64, and half of what the square lacks is lacking of its root.
constexpr double missed() {
    double sum = 0;
    for (const double u : {0.15 / widths[0], 0.2 / widths[1], 0.5 / widths[2]})
        sum += u * u * u * u * u * u * 960 / 720 * 225 / 64 / 2;
    return sum;
}

TEST(GridField, hasThePeakOfAGaussianBetweenItsPoints) {
    const Beam beam = beamOf(gaussianField(), {6}, {});
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(beam.peak.place[i], middle[i], 2e-3);
    EXPECT_NEAR(beam.peak.value, 1, missed());
    EXPECT_LT(beam.peak.uncertainty, 1e-2);
    EXPECT_GT(beam.peak.uncertainty, std::abs(beam.peak.value - 1));
    EXPECT_FALSE(beam.peak.isOnEdge);
}

TEST(GridField, hasTheWidthsOfAGaussian) {
    const Beam beam = beamOf(gaussianField(), {6}, {});
    EXPECT_EQ(beam.directions[2], (Pose::Vector{0, 0, 1}));
    for (std::size_t direction = 0; direction < 3; ++direction)
        for (std::size_t level = 0; level < beamLevels.size(); ++level) {
            const double half =
                widths[direction] * std::sqrt(-beamLevels[level] / 20 * std::log(10));
            const BeamReach& reach = beam.reaches[direction][level];
            EXPECT_NEAR(reach.width(), 2 * half, 2e-3 * half) << direction << " " << level;
            EXPECT_NEAR(reach.before, reach.behind, 1e-2 * half);
        }
    EXPECT_TRUE(std::isnan(beam.gain));
    EXPECT_NEAR(beam.depth, middle[2], 2e-3);
    EXPECT_FALSE(beam.power.has_value());
}

TEST(GridField, hasThePowerOfASourceUnlessItLiesTooFarApart) {
    // In two planes, so that their power is found far away.
    const auto powerAt = [](double distance, const Conduct& conduct) {
        const std::vector<Element> elements{{{1, 1}, {}}, {{1, 1}, Pose{{distance, 0, 1}}}};
        Request source;
        source.array = Array{elements, {1, 1}};
        source.wave = {6};
        return beamOf(gaussianField(), source.wave, {}, source, conduct).power;
    };
    const double wavelength = 2 * std::numbers::pi / 6;
    EXPECT_TRUE(powerAt(10 * wavelength, {}).has_value());
    EXPECT_FALSE(powerAt(3000 * wavelength, {}).has_value());
    std::stop_source stopped;
    stopped.request_stop();
    EXPECT_THROW(powerAt(10 * wavelength, {stopped.get_token()}), Stopped);
}

TEST(GridField, saysThatAWidthIsBeyondTheRegion) {
    // From z = 0 to 6 the axis falls by 3 dB on one side alone.
    const Beam beam = beamOf(gaussianField({41, 41, 13}), {6}, {});
    EXPECT_NEAR(beam.reaches[2][0].before, widths[2] * std::sqrt(0.15 * std::log(10)), 1e-2);
    EXPECT_TRUE(std::isnan(beam.reaches[2][0].behind));
    EXPECT_TRUE(std::isnan(beam.reaches[2][0].width()));
    EXPECT_FALSE(std::isnan(beam.reaches[0][0].width()));
}

TEST(GridField, isNotKnownOutside) {
    const GridField field = gaussianField();
    const PointList points{{-3, -3.01, 0}, {-4, 0, 0}, {0, 5, 11}};
    const std::vector<double> magnitudes = field.magnitudes(points);
    EXPECT_DOUBLE_EQ(magnitudes[0], std::abs(field.values().front()));
    EXPECT_TRUE(std::isnan(magnitudes[1]));
    EXPECT_TRUE(std::isnan(magnitudes[2]));
    EXPECT_TRUE(std::isnan(field.pressures(points)[1].real()));
}

TEST(GridField, isExactForPolynomialsOfTheFifthDegree) {
    const Lattice lattice = latticeOf({9, 1, 8});
    std::vector<std::complex<double>> values;
    const auto exact = [](double x, double z) {
        return std::complex<double>(std::pow(x + 2, 5) - z * z, std::pow(z, 4) * x - 3);
    };
    for (int z = 0; z < 8; ++z)
        for (int x = 0; x < 9; ++x) values.push_back(exact(-3 + 0.15 * x, 0.5 * z));
    const GridField field(lattice, values);
    const auto found = field.pressures({{-2.97, -2.2, -1.81}, {-4, -4, -4}, {0.1, 1.9, 3.45}});
    EXPECT_LT(std::abs(found[0] - exact(-2.97, 0.1)), 1e-11);
    EXPECT_LT(std::abs(found[1] - exact(-2.2, 1.9)), 1e-11);
    EXPECT_LT(std::abs(found[2] - exact(-1.81, 3.45)), 1e-11);
}

TEST(GridField, refusesOtherNumbersOfValuesAndFieldsOfZeros) {
    const auto fieldOf = [](const auto& act) -> std::string {
        try {
            act();
        } catch (const InvalidRequest& refusal) {
            return refusal.field();
        }
        return "";
    };
    EXPECT_EQ(fieldOf([] { GridField(latticeOf({2, 2, 2}), {1, 2}); }), "values");
    EXPECT_EQ(fieldOf([] { GridField(latticeOf({2, 0, 2}), {}); }), "sizes");
    EXPECT_EQ(fieldOf([] { GridField({{}, {2, 1, 1}}, {1, 2}); }), "transform");
    EXPECT_EQ(fieldOf([] { beamOf(GridField(latticeOf({2, 1, 1}), {0, 0}), {1}, {}); }), "values");
}

TEST(GridField, passesOverValuesThatAreNoNumbers) {
    GridField field = gaussianField();
    std::vector<std::complex<double>> values = field.values();
    values.front() = std::numeric_limits<double>::quiet_NaN();
    const Beam beam = beamOf(GridField(field.lattice(), values), {6}, {});
    EXPECT_NEAR(beam.peak.value, 1, missed());
}

}  // namespace
