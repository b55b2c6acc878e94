// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/ToneSums.h"

#include <cstring>

#include "lanes/sinCos.h"
#include "method/contourPaths.h"

namespace pistonfield {

namespace {

using V = DoublePack;
using Number = ComplexPack;

/// Nodes whose paths are kept at a time: they fit the fastest cache.
constexpr std::size_t blockNodes = 64;

/// What of some nodes does not depend on the tone.
struct Paths {
    V length[blockNodes];
    V angle[blockNodes];
};

template <bool isBeside>
void findPaths(const ContourNode* nodes, std::size_t count, const ContourAt& at, Paths& to) {
    for (std::size_t i = 0; i < count; ++i) {
        const ContourPath path = pathTo<isBeside>(nodes[i], at);
        to.length[i] = path.length;
        to.angle[i] = path.angle;
    }
}

/// exp(-jk*path) - 1.
[[gnu::always_inline]] inline Number lessOne(V path, double wavenumber, double attenuation,
                                             bool isLossy) {
    return isLossy ? waveAlong<true>(path, wavenumber, attenuation).lessOne
                   : waveAlong<false>(path, wavenumber, 0).lessOne;
}

/// E - 1 of the next tone, from that of the one before it and M - 1.
[[gnu::always_inline]] inline Number advanced(const Number& wave, const Number& step) {
    const V real = 1 + wave.re;
    return {lanes::multiplyAdd(step.re, real, lanes::multiplyAdd(-step.im, wave.im, wave.re)),
            lanes::multiplyAdd(step.re, wave.im, lanes::multiplyAdd(step.im, real, wave.im))};
}

/// Adds nodes to the sums of a run of up to so many tones.
template <int tones>
void addNodes(const Paths& paths, const V* steps, const Number* firsts, std::size_t count,
              Number* sums) {
    Number sum[tones];
    for (int n = 0; n < tones; ++n) sum[n] = sums[n];
    for (std::size_t i = 0; i < count; ++i) {
        const V angle = paths.angle[i];
        Number wave = firsts[i];
        addTimes(sum[0], wave, angle);
        if constexpr (tones > 1) {
            const Number step{steps[2 * i], steps[2 * i + 1]};
#pragma GCC unroll 8
            for (int n = 1; n < tones; ++n) {
                wave = advanced(wave, step);
                addTimes(sum[n], wave, angle);
            }
        }
    }
    for (int n = 0; n < tones; ++n) sums[n] = sum[n];
}

/// What stays between the runs of a block.
struct Waves {
    Number firsts[blockNodes];
    V steps[2 * blockNodes];
    double stepWavenumber = 0;
    double stepAttenuation = 0;
    bool hasSteps = false;
};

void addRun(const Paths& paths, std::size_t count, const EvenTones& tones, Waves& waves,
            Number* sums) {
    const bool isLossy = tones.attenuation != 0;
    for (std::size_t i = 0; i < count; ++i)
        waves.firsts[i] = lessOne(paths.length[i], tones.wavenumber, tones.attenuation, isLossy);
    if (tones.count == 1) {
        addNodes<1>(paths, nullptr, waves.firsts, count, sums);
        return;
    }
    if (!waves.hasSteps || waves.stepWavenumber != tones.stepWavenumber ||
        waves.stepAttenuation != tones.stepAttenuation) {
        waves.hasSteps = true;
        waves.stepWavenumber = tones.stepWavenumber;
        waves.stepAttenuation = tones.stepAttenuation;
        for (std::size_t i = 0; i < count; ++i) {
            const Number step = lessOne(paths.length[i], tones.stepWavenumber,
                                        tones.stepAttenuation, tones.stepAttenuation != 0);
            waves.steps[2 * i] = step.re;
            waves.steps[2 * i + 1] = step.im;
        }
    }
    addNodes<EvenTones::most>(paths, waves.steps, waves.firsts, count, sums);
}

/// A run's sums of a pack, and what is behind the last of its tones.
struct RunSums {
    Number sum[EvenTones::most];
};

/// Stores a run's sums times exp(-jkQ).
void store(const RunSums& run, const EvenTones& tones, V reference, int first,
           ContourSums::Sum* to) {
    for (int n = 0; n < tones.count; ++n) {
        const double wavenumber = tones.wavenumber + n * tones.stepWavenumber;
        const double attenuation = tones.attenuation + n * tones.stepAttenuation;
        const auto [sine, cosine] = lanes::sinCos(reference * -wavenumber);
        V decay = lanes::broadcast<V>(1);
        if (attenuation != 0) decay = lanes::exponential(reference * -attenuation).value;
        const Number& sum = run.sum[n];
        const V re = decay * (sum.re * cosine - sum.im * sine);
        const V im = decay * (sum.re * sine + sum.im * cosine);
        std::memcpy(to[n].re + first, &re, sizeof re);
        std::memcpy(to[n].im + first, &im, sizeof im);
    }
}

/// Runs whose sums are kept at a time; more take the paths once more.
constexpr std::size_t mostRuns = 16;

void computePack(const ContourNode* nodes, std::size_t count, const EvenTones* tones,
                 std::size_t runs, const ContourPoints& points, int first, ContourSums::Sum* sums) {
    const ContourAt at = ContourAt::of(points, first);
    RunSums all[mostRuns]{};
    Paths paths;
    for (std::size_t from = 0; from < count; from += blockNodes) {
        const std::size_t some = count - from < blockNodes ? count - from : blockNodes;
        if (points.beside)
            findPaths<true>(nodes + from, some, at, paths);
        else
            findPaths<false>(nodes + from, some, at, paths);
        Waves waves;
        for (std::size_t run = 0; run < runs; ++run)
            addRun(paths, some, tones[run], waves, all[run].sum);
    }
    for (std::size_t run = 0; run < runs; ++run) {
        store(all[run], tones[run], at.reference, first, sums);
        sums += tones[run].count;
    }
}

void compute(const ContourNode* nodes, std::size_t count, const EvenTones* tones, std::size_t runs,
             const ContourPoints& points, ContourSums::Sum* sums) {
    while (runs > 0) {
        const std::size_t some = runs < mostRuns ? runs : mostRuns;
        for (int first = 0; first < points.count; first += contourWidth)
            computePack(nodes, count, tones, some, points, first, sums);
        for (std::size_t run = 0; run < some; ++run) sums += tones[run].count;
        tones += some;
        runs -= some;
    }
}

}  // namespace

template <>
const ToneSumsOf& toneSumsOf<lanes::compiledSet>() {
    static constexpr ToneSumsOf sums{&compute};
    return sums;
}

}  // namespace pistonfield
