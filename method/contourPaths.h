// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstring>

#include "lanes/Pack.h"
#include "lanes/estimates.h"
#include "lanes/exponential.h"
#include "lanes/sinCosUpToSign.h"
#include "method/ContourSums.h"

// What the sums along a piston's boundary have in common, for packs of doubles.

namespace pistonfield {
inline namespace PISTONFIELD_INSTRUCTION_SET {

inline constexpr int contourWidth = lanes::width<double>;
using ContourPack = lanes::Pack<double, contourWidth>;
static_assert(groupSize % contourWidth == 0);

[[gnu::always_inline]] inline ContourPack loadedPack(const double* numbers) {
    ContourPack pack;
    std::memcpy(&pack, numbers, sizeof pack);
    return pack;
}

/// A complex number in every lane.
struct ContourNumber {
    ContourPack re, im;
};

[[gnu::always_inline]] inline void addTimes(ContourNumber& sum, const ContourNumber& value,
                                            ContourPack factor) {
    sum.re = lanes::multiplyAdd(value.re, factor, sum.re);
    sum.im = lanes::multiplyAdd(value.im, factor, sum.im);
}

/// E - 1 and E = exp(-jk*path). With k = b - ja: exp(-a*path) - 1 of the attenuation, and of the
/// phase v = b*path/2 the difference -2 sin(v) (sin(v) + j cos(v)), which does not cancel.
struct ContourWave {
    ContourNumber lessOne, value;
};

template <bool isLossy>
[[gnu::always_inline]] inline ContourWave waveAlong(ContourPack path, double wavenumber,
                                                    double attenuation) {
    const auto [s, c] = lanes::sinCosUpToSign(path * (wavenumber / 2));
    ContourWave wave;
    if constexpr (isLossy) {
        const auto [decay, decayLessOne] = lanes::exponential(path * -attenuation);
        const ContourPack twice = -2 * decay * s;
        wave.lessOne = {lanes::multiplyAdd(twice, s, decayLessOne), twice * c};
        wave.value = {lanes::multiplyAdd(twice, s, decay), twice * c};
    } else {
        const ContourPack twice = -2 * s;
        wave.lessOne = {twice * s, twice * c};
        wave.value = {1 + twice * s, twice * c};
    }
    return wave;
}

/// A pack of points at z >= 0.
struct ContourAt {
    ContourPack x, y, z, zz;
    ContourPack reference;  ///< Q
    ContourPack tiny;       ///< keeps quotients by D and R finite where these are 0, in products too

    static ContourAt of(const ContourPoints& points, int first) {
        constexpr double tinySquare = 1e-80;
        const ContourPack z = loadedPack(points.z + first);
        return {loadedPack(points.x + first),
                loadedPack(points.y + first),
                z,
                z * z,
                loadedPack(points.reference + first),
                lanes::broadcast<ContourPack>(tinySquare)};
    }
};

/// A node of the boundary as points see it.
struct ContourPath {
    ContourPack length;  ///< R - Q, formed without cancellation
    ContourPack angle;   ///< cross/D
    ContourPack cross;
    ContourPack R;
    ContourPack perR;
};

template <bool isBeside>
[[gnu::always_inline]] inline ContourPath pathTo(const ContourNode& node, const ContourAt& at) {
    const ContourPack toX = node.x - at.x;
    const ContourPack toY = node.y - at.y;
    const ContourPack D = lanes::multiplyAdd(toX, toX, lanes::multiplyAdd(toY, toY, at.tiny));
    const ContourPack R = lanes::nearSquareRoot(D + at.zz);
    const ContourPack total = R + at.reference;
    const ContourPack totalByR = total * R;
    const ContourPack all = lanes::nearReciprocal(totalByR * D);
    const ContourPack cross = toX * node.dy - toY * node.dx;
    const ContourPack difference =
        isBeside ? node.x * (toX - at.x) + node.y * (toY - at.y) : D;  // R^2 - Q^2
    return {difference * (all * (R * D)), cross * (all * totalByR), cross, R, all * (total * D)};
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace pistonfield
