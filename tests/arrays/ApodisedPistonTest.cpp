// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/ApodisedPiston.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <numbers>

#include "FastNearfield/GaussLegendre.h"
#include "field/Plan.h"
#include "tests/support/Refused.h"

namespace {

using pistonfield::ApodisedPiston;
using pistonfield::PointList;
using pistonfield::Polynomial;
using pistonfield::tiled;
using pistonfield::TiledPiston;
using pistonfield::tilingError;
using pistonfield::Window;
using Complex = std::complex<double>;
using Kind = Window::Kind;

constexpr double pi = std::numbers::pi;
constexpr double k = 2 * pi;  // lengths in wavelengths

double velocityOf(const ApodisedPiston& piston, double x, double y) {
    const auto at = [](const pistonfield::VelocityProfile& profile, double place) {
        return std::visit([place](const auto& one) { return one.at(place); }, profile);
    };
    return at(piston.alongX, 2 * x / piston.width) * at(piston.alongY, 2 * y / piston.height);
}

/// The Rayleigh integral with the true velocity: Gauss rules of 12 nodes in cells whose sides are
/// at most a fifth of a wavelength and of the distance.
Complex surfacePressure(const ApodisedPiston& piston, double x, double y, double z) {
    constexpr int order = 12;
    static const auto rule = [] {
        std::array<std::array<double, order>, 2> made{};
        legendre_compute(order, made[0].data(), made[1].data());
        return made;
    }();
    const double most = std::min(0.5, z);
    const int columns = static_cast<int>(std::ceil(piston.width / most));
    const int rows = static_cast<int>(std::ceil(piston.height / most));
    Complex sum;
    for (int i = 0; i < columns * order; ++i)
        for (int j = 0; j < rows * order; ++j) {
            const auto place = [](int n, int cells, double side) {
                const double middle = 2.0 * (n / order) + 1 - cells;
                return (middle + rule[0][static_cast<std::size_t>(n % order)]) / 2 * side / cells;
            };
            const double u = place(i, columns, piston.width);
            const double v = place(j, rows, piston.height);
            const double r = std::sqrt((x - u) * (x - u) + (y - v) * (y - v) + z * z);
            sum += rule[1][static_cast<std::size_t>(i % order)] *
                   rule[1][static_cast<std::size_t>(j % order)] * velocityOf(piston, u, v) *
                   std::polar(1 / r, -k * r);
        }
    return k / (2 * pi) * sum * piston.width * piston.height / (4.0 * columns * rows);
}

std::vector<Complex> pressuresOf(const pistonfield::Array& array, const PointList& points) {
    pistonfield::Request request;
    request.array = array;
    request.points = points;
    request.lattice.sizes = {static_cast<std::int64_t>(points.x.size()), 1, 1};
    request.wave.wavenumber = k;
    request.tolerance = pistonfield::Tolerance{1e-8, pistonfield::Tolerance::Of::local};
    std::vector<Complex> values(points.x.size());
    pistonfield::Plan(request).compute(request.lattice.box(), values.data());
    return values;
}

/// Points at a distance from the face and farther away.
PointList pointsFrom(double distance) {
    PointList points;
    for (int i = 0; i < 24; ++i) {
        points.x.push_back(4.5 * std::sin(1.7 * i));
        points.y.push_back(3 * std::sin(2.9 * i));
        points.z.push_back(distance * std::pow(1.3, i % 8) * (i < 16 ? 1 : 20));
    }
    return points;
}

struct Case {
    ApodisedPiston piston;
    double largest;  ///< |velocity|
};

const std::vector<Case> cases{
    {{6, 4, Window{Kind::hann}, Window{Kind::hann}}, 1},
    {{8, 3, Window{Kind::kaiser, 6}, Window{}}, 1},
    {{3, 5, Window{Kind::gaussian, 0.4}, Polynomial{{1, 0, -1}}}, 1},
    {{5, 5, Polynomial{{0, 1}}, Window{Kind::tukey, 0.5}}, 1},
    {{4, 4, Polynomial{{0.5, -1, 0.25, 1}}, Polynomial{{2}}}, 2.0 * (0.5 + 0.75)},
};

TEST(ApodisedPiston, IsItsTilesWithinTheirError) {
    for (const Case& one : cases)
        for (const double tolerance : {3e-2, 3e-3})
            for (const double distance : {0.3, 2.0}) {
                const TiledPiston tiles = tiled(one.piston, tolerance, k, distance);
                EXPECT_LE(tiles.error, tolerance);
                const PointList points = pointsFrom(distance);
                const auto values = pressuresOf(tiles.array, points);
                double worst = 0;
                const double area = one.piston.width * one.piston.height;
                for (std::size_t i = 0; i < values.size(); ++i) {
                    const Complex expected =
                        surfacePressure(one.piston, points.x[i], points.y[i], points.z[i]);
                    const double r =
                        std::sqrt(points.x[i] * points.x[i] + points.y[i] * points.y[i] +
                                  points.z[i] * points.z[i]);
                    const double scale =
                        std::min(1.0, k * area / (2 * pi * std::max(r, std::sqrt(area) / 4)));
                    worst = std::max(worst, std::abs(values[i] - expected) / scale / one.largest);
                }
                EXPECT_LE(worst, tiles.error);
                EXPECT_LE(tiles.error, 20 * worst);
            }
}

TEST(ApodisedPiston, KeepsItsVolumeVelocityAndItsMoment) {
    const TiledPiston tiles =
        tiled({4, 2, Polynomial{{1, 0.5, 0.25}}, Window{Kind::hann}}, 9, 5, k, 1);
    EXPECT_EQ(tiles.columns, 9);
    EXPECT_EQ(tiles.rows, 5);
    ASSERT_EQ(tiles.array.elements.size(), 45);
    double volume = 0;
    for (std::size_t i = 0; i < 45; ++i) {
        const auto& [piston, pose, outline] = tiles.array.elements[i];
        EXPECT_DOUBLE_EQ(piston.width, 4.0 / 9);
        EXPECT_DOUBLE_EQ(piston.height, 0.4);
        volume += tiles.array.weights[i].real() * piston.width * piston.height;
    }
    EXPECT_NEAR(volume, 4 * (1 + 0.25 / 3) * (2 * 0.5), 1e-12);
    EXPECT_NEAR(tiles.array.elements.front().pose.centre[0], -2 + 2.0 / 9, 1e-15);
    EXPECT_NEAR(tiles.array.elements.front().pose.centre[1], -0.8, 1e-15);
    EXPECT_NEAR(tiles.array.elements[1].pose.centre[0], -2 + 6.0 / 9, 1e-15);
}

TEST(ApodisedPiston, TakesOneTileWhereItsVelocityIsTheSame) {
    const TiledPiston tiles = tiled({3, 2, Polynomial{{0.5}}, Window{}}, 1e-6, k, 0.1);
    ASSERT_EQ(tiles.array.elements.size(), 1);
    EXPECT_NEAR(tiles.array.weights.front().real(), 0.5, 1e-14);
    EXPECT_EQ(tiles.error, 0);
}

TEST(ApodisedPiston, HasNoEstimateForTilesOfHalfAWavelength) {
    const ApodisedPiston piston{4, 2, Window{Kind::hann}, Window{}};
    EXPECT_EQ(tilingError(piston, 8, 1, k, 1), std::numeric_limits<double>::infinity());
    EXPECT_LT(tilingError(piston, 9, 1, k, 1), 0.1);
}

TEST(ApodisedPiston, ThatIsNoneIsRefused) {
    const ApodisedPiston piston{4, 2, Window{Kind::hann}, Window{}};
    const auto changed = [&](auto change) {
        ApodisedPiston other = piston;
        change(other);
        return refused([&] { tiled(other, 1e-2, k, 1); });
    };
    EXPECT_EQ(changed([](ApodisedPiston& p) { p.width = 0; }), "width: must be a length above 0");
    EXPECT_EQ(changed([](ApodisedPiston& p) { p.height = -1; }),
              "height: must be a length above 0");
    EXPECT_EQ(changed([](ApodisedPiston& p) { p.alongX = Polynomial{}; }),
              "profile: must be finite, and not 0 everywhere");
    EXPECT_EQ(changed([](ApodisedPiston& p) {
                  p.alongY = Window{Kind::tukey, 2};
              }),
              "window: the tapered part of tukey must be within 0 to 1");
    EXPECT_EQ(refused([&] { tiled(piston, 0, k, 1); }), "tolerance: must be above 0 and below 1");
    EXPECT_EQ(refused([&] { tiled(piston, 1e-2, 0, 1); }),
              "wavenumber: must be a wavenumber above 0");
    EXPECT_EQ(refused([&] { tiled(piston, 1e-2, k, 0); }), "distance: must be a length above 0");
    EXPECT_EQ(refused([&] { tiled(piston, 0, 1, k, 1); }), "columns: 0 is not within 1 to 1000000");
    EXPECT_EQ(refused([&] { tiled(piston, 1, 0, k, 1); }), "rows: 0 is not within 1 to 1000000");
    EXPECT_EQ(refused([&] { tiled(piston, 2000, 2000, k, 1); }),
              "columns: 2000 by 2000 tiles are more than the 1000000 elements of an array");
    EXPECT_EQ(refused([&] {
                  tiled({4, 2, Window{Kind::hann}, Window{Kind::hann}}, 1e-9, k, 1);
              }).substr(0, 10),
              "tolerance:");
}

}  // namespace
