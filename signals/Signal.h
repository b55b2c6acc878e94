// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <vector>

namespace pistonfield {

/// A function of time that is 0 but for a while: samples at the times 0, 1/rate, 2/rate, ...
///
/// Between them it is what has no frequencies above half the rate.
struct Signal {
    std::vector<double> samples;
    double rate = 0;  ///< samples per second

    /// The time of the last sample, in seconds.
    double duration() const noexcept { return static_cast<double>(samples.size() - 1) / rate; }

    bool operator==(const Signal&) const = default;
};

/// @throws InvalidRequest of `signal` unless it has two samples or more, finite and not all 0;
///     of `rate`
void check(const Signal& signal);

/// One period, 1/step, of the function that has at each frequency n*step the part
/// Re(amplitude[n] * exp(2*pi*j*n*step*t)).
/// @param amplitudes of the frequencies 0, step, 2*step, ...; two or more
/// @param step in Hz
/// @throws InvalidRequest of `signal`, of `rate` for the step
Signal signalOf(const std::vector<std::complex<double>>& amplitudes, double step);

}  // namespace pistonfield
