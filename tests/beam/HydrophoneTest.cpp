// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/Hydrophone.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "beam/SourceField.h"
#include "reference/SurfaceIntegral.h"

namespace {

using namespace pistonfield;
using std::numbers::pi;

constexpr RectangularPiston piston{5, 3};
constexpr double k = 2 * pi;

SourceField fieldOf() {
    Request request;
    request.piston = piston;
    request.wave.wavenumber = k;
    request.tolerance = Tolerance{};
    return SourceField(request);
}

std::complex<double> exactAt(double x, double y, double z) {
    return std::complex<double>(
        reference::surfacePressure({piston.width, piston.height}, {x, y, z}, k));
}

/// The average over a rectangle by midpoints, whose error falls with the square of the step; two
/// steps take that away.
template <class Value>
std::complex<double> byMidpoints(int count, const Value& value) {
    const auto sumOf = [&](int n) {
        std::complex<double> sum;
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) sum += value((i + 0.5) / n, (j + 0.5) / n);
        return sum / static_cast<double>(n * n);
    };
    return (4.0 * sumOf(2 * count) - sumOf(count)) / 3.0;
}

TEST(Hydrophone, averagesOverARectangle) {
    const Hydrophone hydrophone{{1.5, 0.5}, {0, 1, 0}, {1, 0, 0}};
    const HydrophoneReading reading =
        hydrophoneReadings(fieldOf(), hydrophone, {{0.4}, {0.2}, {6}}, {k}).front();
    const auto wanted = byMidpoints(12, [](double a, double b) {
        return exactAt(0.4 + 0.5 * (b - 0.5), 0.2 + 1.5 * (a - 0.5), 6);
    });
    EXPECT_LT(std::abs(reading.pressure - wanted), 1e-5);
    EXPECT_LT(reading.change, 1e-6);
}

TEST(Hydrophone, averagesOverADisc) {
    const Hydrophone hydrophone{{2}, {0, 1, 0}, {0, 0, 1}};  // it looks along x
    const HydrophoneReading reading =
        hydrophoneReadings(fieldOf(), hydrophone, {{0.4}, {0.2}, {6}}, {k}).front();
    // Rings of equal areas.
    const auto wanted = byMidpoints(24, [](double a, double b) {
        const double r = std::sqrt(a);
        return exactAt(0.4, 0.2 + r * std::cos(2 * pi * b), 6 + r * std::sin(2 * pi * b));
    });
    EXPECT_LT(std::abs(reading.pressure - wanted), 1e-5);
    EXPECT_LT(reading.change, 1e-6);
}

TEST(Hydrophone, ofAPointTellsThePressure) {
    const HydrophoneReading reading =
        hydrophoneReadings(fieldOf(), {{1e-5}, {1, 0, 0}, {0, 1, 0}}, {{1}, {0}, {9}}, {k}).front();
    EXPECT_LT(std::abs(reading.pressure - exactAt(1, 0, 9)), 1e-7);
}

/// A plane wave that crosses the face at an angle.
class PlaneWave final : public BeamField {
  public:
    explicit PlaneWave(double wavenumber) : wavenumber(wavenumber) {}
    std::vector<std::complex<double>> pressures(const PointList& points) const override {
        std::vector<std::complex<double>> values;
        for (const double x : points.x) values.push_back(std::polar(1.0, -wavenumber * x));
        return values;
    }
    double uncertainty(const Pose::Vector& /*place*/) const override { return 0; }

  private:
    double wavenumber;
};

TEST(Hydrophone, hasTheDirectivityOfItsFace) {
    // Of a disc of diameter d in a wave along its face: 2*J1(k*d/2)/(k*d/2).
    for (const double diameter : {0.5, 3.0, 20.0}) {
        const double u = k * diameter / 2;
        const HydrophoneReading reading =
            hydrophoneReadings(PlaneWave(k), {{diameter}, {1, 0, 0}, {0, 1, 0}}, {{0}, {0}, {0}},
                               {k})
                .front();
        EXPECT_NEAR(reading.pressure.real(), 2 * std::cyl_bessel_j(1, u) / u, 1e-9) << diameter;
    }
    // Of a side s: sin(k*s/2)/(k*s/2).
    const HydrophoneReading reading =
        hydrophoneReadings(PlaneWave(k), {{3.3, 1}, {1, 0, 0}, {0, 1, 0}}, {{0}, {0}, {0}}, {k})
            .front();
    EXPECT_NEAR(reading.pressure.real(), std::sin(k * 3.3 / 2) / (k * 3.3 / 2), 1e-9);
}

TEST(Hydrophone, isNoLargerThanAHundredWavelengths) {
    EXPECT_THROW(
        hydrophoneReadings(PlaneWave(k), {{101}, {1, 0, 0}, {0, 1, 0}}, {{0}, {0}, {0}}, {k}),
        InvalidRequest);
}

}  // namespace
