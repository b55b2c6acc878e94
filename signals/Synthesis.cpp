// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "signals/Synthesis.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace pistonfield {

Synthesis::Synthesis(std::size_t least) : numbers(Fft<double>::lengthFrom(least)) {
    if (haveFft()) {
        forward.emplace(numbers, false);
        inverse.emplace(numbers, true);
        return;
    }
    const double step = 2 * std::numbers::pi / static_cast<double>(numbers);
    roots.resize(numbers);
    for (std::size_t n = 0; n < numbers; ++n)
        roots[n] = std::polar(1.0, step * static_cast<double>(n));
}

std::vector<std::complex<double>> Synthesis::spectrumOf(const std::vector<double>& samples) const {
    std::vector<std::complex<double>> spectrum(numbers / 2 + 1);
    if (!forward) {
        for (std::size_t m = 0; m < spectrum.size(); ++m)
            for (std::size_t n = 0; n < samples.size(); ++n)
                spectrum[m] += samples[n] * std::conj(roots[m * n % numbers]);
        return spectrum;
    }
    const std::size_t stride = 2 * forward->lines();
    BundleNumbers<double> from(numbers * stride);
    BundleNumbers<double> to(numbers * stride);
    for (std::size_t n = 0; n < samples.size(); ++n) from.data()[n * stride] = samples[n];
    forward->transform(from.data(), to.data());
    for (std::size_t m = 0; m < spectrum.size(); ++m)
        spectrum[m] = {to.data()[m * stride], to.data()[m * stride + forward->lines()]};
    return spectrum;
}

Synthesis::Work::Work(const Synthesis& synthesis)
    : owner(&synthesis),
      from(2 * synthesis.length() * synthesis.lines()),
      to(2 * synthesis.length() * synthesis.lines()) {}

void Synthesis::Work::clear() {
    const std::size_t stride = 2 * owner->lines();
    for (const std::size_t frequency : frequencies)
        std::fill_n(from.data() + frequency * stride, stride, 0.0);
    frequencies.clear();
}

void Synthesis::Work::set(std::size_t line, std::size_t frequency, std::complex<double> amplitude) {
    const std::size_t lines = owner->lines();
    double* const at = from.data() + 2 * frequency * lines + line;
    at[0] = amplitude.real();
    at[lines] = amplitude.imag();
    if (line == 0) frequencies.push_back(frequency);
}

void Synthesis::Work::transform() {
    if (owner->inverse) {
        owner->inverse->transform(from.data(), to.data());
        return;
    }
    const std::vector<std::complex<double>>& roots = owner->roots;
    for (std::size_t n = 0; n < roots.size(); ++n) {
        double sum = 0;
        for (const std::size_t m : frequencies) {
            const std::complex<double> root = roots[m * n % roots.size()];
            sum += from.data()[2 * m] * root.real() - from.data()[2 * m + 1] * root.imag();
        }
        to.data()[2 * n] = sum;
    }
}

}  // namespace pistonfield
