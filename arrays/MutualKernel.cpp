// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/MutualKernel.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "arrays/LegendreRule.h"

namespace pistonfield {

namespace {

using Complex = std::complex<double>;

/// (1 - exp(-z))/z, without a difference of nearly equal numbers where z is small.
Complex meanOfExponential(Complex z) {
    constexpr double small = 0.5;
    if (std::abs(z) > small) return (1.0 - std::exp(-z)) / z;
    constexpr int terms = 16;
    Complex sum = 0;
    for (int i = terms; i > 0; --i) sum = 1.0 - sum * z / static_cast<double>(i + 1);
    return sum;
}

double sincOf(double x) { return x == 0 ? 1 : std::sin(x) / x; }

}  // namespace

MutualKernel::MutualKernel(const Wave& wave, Baffle baffle, double farthest)
    : perDistance(wave.wavenumber), smooth(wave.attenuation == 0) {
    const auto count = static_cast<std::size_t>(farthest * perDistance) + 1;
    // By x = k*R the derivative of -k*Im(Ein(s*R)/s) is -Im((1 - exp(-z))/z) with z = x*s/k.
    const Complex ratio(wave.attenuation / wave.wavenumber, 1);
    const auto derivative = [&](double x) { return -meanOfExponential(ratio * x).imag(); };
    const LegendreRule rule(static_cast<int>(terms));
    std::array<double, terms> places{};  // Chebyshev's, which rise
    for (std::size_t i = 0; i < terms; ++i)
        places[i] = -std::cos(std::numbers::pi * (static_cast<double>(i) + 0.5) / terms);
    const auto integral = [&](double from, double to) {
        double sum = 0;
        for (std::size_t i = 0; i < terms; ++i)
            sum += rule.weights[i] * derivative((from + to) / 2 + (to - from) / 2 * rule.nodes[i]);
        return (to - from) / 2 * sum;
    };
    pieces.resize(count);
    double begin = 0;  // what the integral is where the piece begins
    for (std::size_t number = 0; number < count; ++number) {
        const auto left = static_cast<double>(number);
        for (std::size_t i = 0; i < terms; ++i) {
            const double x = left + (1 + places[i]) / 2;
            const double value =
                begin + integral(left, x) + (baffle == Baffle::soft ? sincOf(x) : 0);
            const double angle = std::acos(places[i]);
            for (std::size_t n = 0; n < terms; ++n)
                pieces[number][n] +=
                    (n == 0 ? 1.0 : 2.0) / terms * value * std::cos(static_cast<double>(n) * angle);
        }
        begin += integral(left, left + 1);
    }
}

double MutualKernel::at(double distance) const noexcept {
    const double x = perDistance * distance;
    const std::size_t number = std::min(static_cast<std::size_t>(x), pieces.size() - 1);
    const std::array<double, terms>& piece = pieces[number];
    // By Clenshaw's recurrence.
    const double t = 2 * (x - static_cast<double>(number)) - 1;
    double last = 0;
    double before = 0;
    for (std::size_t n = terms - 1; n > 0; --n) {
        const double next = piece[n] + 2 * t * last - before;
        before = last;
        last = next;
    }
    return piece[0] + t * last - before;
}

}  // namespace pistonfield
