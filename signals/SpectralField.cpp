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
#include "field/ToneFields.h"
#include "parallel/threads.h"

namespace pistonfield {

namespace {

/// Up to so many points the threads take frequencies, not points.
constexpr std::int64_t fewPoints = 1024;

/// What a plan takes before the first value, as so many points: those that it looks at. That of an
/// array of rectangles without losses has yet to find the elements' directivity.
constexpr double pointsOfAPlan = 1000;
constexpr double secondsOfDirectivity = 0.05;

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

auto SpectralField::bands() const -> std::vector<Band> {
    if (!ToneFields::serves(common)) return {{0, all.size()}};
    constexpr std::size_t most = 32;
    constexpr double widest = 2;
    std::vector<Band> bands;
    for (std::size_t first = 0; first < all.size(); first += bands.back().count) {
        double least = all[first].wave.wavenumber;
        double largest = least;
        std::size_t last = first + 1;
        for (; last < all.size() && last - first < most; ++last) {
            least = std::min(least, all[last].wave.wavenumber);
            largest = std::max(largest, all[last].wave.wavenumber);
            if (largest > widest * least) break;
        }
        bands.push_back({first, last - first});
    }
    return bands;
}

/// What a band's tones share; null where each is to have a plan.
struct SpectralField::Shared {
    std::unique_ptr<const ToneFields> fields;
};

auto SpectralField::sharedOf(const Band& band) const -> Shared {
    constexpr std::size_t fewest = 4;  // fewer take less than to find out
    if (band.count < fewest) return {};
    std::vector<ToneWave> tones;
    for (std::size_t i = band.first; i < band.first + band.count; ++i) {
        ToneWave tone{all[i].wave, all[i].weights};
        if (tone.weights.empty() && common.array) tone.weights = common.array->weights;
        tones.push_back(tone);
    }
    std::unique_ptr<const ToneFields> shared = ToneFields::of(common, tones);
    if (!shared) return {};
    const auto points = static_cast<double>(common.lattice.box().points());
    const auto count = static_cast<double>(band.count);
    const double left = points * shared->secondsOfAPoint() -
                        (common.array && !takesContours(common) ? count * secondsOfDirectivity : 0);
    if (left <= 0) return {std::move(shared)};
    const Plan last = planOf(band.first + band.count - 1);
    if (left <= count * (points + pointsOfAPlan) * last.secondsOfAPoint())
        return {std::move(shared)};
    return {};
}

Cost SpectralField::cost(const LatticeBox& box) const {
    Cost cost{0, 0, 0};
    const auto add = [&cost](const Cost& one) {
        cost = {cost.evaluations + one.evaluations, std::max(cost.memory, one.memory),
                std::max(cost.deviceMemory, one.deviceMemory)};
    };
    for (const Band& band : bands()) {
        if (const auto shared = sharedOf(band).fields) {
            const auto points = static_cast<double>(box.points());
            add({shared->evaluationsOfAPoint() * points, shared->memory(), 0});
            continue;
        }
        for (std::size_t i = 0; i < band.count; ++i) add(planOf(band.first + i).cost(box));
    }
    return cost;
}

template <class T>
void SpectralField::compute(const LatticeBox& box, std::complex<T>* values,
                            const Conduct& conduct) const {
    std::int64_t done = 0;
    Conduct ofBand = conduct;
    if (conduct.progress)
        ofBand.progress = [&](std::int64_t points) { conduct.progress(done + points); };
    for (const Band& band : bands()) {
        if (conduct.stop.stop_requested()) throw Stopped();
        const auto points = static_cast<std::int64_t>(band.count) * box.points();
        if (const auto shared = sharedOf(band).fields)
            shared->compute(box, values, ofBand);
        else
            computeApart(band, box, values, ofBand);
        values += points * common.fields();
        done += points;
    }
}

template <class T>
void SpectralField::computeApart(const Band& band, const LatticeBox& box, std::complex<T>* values,
                                 const Conduct& conduct) const {
    if (box.points() <= fewPoints && !isOnGpu(common.mode)) {
        computeSideBySide(band, box, values, conduct);
        return;
    }
    std::int64_t done = 0;
    Conduct ofOne = conduct;
    if (conduct.progress)
        ofOne.progress = [&](std::int64_t points) { conduct.progress(done + points); };
    for (std::size_t i = 0; i < band.count; ++i) {
        planOf(band.first + i).compute(box, values, ofOne);
        values += box.points() * common.fields();
        done += box.points();
    }
}

template <class T>
void SpectralField::computeSideBySide(const Band& band, const LatticeBox& box,
                                      std::complex<T>* values, const Conduct& conduct) const {
    const unsigned threads = conduct.threads > 0 ? conduct.threads : threadCount();
    const std::thread::id caller = std::this_thread::get_id();
    std::atomic<std::int64_t> done = 0;
    const auto computeSome = [&](std::int64_t first, std::int64_t last) {
        const bool tells = conduct.progress && std::this_thread::get_id() == caller;
        Conduct ofOne{conduct.stop, {}, 1};
        if (tells) ofOne.progress = [&](std::int64_t /*points*/) { conduct.progress(done); };
        for (std::int64_t i = first; i < last; ++i) {
            planOf(band.first + static_cast<std::size_t>(i))
                .compute(box, values + i * box.points() * common.fields(), ofOne);
            done += box.points();
            if (tells) conduct.progress(done);
        }
    };
    inParallel(static_cast<std::int64_t>(band.count), 1, threads, computeSome);
}

template void SpectralField::compute(const LatticeBox& box, std::complex<float>* values,
                                     const Conduct& conduct) const;
template void SpectralField::compute(const LatticeBox& box, std::complex<double>* values,
                                     const Conduct& conduct) const;

}  // namespace pistonfield
