// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstring>

#include "lanes/Pack.h"
#include "lanes/exponential.h"
#include "lanes/sinCosUpToSign.h"

// What sums in double precision over a group's points share.

namespace pistonfield {
inline namespace PISTONFIELD_INSTRUCTION_SET {

using DoublePack = lanes::Pack<double, lanes::width<double>>;

[[gnu::always_inline]] inline DoublePack loadedPack(const double* numbers) {
    DoublePack pack;
    std::memcpy(&pack, numbers, sizeof pack);
    return pack;
}

/// Complex numbers of a pack.
struct ComplexPack {
    DoublePack re, im;
};

[[gnu::always_inline]] inline void addTimes(ComplexPack& sum, const ComplexPack& value,
                                            DoublePack factor) {
    sum.re = lanes::multiplyAdd(value.re, factor, sum.re);
    sum.im = lanes::multiplyAdd(value.im, factor, sum.im);
}

/// @param to has arrays `re` and `im` of a group's numbers
template <class Sum>
[[gnu::always_inline]] inline void store(const ComplexPack& sum, Sum& to, int first) {
    std::memcpy(to.re + first, &sum.re, sizeof sum.re);
    std::memcpy(to.im + first, &sum.im, sizeof sum.im);
}

/// E - 1 and E = exp(-jk*path). With k = b - ja: exp(-a*path) - 1 of the attenuation, and of the
/// phase v = b*path/2 the difference -2 sin(v) (sin(v) + j cos(v)), which does not cancel.
struct WaveAlong {
    ComplexPack lessOne, value;
};

template <bool isLossy>
[[gnu::always_inline]] inline WaveAlong waveAlong(DoublePack path, double wavenumber,
                                                  double attenuation) {
    const auto [s, c] = lanes::sinCosUpToSign(path * (wavenumber / 2));
    WaveAlong wave;
    if constexpr (isLossy) {
        const auto [decay, decayLessOne] = lanes::exponential(path * -attenuation);
        const DoublePack twice = -2 * decay * s;
        wave.lessOne = {lanes::multiplyAdd(twice, s, decayLessOne), twice * c};
        wave.value = {lanes::multiplyAdd(twice, s, decay), twice * c};
    } else {
        const DoublePack twice = -2 * s;
        wave.lessOne = {twice * s, twice * c};
        wave.value = {1 + twice * s, twice * c};
    }
    return wave;
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace pistonfield
