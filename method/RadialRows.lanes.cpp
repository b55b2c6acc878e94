// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/RadialRows.h"

#include "lanes/Pack.h"
#include "lanes/estimates.h"
#include "method/wavesAlong.h"

namespace pistonfield {

namespace {

constexpr int W = lanes::width<double>;
using V = DoublePack;
static_assert(mostInRow % W == 0);

/// 0, 1, 2 and so on.
V countedFrom(int first) {
    alignas(64) double numbers[W];
    for (int i = 0; i < W; ++i) numbers[i] = first + i;
    return loadedPack(numbers);
}

template <bool isLossy>
void findWavesOf(const RadialRow& row, const LossyWavenumber& k, RowValues& waves) {
    const double middle = (row.points - 1) / 2.0;
    const V reference = lanes::broadcast<V>(row.reference);
    for (int first = 0; first < row.points; first += W) {
        const V steps = countedFrom(first) - middle;
        const V difference = steps * (row.slope + steps * row.square);
        const V R = lanes::nearSquareRoot(reference * reference + difference);
        const V path = difference * lanes::nearReciprocal(R + reference);
        store(waveAlong<isLossy>(path, k.real, k.attenuation).value, waves, first);
    }
}

void findWaves(const RadialRow& row, const LossyWavenumber& k, RowValues& waves) {
    if (k.attenuation == 0)
        findWavesOf<false>(row, k, waves);
    else
        findWavesOf<true>(row, k, waves);
}

void interpolate(const RowNodes& nodes, int points, const RowValues& waves, RowValues& values) {
    for (int first = 0; first < points; first += W) {
        ComplexPack sum{};
        for (int i = 0; i < nodes.count; ++i) {
            const V weight = loadedPack(nodes.weights + std::ptrdiff_t{i} * mostInRow + first);
            sum.re = lanes::multiplyAdd(weight, lanes::broadcast<V>(nodes.reOf[i]), sum.re);
            sum.im = lanes::multiplyAdd(weight, lanes::broadcast<V>(nodes.imOf[i]), sum.im);
        }
        const ComplexPack wave{loadedPack(waves.re + first), loadedPack(waves.im + first)};
        store(ComplexPack{sum.re * wave.re - sum.im * wave.im, sum.re * wave.im + sum.im * wave.re},
              values, first);
    }
}

void add(const RowValues& values, int points, double weightRe, double weightIm, double* re,
         double* im) {
    for (int first = 0; first < points; first += W) {
        const ComplexPack value{loadedPack(values.re + first), loadedPack(values.im + first)};
        ComplexPack sum{loadedPack(re + first), loadedPack(im + first)};
        const V real = lanes::broadcast<V>(weightRe);
        const V imaginary = lanes::broadcast<V>(weightIm);
        sum.re = lanes::multiplyAdd(value.re, real, sum.re);
        sum.im = lanes::multiplyAdd(value.im, real, sum.im);
        sum.re = lanes::multiplyAdd(-value.im, imaginary, sum.re);
        sum.im = lanes::multiplyAdd(value.re, imaginary, sum.im);
        std::memcpy(re + first, &sum.re, sizeof sum.re);
        std::memcpy(im + first, &sum.im, sizeof sum.im);
    }
}

}  // namespace

template <>
const RadialRows& radialRowsOf<lanes::compiledSet>() {
    static constexpr RadialRows rows{&findWaves, &interpolate, &add};
    return rows;
}

}  // namespace pistonfield
