// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/Medium.h"

#include <cmath>
#include <numbers>

namespace pistonfield {

namespace {

constexpr double pi = std::numbers::pi;

void requirePositive(const char* name, double value) {
    if (!(std::isfinite(value) && value > 0)) throw InvalidRequest(name, "must be above 0");
}

void requireLoss(const char* name, double value) {
    if (!(std::isfinite(value) && value >= 0)) throw InvalidRequest(name, "must be 0 or above");
}

double nepersOf(const Medium& medium, double frequency) {
    if (medium.nepers) return *medium.nepers;
    constexpr double perDecibel = std::numbers::ln10 / 20;
    constexpr double centimetres = 100;  // of a metre
    return medium.attenuation * perDecibel * centimetres *
           std::pow(frequency / 1e6, medium.exponent);
}

/// tan(pi*y/2)*(1 - r^(y-1)), which for y = 1 is 2/pi*ln(r): with y - 1 = e it is
/// (r^e - 1)/tan(pi*e/2), without a difference of nearly equal numbers.
double changeBetween(double ratio, double exponent) {
    const double e = exponent - 1;
    const double logarithm = std::log(ratio);
    if (e == 0) return 2 / pi * logarithm;
    return std::expm1(e * logarithm) / std::tan(pi * e / 2);
}

void check(const Medium& medium, double frequency) {
    requirePositive("frequency", frequency);
    requirePositive("speed", medium.speed);
    requireLoss("attenuation", medium.attenuation);
    if (!(medium.exponent >= 0 && medium.exponent < 3))
        throw InvalidRequest("exponent", "must be from 0 to below 3");
    if (medium.nepers) {
        requireLoss("nepers", *medium.nepers);
        if (medium.attenuation != 0)
            throw InvalidRequest("nepers", "give the attenuation or nepers, not both");
    }
    if (medium.dispersionFrequency)
        requirePositive("dispersionFrequency", *medium.dispersionFrequency);
}

}  // namespace

Wave waveIn(const Medium& medium, double frequency) {
    check(medium, frequency);
    const double nepers = nepersOf(medium, frequency);
    double wavenumber = 2 * pi * frequency / medium.speed;
    // The change of w/c; a*w^(y-1) is the loss over w.
    if (medium.dispersionFrequency)
        wavenumber +=
            nepers * changeBetween(*medium.dispersionFrequency / frequency, medium.exponent);
    if (!(std::isfinite(wavenumber) && wavenumber > 0))
        throw InvalidRequest("dispersionFrequency",
                             "with these losses there is no phase speed: it is too far from the "
                             "frequency");
    return {wavenumber, nepers};
}

}  // namespace pistonfield
