// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "signals/Signal.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "field/Request.h"

namespace pistonfield {

void check(const Signal& signal) {
    if (!(std::isfinite(signal.rate) && signal.rate > 0))
        throw InvalidRequest("rate", "must be a number of samples per second above 0");
    const std::vector<double>& samples = signal.samples;
    if (samples.size() < 2) throw InvalidRequest("signal", "must have two samples or more");
    if (!std::all_of(samples.begin(), samples.end(), [](double u) { return std::isfinite(u); }))
        throw InvalidRequest("signal", "every sample must be finite");
    if (std::all_of(samples.begin(), samples.end(), [](double u) { return u == 0; }))
        throw InvalidRequest("signal", "all samples are 0");
}

Signal signalOf(const std::vector<std::complex<double>>& amplitudes, double step) {
    if (!(std::isfinite(step) && step > 0))
        throw InvalidRequest("rate", "the step of the frequencies must be above 0");
    if (amplitudes.size() < 2)
        throw InvalidRequest("signal", "must have the amplitudes of two frequencies or more");
    // Four samples a period of the highest frequency, so that none is at half the rate.
    const std::size_t samples = 4 * (amplitudes.size() - 1);
    Signal signal{std::vector<double>(samples), static_cast<double>(samples) * step};
    const double angle = 2 * std::numbers::pi / static_cast<double>(samples);
    for (std::size_t i = 0; i < samples; ++i)
        for (std::size_t n = 0; n < amplitudes.size(); ++n)
            signal.samples[i] +=
                (amplitudes[n] * std::polar(1.0, angle * static_cast<double>(n * i % samples)))
                    .real();
    check(signal);
    return signal;
}

}  // namespace pistonfield
