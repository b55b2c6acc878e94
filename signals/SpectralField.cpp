// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "signals/SpectralField.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>

#include "core/Mode.h"
#include "parallel/threads.h"

namespace pistonfield {

namespace {

/// Up to so many points the threads take frequencies, not points.
constexpr std::int64_t fewPoints = 1024;

Request requestAt(const Request& common, const Tone& tone) {
    Request request = common;
    request.wave = tone.wave;
    if (!tone.weights.empty()) request.array.value().weights = tone.weights;
    return request;
}

}  // namespace

SpectralField::SpectralField(Request request, std::vector<Tone> tones)
    : common(std::move(request)), all(std::move(tones)) {
    if (all.empty()) throw InvalidRequest("wavenumber", "there is none");
    // Whatever is wrong but for waves and weights is so at each frequency.
    check(requestAt(common, all.front()));
    Request light = common;
    light.array.reset();
    light.piston = {1, 1};
    light.points.reset();
    light.lattice = {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, {1, 1, 1}};
    for (const Tone& tone : all) {
        if (tone.weights.size() != all.front().weights.size())
            throw InvalidRequest("weights", "are not as many at each frequency");
        light.wave = tone.wave;
        check(light);
    }
}

Plan SpectralField::planOf(std::size_t tone) const { return Plan(requestAt(common, all[tone])); }

Cost SpectralField::cost(const LatticeBox& box) const {
    Cost cost{0, 0, 0};
    for (std::size_t i = 0; i < all.size(); ++i) {
        const Cost one = planOf(i).cost(box);
        cost = {cost.evaluations + one.evaluations, std::max(cost.memory, one.memory),
                std::max(cost.deviceMemory, one.deviceMemory)};
    }
    return cost;
}

template <class T>
void SpectralField::compute(const LatticeBox& box, std::complex<T>* values,
                            const Conduct& conduct) const {
    if (box.points() <= fewPoints && !isOnGpu(common.mode)) {
        computeSideBySide(box, values, conduct);
        return;
    }
    std::int64_t done = 0;
    Conduct ofOne = conduct;
    if (conduct.progress)
        ofOne.progress = [&](std::int64_t points) { conduct.progress(done + points); };
    for (std::size_t i = 0; i < all.size(); ++i) {
        planOf(i).compute(box, values, ofOne);
        values += box.points() * common.fields();
        done += box.points();
    }
}

template <class T>
void SpectralField::computeSideBySide(const LatticeBox& box, std::complex<T>* values,
                                      const Conduct& conduct) const {
    const unsigned threads = conduct.threads > 0 ? conduct.threads : threadCount();
    const std::thread::id caller = std::this_thread::get_id();
    std::atomic<std::int64_t> done = 0;
    const auto computeSome = [&](std::int64_t first, std::int64_t last) {
        for (std::int64_t i = first; i < last; ++i) {
            planOf(static_cast<std::size_t>(i))
                .compute(box, values + i * box.points() * common.fields(),
                         Conduct{conduct.stop, {}, 1});
            done += box.points();
            if (conduct.progress && std::this_thread::get_id() == caller) conduct.progress(done);
        }
    };
    inParallel(static_cast<std::int64_t>(all.size()), 1, threads, computeSome);
}

template void SpectralField::compute(const LatticeBox& box, std::complex<float>* values,
                                     const Conduct& conduct) const;
template void SpectralField::compute(const LatticeBox& box, std::complex<double>* values,
                                     const Conduct& conduct) const;

}  // namespace pistonfield
