// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstdint>
#include <vector>

namespace pistonfield {

/// Weights with their phases rounded to the nearest of 2^bits in a period. The error of a weight is
/// at most its magnitude times 2*sin(pi/2^(bits + 1)).
/// @param bits from 1 to 32
/// @throws InvalidRequest of `bits`, or of `weights` that are not finite; so in all of these
std::vector<std::complex<double>> withQuantisedPhases(
    const std::vector<std::complex<double>>& weights, int bits);

/// Weights with their delays, -phase/(2*pi*frequency) within a period from 0 on, rounded to the
/// nearest multiple of a step.
/// @param frequency in cycles per unit of time
/// @param step      in the same unit of time, at most half a period
/// @throws InvalidRequest of `frequency` or `step`
std::vector<std::complex<double>> withQuantisedDelays(
    const std::vector<std::complex<double>>& weights, double frequency, double step);

/// Weights with their magnitudes rounded to the nearest of so many levels, which are evenly spaced
/// from 0 to the largest magnitude.
/// @param levels 2 or more
/// @throws InvalidRequest of `levels`
std::vector<std::complex<double>> withQuantisedAmplitudes(
    const std::vector<std::complex<double>>& weights, std::int64_t levels);

}  // namespace pistonfield
