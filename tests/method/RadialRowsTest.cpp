// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/RadialRows.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <vector>

#include "method/RowRules.h"

namespace {

using namespace pistonfield;
using Complex = std::complex<double>;

/// Points on a line, 3.7 from the centre where they are nearest.
struct Line {
    int points;
    double from;
    double step;

    double at(int point) const { return std::hypot(3.7, from + point * step); }

    RadialRow row() const {
        const double middle = from + (points - 1) / 2.0 * step;
        return {points, std::hypot(3.7, middle), 2 * middle * step, step * step};
    }
};

TEST(RadialRows, haveTheWavesOfTheirDistances) {
    for (const Line& line : {Line{1, 2, 0}, Line{7, -1, 0.3}, Line{64, -20, 1.1}})
        for (const LossyWavenumber& k : {LossyWavenumber{5, 0}, LossyWavenumber{5, 0.3}}) {
            RowValues waves;
            const RadialRow row = line.row();
            radialRows().findWaves(row, k, waves);
            for (int i = 0; i < line.points; ++i) {
                const Complex wanted =
                    std::exp(-Complex(k.attenuation, k.real) * (line.at(i) - row.reference));
                EXPECT_LE(std::abs(Complex(waves.re[i], waves.im[i]) - wanted),
                          1e-13 * std::abs(wanted));
            }
        }
}

TEST(RadialRows, interpolateAndAddUp) {
    constexpr int points = 21;
    constexpr int nodes = 5;
    const RowRules<double> rules(points);
    const RowRule<double> rule = rules.rule(nodes);
    // A polynomial of a degree that the nodes know.
    const auto polynomial = [](double s) { return Complex(1 + s * (2 - s * s), s * s * s * s); };
    std::vector<double> weights(nodes * mostInRow);
    double re[nodes];
    double im[nodes];
    for (int i = 0; i < nodes; ++i) {
        re[i] = polynomial(rule.nodes[i]).real();
        im[i] = polynomial(rule.nodes[i]).imag();
        for (int point = 0; point < points; ++point)
            weights[static_cast<std::size_t>(i * mostInRow + point)] =
                rule.weights[point * nodes + i];
    }
    RowValues waves{};
    for (int i = 0; i < points; ++i) {
        waves.re[i] = std::cos(0.3 * i);
        waves.im[i] = std::sin(0.3 * i);
    }
    RowValues values{};
    radialRows().interpolate({nodes, weights.data(), re, im}, points, waves, values);
    RowValues sums{};
    for (int i = 0; i < points; ++i) sums.re[i] = i;
    const Complex weight(0.6, -1.7);
    radialRows().add(values, points, weight.real(), weight.imag(), sums.re, sums.im);
    for (int i = 0; i < points; ++i) {
        const Complex wanted =
            static_cast<double>(i) + weight * std::polar(1.0, 0.3 * i) * polynomial(-1 + 0.1 * i);
        EXPECT_LE(std::abs(Complex(sums.re[i], sums.im[i]) - wanted), 1e-13) << i;
    }
}

}  // namespace
