// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/quantised.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "field/Request.h"

namespace pistonfield {

namespace {

using Weights = std::vector<std::complex<double>>;

/// Weights with their phases rounded to multiples of a step, counted from 0 backwards.
Weights withPhaseSteps(const Weights& weights, double step) {
    constexpr double period = 2 * std::numbers::pi;
    Weights rounded;
    for (const std::complex<double>& weight : weights) {
        const double arg = std::arg(weight);
        const double delay = arg > 0 ? period - arg : -arg;
        rounded.push_back(std::polar(std::abs(weight), -step * std::round(delay / step)));
    }
    return rounded;
}

void requireFinite(const Weights& weights) {
    for (const std::complex<double>& weight : weights)
        if (!std::isfinite(weight.real()) || !std::isfinite(weight.imag()))
            throw InvalidRequest("weights", "every number must be finite");
}

}  // namespace

Weights withQuantisedPhases(const Weights& weights, int bits) {
    requireFinite(weights);
    if (bits < 1 || bits > 32)
        throw InvalidRequest("bits", std::to_string(bits) + " is not within 1 to 32");
    return withPhaseSteps(weights, std::ldexp(2 * std::numbers::pi, -bits));
}

Weights withQuantisedDelays(const Weights& weights, double frequency, double step) {
    requireFinite(weights);
    if (!(std::isfinite(frequency) && frequency > 0))
        throw InvalidRequest("frequency", "must be a frequency above 0");
    if (!(step > 0 && step * frequency <= 0.5))
        throw InvalidRequest("step", "must be a time above 0 and at most half a period");
    return withPhaseSteps(weights, 2 * std::numbers::pi * frequency * step);
}

Weights withQuantisedAmplitudes(const Weights& weights, std::int64_t levels) {
    requireFinite(weights);
    if (levels < 2) throw InvalidRequest("levels", "must be 2 or more");
    double largest = 0;
    for (const std::complex<double>& weight : weights)
        largest = std::max(largest, std::abs(weight));
    if (largest == 0) return weights;
    const auto steps = static_cast<double>(levels - 1);
    Weights rounded;
    for (const std::complex<double>& weight : weights)
        rounded.push_back(std::polar(
            largest * std::round(std::abs(weight) / largest * steps) / steps, std::arg(weight)));
    return rounded;
}

}  // namespace pistonfield
