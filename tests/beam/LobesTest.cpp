// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/lobes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <vector>

namespace {

using namespace pistonfield;

/// |sin(x)/x| along x.
class Sinc final : public BeamField {
  public:
    std::vector<std::complex<double>> pressures(const PointList& points) const override {
        std::vector<std::complex<double>> values;
        for (const double x : points.x) values.emplace_back(x == 0 ? 1 : std::sin(x) / x);
        return values;
    }
    double uncertainty(const Pose::Vector& /*place*/) const override { return 0; }
};

Curve curveOf(double from, double to) {
    return {[](double way) { return Vector3{way, 0, 0}; }, {from, to}, 0.2};
}

std::vector<CurveLobe> lobesOfSinc(double from, double to, double peak = 1) {
    return lobesOn(Sinc(), {curveOf(from, to)}, peak).front();
}

TEST(Lobes, areThoseOfASinc) {
    const std::vector<CurveLobe> lobes = lobesOfSinc(-7, 12);
    ASSERT_EQ(lobes.size(), 4U);
    EXPECT_NEAR(std::abs(lobes[0].at), 4.4934095, 1e-4);
    EXPECT_NEAR(std::abs(lobes[1].at), 4.4934095, 1e-4);
    EXPECT_NEAR(lobes[2].at, 7.7252518, 1e-4);
    EXPECT_NEAR(lobes[3].at, 10.9041217, 1e-4);
    EXPECT_NEAR(lobes[0].value, 0.21723363, 1e-8);
}

TEST(Lobes, areThoseOfEachCurve) {
    const auto lobes = lobesOn(Sinc(), {curveOf(0, 6), curveOf(0, 3), curveOf(-9, 0)}, 1);
    ASSERT_EQ(lobes.size(), 3U);
    EXPECT_EQ(lobes[0].size(), 1U);
    EXPECT_TRUE(lobes[1].empty());
    ASSERT_EQ(lobes[2].size(), 2U);
    EXPECT_NEAR(lobes[2][1].at, -7.7252518, 1e-4);
}

TEST(Lobes, areTheEightLargest) {
    const std::vector<CurveLobe> lobes = lobesOfSinc(0, 100);
    ASSERT_EQ(lobes.size(), 8U);
    for (std::size_t i = 1; i < lobes.size(); ++i) EXPECT_LT(lobes[i].value, lobes[i - 1].value);
}

TEST(Lobes, areNoneBeforeTheFirstMinimum) {
    EXPECT_TRUE(lobesOfSinc(-3, 3.1).empty());
    EXPECT_TRUE(lobesOfSinc(0, 0).empty());
}

TEST(Lobes, areAboveSixtyDecibels) {
    // Relative to a peak that is 300 times as high.
    const std::vector<CurveLobe> lobes = lobesOfSinc(0, 6, 216);
    EXPECT_EQ(lobes.size(), 1U);
    EXPECT_TRUE(lobesOfSinc(0, 6, 218).empty());
}

}  // namespace
