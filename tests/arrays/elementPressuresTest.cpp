// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/elementPressures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "arrays/BowlArray.h"
#include "arrays/planarArrays.h"
#include "tests/reference/SurfaceIntegral.h"
#include "tests/support/Refused.h"

namespace {

using pistonfield::Element;
using pistonfield::elementPressures;
using pistonfield::PointList;
using pistonfield::Wave;

const Wave wave{2 * std::numbers::pi};

/// What an error within 1 of the tolerance may be: about that of the far field on the axis.
double localAmplitude(const Element& element, double distance) {
    const double area = element.piston.width * element.piston.height;
    return std::min(1.0, area / std::max(distance, std::sqrt(area) / 4));
}

TEST(ElementPressures, AreTheSurfaceIntegrals) {
    const pistonfield::Bowl bowl{.radius = 20, .aperture = 25};
    const auto elements = elementsOf(
        pistonfield::BowlRings{.bowl = bowl, .width = 2, .height = 1.5, .counts = {4, 8}});
    PointList points;
    for (int i = 0; i < 37; ++i) {
        points.x.push_back(0.3 * i - 5);
        points.y.push_back(4 * std::sin(i));
        points.z.push_back(14 + 0.2 * i);
    }
    for (const double tolerance : {1e-3, 1e-9}) {
        const auto values = elementPressures(elements, wave, points, tolerance);
        ASSERT_EQ(values.size(), 37 * 12);
        for (std::size_t p = 0; p < 37; ++p)
            for (std::size_t e = 0; e < 12; ++e) {
                const auto [x, y, z] =
                    elements[e].pose.placeOf({points.x[p], points.y[p], points.z[p]});
                const auto expected =
                    reference::surfacePressure({2, 1.5}, {x, y, z}, wave.wavenumber);
                const double limit =
                    tolerance * localAmplitude(elements[e], std::sqrt(x * x + y * y + z * z));
                EXPECT_LT(std::abs(values[p * 12 + e] - std::complex<double>(expected)), limit);
            }
    }
}

TEST(ElementPressures, BehindAnElementAreRefusedUnlessAskedFor) {
    const auto elements =
        elementsOf(pistonfield::LineArray{.elements = 2, .width = 1, .height = 1, .kerf = 0});
    const PointList points{{0.1}, {0.2}, {-3}};
    EXPECT_NE(refused([&] { elementPressures(elements, wave, points, 1e-6); }).find("element 1"),
              std::string::npos);
    EXPECT_EQ(elementPressures(elements, wave, points, 1e-6, true),
              elementPressures(elements, wave, {{0.1}, {0.2}, {3}}, 1e-6));
}

TEST(ElementPressures, OfWhatHasNoneAreRefused) {
    const std::vector<Element> one{{{1, 1}, {}}};
    EXPECT_EQ(refused([&] { elementPressures(one, wave, {}, 1e-6); }),
              "sizes: each must be 1 or more");
    EXPECT_EQ(refused([&] {
                  elementPressures(one, wave, {{0}, {0}, {1}}, 0);
              }),
              "tolerance: must be above 0 and below 1");
    EXPECT_EQ(refused([&] {
                  elementPressures(one, {0}, {{0}, {0}, {1}}, 1e-6);
              }),
              "wavenumber: must be a wavenumber above 0");
    EXPECT_EQ(refused([&] {
                  elementPressures({}, wave, {{0}, {0}, {1}}, 1e-6);
              }),
              "elements: 0 are not within 1 to 1000000");
}

}  // namespace
