// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <optional>

#include "field/Request.h"

namespace pistonfield {

/// What waves travel in, with losses that grow as a power of the frequency f:
/// attenuation*f^exponent with f in MHz. Lengths are in m.
///
/// Losses come with a change of the phase speed c, as no wave may arrive before it was sent. With
/// the angular frequency w = 2*pi*f, losses a*w^y in Np/m and the speed c0 at w0
///
///   1/c(w) = 1/c0 + a*tan(pi*y/2)*(w^(y-1) - w0^(y-1)),   y other than 1
///   1/c(w) = 1/c0 - 2/pi*a*ln(w/w0),                      y = 1
///
/// (Szabo, J. Acoust. Soc. Am. 96, 491-500, 1994, and 97, 14-24, 1995; Waters, Hughes, Mobley and
/// Miller, IEEE Trans. UFFC 50, 68-76, 2003).
struct Medium {
    double speed = 0;        ///< c0, in m/s
    double attenuation = 0;  ///< in dB/(cm*MHz^exponent)
    double exponent = 1;     ///< y, from 0 to below 3
    std::optional<double>
        nepers{};  ///< instead of the attenuation: in Np/m at the frequency itself
    /// The frequency in Hz at which the phase speed is `speed`; none: at every one.
    std::optional<double> dispersionFrequency{};
};

/// The wavenumber and the losses of a wave of this frequency, in rad/m and Np/m.
/// @param frequency in Hz
/// @throws InvalidRequest of `frequency`, or named after the member that is wrong: `nepers` as well
///     where there is an attenuation too, `dispersionFrequency` where the phase speed would be none
Wave waveIn(const Medium& medium, double frequency);

}  // namespace pistonfield
