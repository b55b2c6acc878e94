// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/curvedPistons.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

#include "arrays/vectors.h"
#include "field/Plan.h"
#include "tests/support/Refused.h"

namespace {

using pistonfield::CapPiston;
using pistonfield::CylindricalPiston;
using pistonfield::FlatTiles;
using pistonfield::PointList;
using pistonfield::tilesOf;
using Complex = std::complex<double>;

constexpr double pi = std::numbers::pi;
constexpr double k = 2 * pi / 1.5;  // a wavelength of 1.5 mm

std::vector<Complex> pressuresOf(const FlatTiles& tiles, const PointList& points) {
    pistonfield::Request request;
    request.array =
        pistonfield::Array{tiles.elements, std::vector<Complex>(tiles.elements.size(), 1.0)};
    request.points = points;
    request.lattice.sizes = {static_cast<std::int64_t>(points.x.size()), 1, 1};
    request.wave.wavenumber = k;
    request.tolerance = pistonfield::Tolerance{1e-7, pistonfield::Tolerance::Of::local};
    std::vector<Complex> values(points.x.size());
    pistonfield::Plan(request).compute(request.lattice.box(), values.data());
    return values;
}

double areaOf(const FlatTiles& tiles) {
    double area = 0;
    for (const auto& element : tiles.elements) area += element.piston.width * element.piston.height;
    return area;
}

/// H. T. O'Neil, J. Acoust. Soc. Am. 21, 516-526, 1949: the integral of exp(-j*k*R)/R over a cap
/// from a point on its axis, whose distance R from the parallels of the cap goes with the root of
/// what the area goes with.
Complex onAxis(const CapPiston& cap, double z) {
    const auto distance = [&](double diameter) {
        const double polar = std::asin(diameter / 2 / cap.radius);
        const double depth = cap.radius * (1 - std::cos(polar));
        return std::hypot(diameter / 2, z - depth);
    };
    const Complex j(0, 1);
    const double far = distance(cap.aperture);
    const double near = distance(cap.hole);
    return (std::exp(-j * k * near) - std::exp(-j * k * far)) / (j * (1 - z / cap.radius));
}

/// What |p| would be if all arrived in phase.
double inPhase(const CapPiston& cap, double z) {
    const auto distance = [&](double diameter) {
        const double polar = std::asin(diameter / 2 / cap.radius);
        return std::hypot(diameter / 2, z - cap.radius * (1 - std::cos(polar)));
    };
    return k * (distance(cap.aperture) - distance(cap.hole)) / (1 - z / cap.radius);
}

TEST(CapTiles, HaveTheClosedFormOnTheAxisWithinTheirError) {
    for (const CapPiston& cap : {CapPiston{20, 20, 0}, CapPiston{60, 70, 20}, CapPiston{15, 28, 0}})
        for (const double fraction : {1.0 / 16, 1.0 / 64}) {
            const FlatTiles tiles = tilesOf(cap, k, fraction);
            EXPECT_LE(tiles.phase, 2 * pi * fraction * 1.0001);
            std::vector<double> z;
            for (int i = 0; i < 40; ++i) z.push_back(cap.radius * (0.6 + 0.0201 * i));
            const auto values =
                pressuresOf(tiles, {std::vector<double>(40, 0), std::vector<double>(40, 0), z});
            double worst = 0;
            for (std::size_t i = 0; i < z.size(); ++i)
                worst = std::max(
                    worst, std::abs(values[i] - onAxis(cap, z[i])) / std::abs(inPhase(cap, z[i])));
            EXPECT_LE(worst, tiles.error());
        }
}

TEST(CapTiles, HaveTheGainOfTheFocus) {
    const CapPiston cap{20, 20, 0};
    const FlatTiles tiles = tilesOf(cap, k, 1.0 / 32);
    const double depth = 20 - std::sqrt(300.0);
    const double gain = std::abs(pressuresOf(tiles, {{0}, {0}, {20}}).front());
    EXPECT_NEAR(gain, k * depth, tiles.error() * k * depth);
    EXPECT_NEAR(areaOf(tiles), 2 * pi * 20 * depth, 1e-9);
}

TEST(CapTiles, LieOnTheSphereOnAverage) {
    const CapPiston cap{30, 40, 10};
    const FlatTiles tiles = tilesOf(cap, k, 1.0 / 32);
    for (const auto& element : tiles.elements) {
        // Of a tile's places, by a grid, the mean distance from the focus.
        double mean = 0;
        double most = 0;
        constexpr int count = 20;
        for (int i = 0; i < count; ++i)
            for (int j = 0; j < count; ++j) {
                const double x = ((i + 0.5) / count - 0.5) * element.piston.width;
                const double y = ((j + 0.5) / count - 0.5) * element.piston.height;
                const auto& [centre, alongWidth, alongHeight] = element.pose;
                const auto at =
                    pistonfield::plus(pistonfield::plus(centre, x, alongWidth), y, alongHeight);
                const double off = pistonfield::lengthOf(pistonfield::minus(at, {0, 0, 30})) - 30;
                mean += off / (count * count);
                most = std::max(most, std::abs(off));
            }
        EXPECT_NEAR(mean, 0, 1e-3);
        EXPECT_LE(k * most, tiles.phase * 1.01);
    }
}

/// The integral over a bent rectangle by the midpoint rule.
Complex sumOverBent(const CylindricalPiston& piston, double x, double y, double z) {
    constexpr int cells = 500;
    Complex sum;
    for (int i = 0; i < cells; ++i) {
        const double angle = ((i + 0.5) / cells - 0.5) * piston.width / piston.radius;
        const double u = piston.radius * std::sin(angle);
        const double w = piston.radius * (1 - std::cos(angle));
        for (int j = 0; j < cells; ++j) {
            const double v = ((j + 0.5) / cells - 0.5) * piston.height;
            const double r = std::hypot(x - u, y - v, z - w);
            sum += std::polar(1 / r, -k * r);
        }
    }
    return k / (2 * pi) * sum * piston.width * piston.height / (1.0 * cells * cells);
}

TEST(CylinderTiles, HaveTheFieldOfTheBentRectangleWithinTheirError) {
    const CylindricalPiston piston{25, 30, 12};
    for (const double fraction : {1.0 / 16, 1.0 / 128}) {
        const FlatTiles tiles = tilesOf(piston, k, fraction);
        EXPECT_LE(tiles.phase, 2 * pi * fraction * 1.0001);
        EXPECT_EQ(tiles.misplaced, 0);
        EXPECT_NEAR(areaOf(tiles), 360, 1e-9);
        const PointList points{{0, 1, -4, 0, 6}, {0, 3, 1, 7, -2}, {25, 25, 20, 31, 45}};
        const auto values = pressuresOf(tiles, points);
        for (std::size_t i = 0; i < values.size(); ++i) {
            const double expected =
                std::abs(values[i] - sumOverBent(piston, points.x[i], points.y[i], points.z[i]));
            const double r = std::hypot(points.x[i], points.y[i], points.z[i] - 25) + 25;
            EXPECT_LE(expected, tiles.error() * k * 360 / (2 * pi * r));
        }
    }
}

TEST(CurvedPistons, ThatAreNoneAreRefused) {
    const auto cap = [](const CapPiston& piston, double wavenumber = k, double fraction = 0.1) {
        return refused([&] { tilesOf(piston, wavenumber, fraction); });
    };
    EXPECT_EQ(cap({0, 1}), "radius: must be a length above 0");
    EXPECT_EQ(cap({1, 0}), "aperture: must be a length above 0");
    EXPECT_EQ(cap({1, 3}), "aperture: must be at most twice the radius");
    EXPECT_EQ(cap({1, 1, -1}), "hole: must be a length, or 0");
    EXPECT_EQ(cap({1, 1, 1}), "hole: must be within the aperture");
    EXPECT_EQ(cap({1, 1}, 0), "wavenumber: must be a wavenumber above 0");
    EXPECT_EQ(cap({1, 1}, 1, 0.2), "fraction: must be above 0 and at most 1/8 of a wavelength");
    EXPECT_EQ(cap({1, 1}, 1e9),
              "fraction: takes more than the 1024 different elements of an array");
    const auto bent = [](const CylindricalPiston& piston, double fraction = 0.1) {
        return refused([&] { tilesOf(piston, k, fraction); });
    };
    EXPECT_EQ(bent({0, 1, 1}), "radius: must be a length above 0");
    EXPECT_EQ(bent({1, 0, 1}), "width: must be a length above 0");
    EXPECT_EQ(bent({1, 1, 0}), "height: must be a length above 0");
    EXPECT_EQ(bent({1, 4, 1}), "width: must be at most half the circle");
    EXPECT_EQ(bent({1, 1, 1}, 1e-14), "fraction: takes more than the 1000000 elements of an array");
}

}  // namespace
