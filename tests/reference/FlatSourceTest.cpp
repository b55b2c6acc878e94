// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "reference/FlatSource.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <utility>

#include "reference/SurfaceIntegral.h"

namespace {

using Complex = std::complex<double>;
using reference::FlatIntegrals;
using reference::Point;

constexpr double turn = 2 * std::numbers::pi;

void expectNear(Complex a, Complex b, double most) { EXPECT_LE(std::abs(a - b), most); }

TEST(ReferenceFlatSource, OfARectangleIsItsSurfaceIntegral) {
    const auto source =
        reference::polygonSource({{-0.7, -0.4}, {0.7, -0.4}, {0.7, 0.4}, {-0.7, 0.4}});
    constexpr double k = 9;
    for (const Point& point :
         {Point{0.1, 0.2, 0.3}, Point{0.5, -0.3, 0.002}, Point{0.2, 0.1, 0}, Point{0.7, 0.4, 0},
          Point{0.7, 0.1, 0}, Point{2, 3, 0}, Point{-0.7, 1, 5}, Point{40, 3, 1}}) {
        const auto exact = reference::surfacePressure({1.4, 0.8}, point, k);
        const Complex got = k / turn * reference::flatIntegrals(source, point, k).value;
        expectNear(got, {static_cast<double>(exact.real()), static_cast<double>(exact.imag())},
                   3e-14);
    }
}

TEST(ReferenceFlatSource, OfADiscHasItsClosedFormOnTheAxis) {
    const auto source = reference::ringSource(0, 1.3);
    constexpr Complex j(0, 1);
    for (const Complex k : {Complex(7), Complex(7, -0.9), Complex(7, -7)})
        for (const double z : {0.0, 0.01, 0.8, 6.0}) {
            const double R = std::hypot(1.3, z);
            const FlatIntegrals got = reference::flatIntegrals(source, {0, 0, z}, k);
            expectNear(got.value, turn * j / k * (std::exp(-j * k * R) - std::exp(-j * k * z)),
                       1e-13);
            if (z > 0)
                expectNear(got.z, turn * (z / R * std::exp(-j * k * R) - std::exp(-j * k * z)),
                           1e-12);
        }
}

TEST(ReferenceFlatSource, HasTheDerivativesOfItsValues) {
    const auto source = reference::sectorSource(0.3, 1.1, 0.4, 1.9);
    const Complex k(5, -0.3);
    constexpr double step = 1e-4;
    const auto at = [&](double x, double y, double z) {
        return reference::flatIntegrals(source, {x, y, z}, k);
    };
    const auto expectSlope = [&](Complex above, Complex below, Complex slope) {
        expectNear((above - below) / (2 * step), slope, 1e-5);
    };
    for (const Point& p : {Point{0.2, 0.6, 0.4}, Point{-1, 0.5, 0.7}, Point{3, 2, 0.2}}) {
        const FlatIntegrals got = at(p.x, p.y, p.z);
        const auto [right, left] = std::pair{at(p.x + step, p.y, p.z), at(p.x - step, p.y, p.z)};
        const auto [up, down] = std::pair{at(p.x, p.y + step, p.z), at(p.x, p.y - step, p.z)};
        const auto [ahead, behind] = std::pair{at(p.x, p.y, p.z + step), at(p.x, p.y, p.z - step)};
        expectSlope(right.value, left.value, got.x);
        expectSlope(up.value, down.value, got.y);
        expectSlope(ahead.value, behind.value, got.z);
        expectSlope(right.z, left.z, got.xz);
        expectSlope(up.z, down.z, got.yz);
        expectSlope(ahead.z, behind.z, got.zz);
    }
}

}  // namespace
