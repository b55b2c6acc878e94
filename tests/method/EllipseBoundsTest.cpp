// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/EllipseBounds.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstddef>
#include <limits>
#include <numbers>

#include "tests/support/RandomPoints.h"

namespace {

using pistonfield::EllipseBounds;

constexpr unsigned seed = 20261123;
constexpr float border = 16;

/// The sum of the semi-axes of an ellipse with foci +-1.
double rhoOf(std::size_t ellipse) {
    return std::exp(1 / (2.0 * EllipseBounds::instance().perDigit()[ellipse]));
}

struct Extremes {
    double imaginary = 0;  ///< the largest |Im R|
    double distance = std::numeric_limits<double>::infinity();
};

/// Of R = sqrt(h^2 + t^2) at many t of an ellipse about m.
Extremes extremesOn(double rho, double m, double h) {
    using Complex = std::complex<double>;
    constexpr int steps = 180;
    Extremes extremes;
    for (int i = 0; i < steps; ++i) {
        const double angle = 2 * std::numbers::pi * i / steps;
        const Complex onCircle = std::polar(rho, angle);
        const Complex t = m + (onCircle + 1.0 / onCircle) / 2.0;
        const Complex R = std::sqrt(h * h + t * t);
        extremes.imaginary = std::fmax(extremes.imaginary, std::fabs(R.imag()));
        extremes.distance = std::fmin(extremes.distance, std::abs(R));
    }
    return extremes;
}

/// Whether the ellipse keeps clear of the cuts of R by a factor.
bool isClear(double rho, double m, double h, double factor) {
    const double a = (rho + 1 / rho) / 2;
    const double b = (rho - 1 / rho) / 2;
    return m >= a || b * std::sqrt(1 - m * m / (a * a)) < factor * h;
}

/// Expects a cell's bounds to hold at m and h, which are `factor` times within it; and that they
/// are the same as without a factor.
/// @return ellipses that have bounds there
int expectBounds(int mu, int eta, double m, double h, double factor) {
    const EllipseBounds& bounds = EllipseBounds::instance();
    const EllipseBounds::Cell& cell = bounds.at(mu, eta);
    int count = 0;
    for (std::size_t j = 0; j < EllipseBounds::ellipses; ++j) {
        if (!(cell.imaginary[j] < border * border)) continue;
        ++count;
        const double rho = rhoOf(j);
        EXPECT_TRUE(isClear(rho, m, h, 1)) << "ellipse " << j << " of " << m << ", " << h;
        const Extremes extremes = extremesOn(rho, m, h);
        EXPECT_LE(extremes.imaginary, cell.imaginary[j])
            << "ellipse " << j << " of " << m << ", " << h;
        const double constant = std::log(64.0 / 15 / (1 - 1 / (rho * rho)));
        EXPECT_LE(constant - std::log(extremes.distance) + std::log(factor), cell.offset[j])
            << "ellipse " << j << " of " << m << ", " << h;
    }
    return count;
}

/// The cell of mu of one number below the border.
int cellOf(float mu) { return EllipseBounds::cellsOf(mu, mu, 0).first; }

TEST(EllipseBounds, HoldAllOverTheTable) {
    Random random(seed);
    int bounded = 0;
    constexpr int trials = 1000;
    for (int i = 0; i < trials; ++i) {
        const auto m = static_cast<float>(i % 5 == 0 ? 0 : 16 * random.magnitude(-3, 0));
        const auto h = static_cast<float>(i % 7 == 0 ? 0 : 16 * random.magnitude(-4, 0));
        const auto range = EllipseBounds::cellsOf(m, m, h);
        ASSERT_EQ(range.first, range.last);
        bounded += expectBounds(range.first, range.height, m, h, range.factor);
        if (HasFailure()) return;
    }
    // Not by having none.
    EXPECT_GT(bounded, 4 * trials);
}

TEST(EllipseBounds, HoldBeyondTheBorder) {
    Random random(seed);
    for (int i = 0; i < 300; ++i) {
        const double angle = random.between(0, std::numbers::pi / 2);
        const double distance = 16 * random.magnitude(0, 4);
        const auto m = static_cast<float>(distance * std::cos(angle));
        const auto h = static_cast<float>(distance * std::sin(angle));
        const auto range = EllipseBounds::cellsOf(m, m, h);
        const float farther = std::fmax(m, h);
        EXPECT_GE(range.factor, 1);
        if (farther >= border) {
            EXPECT_NEAR(range.factor, farther / border, 1e-5 * range.factor);
        }
        EXPECT_GT(expectBounds(range.first, range.height, m, h, range.factor), 5);
        if (HasFailure()) return;
    }
}

TEST(EllipseBounds, HoldForEveryPointOfARange) {
    Random random(seed);
    for (int i = 0; i < 700; ++i) {
        const double least = 20 * random.magnitude(-3, 0);
        const auto from = static_cast<float>(i % 3 == 0 ? 0 : least);
        const auto to = static_cast<float>(from + 20 * random.magnitude(-3, 1));
        const auto height = static_cast<float>(20 * random.magnitude(-3, 0.5));
        const auto range = EllipseBounds::cellsOf(from, to, height);
        const double m = random.between(from, to);
        const double h = height * random.magnitude(0, 1);
        const auto within = static_cast<float>(m / range.factor);
        const int mu = within < 15.99F ? cellOf(within) : EllipseBounds::widths - 1;
        EXPECT_GE(mu, range.first);
        EXPECT_LE(mu, range.last);
        expectBounds(mu, range.height, m, h, range.factor);
        if (HasFailure()) return;
    }
}

TEST(EllipseBounds, AreThereWhereverAnEllipseIsWellClearOfTheCuts) {
    Random random(seed);
    for (int i = 0; i < 3000; ++i) {
        const auto m = static_cast<float>(16 * random.magnitude(-2, 0));
        const auto h = static_cast<float>(16 * random.magnitude(-2, 0));
        const auto range = EllipseBounds::cellsOf(m, m, h);
        const auto& cell = EllipseBounds::instance().at(range.first, range.height);
        for (std::size_t j = 0; j < EllipseBounds::ellipses; ++j) {
            if (h < 1.0F / 16 || m < 1.0F / 8 || !isClear(rhoOf(j), 0.8 * m, 0.6 * h, 1)) continue;
            EXPECT_TRUE(std::isfinite(cell.imaginary[j]) && std::isfinite(cell.offset[j]))
                << "ellipse " << j << " of " << m << ", " << h;
        }
    }
}

TEST(EllipseBounds, HaveCellsWithoutGaps) {
    // Eight an octave from 1/8 on, and four an octave from 1/16 on.
    int cell = 0;
    EXPECT_EQ(cellOf(0), 0);
    EXPECT_EQ(cellOf(std::numeric_limits<float>::denorm_min()), 0);
    for (float octave = 0.125F; octave < border; octave *= 2) {
        for (int i = 0; i < 8; ++i) {
            const float begin = octave * (1 + static_cast<float>(i) / 8);
            EXPECT_EQ(cellOf(std::nextafter(begin, 0.0F)), cell) << begin;
            EXPECT_EQ(cellOf(begin), ++cell) << begin;
        }
    }
    EXPECT_EQ(cell, EllipseBounds::widths - 2);
    cell = 0;
    const auto heightOf = [](float h) { return EllipseBounds::cellsOf(0, 0, h).height; };
    EXPECT_EQ(heightOf(0), 0);
    for (float octave = 0.0625F; octave < border; octave *= 2) {
        for (int i = 0; i < 4; ++i) {
            const float begin = octave * (1 + static_cast<float>(i) / 4);
            EXPECT_EQ(heightOf(std::nextafter(begin, 0.0F)), cell) << begin;
            EXPECT_EQ(heightOf(begin), ++cell) << begin;
        }
    }
    EXPECT_EQ(cell, EllipseBounds::heights - 2);
}

TEST(EllipseBounds, HaveLastCellsForAllThatIsBeyondTheBorder) {
    const auto wide = EllipseBounds::cellsOf(0, 1e30F, 0.5F);
    EXPECT_EQ(wide.first, 0);
    EXPECT_EQ(wide.last, EllipseBounds::widths - 1);
    EXPECT_EQ(wide.factor, 1);
    const auto high = EllipseBounds::cellsOf(0, 1, 160);
    EXPECT_EQ(high.height, EllipseBounds::heights - 2);
    EXPECT_NEAR(high.factor, 10, 1e-4);
    EXPECT_EQ(high.last, 0);
}

}  // namespace
