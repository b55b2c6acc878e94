// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Media for C: how their losses follow from the frequency.

#include "field/Medium.h"

#include <optional>

#include "capi/memberNames.h"
#include "capi/outcome.h"
#include "capi/pistonfield.h"

namespace {

using namespace pistonfield;

std::optional<double> optionalFrom(const double* given) {
    return given != nullptr ? std::optional<double>(*given) : std::nullopt;
}

}  // namespace

pistonfield_status pistonfield_wave(const pistonfield_medium* medium, double frequency,
                                    double* wavenumber, double* attenuation,
                                    pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        const pistonfield_medium& given = required(medium, "medium");
        requireGiven(wavenumber, "wavenumber");
        requireGiven(attenuation, "attenuation");
        const Wave wave = namedForC([&] {
            return waveIn({given.speed, given.attenuation, given.exponent,
                           optionalFrom(given.nepers), optionalFrom(given.dispersion_frequency)},
                          frequency);
        });
        *wavenumber = wave.wavenumber;
        *attenuation = wave.attenuation;
    });
}
