// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/ToneFields.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

#include "field/GroupRuns.h"
#include "field/errorLimits.h"
#include "field/pieces.h"
#include "field/samplePoints.h"
#include "parallel/threads.h"
#include "parallel/usableCores.h"

namespace pistonfield {

namespace {

using Complex = std::complex<double>;

/// What rounding may add to a value is at most so much of the tolerance; the rest is for the nodes.
constexpr double shareOfRounding = 1.0 / 16;

/// Elements times points that one looks at beforehand.
constexpr std::size_t mostPreviewed = 1 << 16;
constexpr std::size_t leastPreviewed = 8;

WaveBand bandOf(const std::vector<ToneWave>& tones) {
    WaveBand band{0, 0, std::numeric_limits<double>::infinity()};
    for (const auto& [wave, weights] : tones)
        band = {std::max(band.wavenumber, wave.wavenumber),
                std::max(band.attenuation, wave.attenuation),
                std::min(band.leastAttenuation, wave.attenuation)};
    return band;
}

double leastWavenumberOf(const std::vector<ToneWave>& tones) {
    double least = std::numeric_limits<double>::infinity();
    for (const auto& [wave, weights] : tones) least = std::min(least, wave.wavenumber);
    return least;
}

/// Evenly spaced tones from the first to the last of some.
EvenTones between(std::span<const ToneWave> tones) {
    const Wave& first = tones.front().wave;
    const Wave& last = tones.back().wave;
    const auto steps = static_cast<double>(tones.size() - 1);
    return {first.wavenumber, first.attenuation, (last.wavenumber - first.wavenumber) / steps,
            (last.attenuation - first.attenuation) / steps, static_cast<int>(tones.size())};
}

/// Whether tones are evenly spaced but for the rounding of their numbers, either all with losses or
/// all without.
bool areEven(std::span<const ToneWave> tones) {
    const EvenTones run = between(tones);
    for (std::size_t n = 0; n < tones.size(); ++n) {
        const auto& [k, a] = tones[n].wave;
        const auto steps = static_cast<double>(n);
        const double rounding = 0x1p-50 * std::hypot(k, a);
        if (std::abs(k - (run.wavenumber + steps * run.stepWavenumber)) > rounding ||
            std::abs(a - (run.attenuation + steps * run.stepAttenuation)) > rounding ||
            (a == 0) != (run.attenuation == 0))
            return false;
    }
    return true;
}

/// The first one of some tones and those after it that make a run with it. Two take less by
/// themselves.
EvenTones runFrom(std::span<const ToneWave> tones) {
    constexpr std::size_t least = 3;
    for (auto count = std::min<std::size_t>(tones.size(), EvenTones::most); count >= least; --count)
        if (areEven(tones.first(count))) return between(tones.first(count));
    return {tones.front().wave.wavenumber, tones.front().wave.attenuation, 0, 0, 1};
}

std::vector<EvenTones> runsOf(std::span<const ToneWave> tones) {
    std::vector<EvenTones> runs;
    while (!tones.empty()) {
        runs.push_back(runFrom(tones));
        tones = tones.subspan(static_cast<std::size_t>(runs.back().count));
    }
    return runs;
}

/// Whether there is a tolerance for an element's sides at a wavenumber.
bool hasSides(const ContourFields& elements, std::size_t i, double wavenumber) {
    const auto has = [wavenumber](double side) {
        return whySideIsRefused(side * wavenumber / (2 * std::numbers::pi)).empty();
    };
    if (elements[i].outline) return has(2 * elements.outlineOf(i).circle().radius);
    const auto [width, height] = elements[i].piston;
    return has(width) && has(height);
}

bool haveSides(const ContourFields& elements, double wavenumber) {
    for (std::size_t i = 0; i < elements.count(); ++i)
        if (!hasSides(elements, i, wavenumber)) return false;
    return true;
}

/// The farthest that a point is from an element's centre, with what both are rounded in.
double reachOf(const ContourFields& elements, const Positions& positions) {
    double square = 0;
    for (const auto& [least, most] : positions.bounds())
        square += std::pow(std::max(std::abs(least), std::abs(most)), 2);
    double farthest = 0;
    for (std::size_t i = 0; i < elements.count(); ++i) {
        const auto [x, y, z] = elements.centreOf(i);
        farthest = std::max(farthest, std::hypot(x, y, z));
    }
    return std::sqrt(square) + 2 * farthest;
}

}  // namespace

/// What a thread computes with.
struct ToneFields::Work {
    ContourFields::Work elements;
    std::vector<ContourSums::Sum> values;  ///< of an element at all tones
    std::vector<ContourSums::Sum> sums;    ///< of all tones and weightings
};

ToneFields::ToneFields(const Request& request, const std::vector<ToneWave>& given,
                       const WaveBand& band)
    : request(request),
      positions(request),
      elements(request, band),
      weightings(request.array ? request.array->weightings() : 1),
      tones(given.size()),
      runs(runsOf(given)) {
    for (const auto& [wave, weights] : given) {
        // p is k/(2pi) times the integral phi, of which sums are k/j.
        const Complex factor = wave.wavenumber * Complex(0, 1) /
                               (2 * std::numbers::pi * Complex(wave.wavenumber, -wave.attenuation));
        for (std::size_t i = 0; i < weightings * elements.count(); ++i)
            factors.push_back(weights.empty() ? factor : factor * weights[i]);
    }
}

bool ToneFields::serves(const Request& request) noexcept {
    return request.quantity == Quantity::pressure && request.baffle == Baffle::rigid &&
           request.tolerance && request.tolerance->of == Tolerance::Of::largest &&
           !isOnGpu(request.mode);
}

std::unique_ptr<const ToneFields> ToneFields::of(const Request& request,
                                                 const std::vector<ToneWave>& tones) {
    if (!serves(request)) return nullptr;
    const WaveBand band = bandOf(tones);
    std::unique_ptr<ToneFields> fields(new ToneFields(request, tones, band));
    const bool isWithin = haveSides(fields->elements, leastWavenumberOf(tones)) &&
                          haveSides(fields->elements, band.wavenumber);
    if (!isWithin || !fields->isBefore() || !fields->findLimit(tones, band)) return nullptr;
    return fields;
}

/// Whether no point lies behind an element, by more than the rounding of positions, or may do so.
bool ToneFields::isBefore() const {
    if (request.behind) return true;
    const double rounding = 8 * 0x1p-53 * reachOf(elements, positions);
    for (std::size_t i = 0; i < elements.count(); ++i)
        if (positions.firstBehind(elements[i].pose, rounding)) return false;
    return true;
}

/// What |p| of an element that is driven by 1 is about at a point.
double ToneFields::amplitudeOf(std::size_t element, const Wave& wave,
                               const Pose::Vector& point) const {
    const double area = elements.outlineOf(element).area();
    const auto [x, y, z] = elements.centreOf(element);
    const double distance = std::hypot(point[0] - x, point[1] - y, point[2] - z);
    const double far = wave.wavenumber * area / (2 * std::numbers::pi);
    return std::min(1.0, far / std::max(distance, std::sqrt(area) / 4)) *
           std::exp(-wave.attenuation * distance);
}

/// Adds up the elements at a group's points, each within its limit.
/// @return evaluations of the integrand at each of the points, of one tone
template <class LimitOf>
std::int64_t ToneFields::sumUp(const GroupPlaces& places, LimitOf limitOf, Work& work) const {
    work.values.resize(tones);
    work.sums.assign(tones * weightings, {});
    std::int64_t evaluations = 0;
    for (std::size_t e = 0; e < elements.count(); ++e) {
        evaluations +=
            elements.computeTones(e, places, limitOf(e), runs, work.values, work.elements);
        for (std::size_t n = 0; n < work.sums.size(); ++n) {
            const Complex factor = factors[n * elements.count() + e];
            const ContourSums::Sum& of = work.values[n / weightings];
            ContourSums::Sum& sum = work.sums[n];
            for (std::size_t i = 0; i < groupSize; ++i) {
                sum.re[i] += factor.real() * of.re[i] - factor.imag() * of.im[i];
                sum.im[i] += factor.real() * of.im[i] + factor.imag() * of.re[i];
            }
        }
    }
    return evaluations;
}

/// What is known beforehand of a tone's field for a weighting.
struct ToneFields::Seen {
    double largest = 0;    ///< a lower bound of the largest |p|
    double amplitude = 0;  ///< the largest sum of the elements' amplitudes
    double weights = 0;    ///< the sum of the weights' magnitudes
};

std::vector<ToneFields::Seen> ToneFields::preview(const std::vector<ToneWave>& given) const {
    constexpr double error = 1e-3;
    const auto points = thinned(samplePoints(request.lattice.sizes, false),
                                std::max(leastPreviewed, mostPreviewed / elements.count()));
    // A part of the least amplitude of all tones: that of the least wavenumber.
    const double part = error * leastWavenumberOf(given) / bandOf(given).wavenumber;
    const auto limitOf = [&](std::size_t e) { return elements.localLimit(e, part); };
    const auto weightOf = [&](std::size_t n, std::size_t e) {
        const std::span<const Complex> weights = given[n / weightings].weights;
        return weights.empty() ? 1 : std::abs(weights[n % weightings * elements.count() + e]);
    };
    std::vector<Seen> seen(tones * weightings);
    for (std::size_t n = 0; n < seen.size(); ++n)
        for (std::size_t e = 0; e < elements.count(); ++e) seen[n].weights += weightOf(n, e);
    Work work;
    for (std::size_t first = 0; first < points.size(); first += groupSize) {
        GroupPlaces places;
        std::array<Pose::Vector, groupSize> at;
        for (std::size_t i = 0; i < groupSize; ++i) {
            at[i] = positions.at(points[std::min(first + i, points.size() - 1)]);
            places.x[i] = at[i][0];
            places.y[i] = at[i][1];
            places.z[i] = at[i][2];
        }
        sumUp(places, limitOf, work);
        for (std::size_t n = 0; n < seen.size(); ++n)
            for (std::size_t i = 0; i < groupSize; ++i) {
                double amplitude = 0;
                for (std::size_t e = 0; e < elements.count(); ++e)
                    amplitude += weightOf(n, e) * amplitudeOf(e, given[n / weightings].wave, at[i]);
                const double value = std::hypot(work.sums[n].re[i], work.sums[n].im[i]);
                seen[n].amplitude = std::max(seen[n].amplitude, amplitude);
                seen[n].largest = std::max(seen[n].largest, value - error * amplitude);
            }
    }
    return seen;
}

/// At most what rounding adds to a value, relative to the sum of the elements' amplitudes.
double ToneFields::roundingWith(const WaveBand& band) const {
    double ofIntegrals = 0;
    double radius = 0;
    for (std::size_t e = 0; e < elements.count(); ++e) {
        const OutlineField& outline = elements.outlineOf(e);
        ofIntegrals =
            std::max(ofIntegrals, 512 + 32 * band.wavenumber * perimeterOf(outline.outline()));
        radius = std::max(radius, outline.circle().radius);
    }
    const double reach = 16 * band.wavenumber * reachOf(elements, positions);
    return 0x1p-53 * (ofIntegrals + reach) *
           std::exp(band.attenuation * OutlineField::besideRadii * radius);
}

/// Finds the limit of the elements from what is known of the largest |p|.
/// @return false unless it is known that the tolerance is kept
bool ToneFields::findLimit(const std::vector<ToneWave>& given, const WaveBand& band) {
    constexpr double farthest = 1e9;
    if (!(band.wavenumber * reachOf(elements, positions) <= farthest)) return false;
    const double tolerance = request.tolerance->value;
    const double ofResult = request.inSingle() ? 0x1p-23 : 0;
    const double ofElements = roundingWith(band);
    double least = std::numeric_limits<double>::infinity();
    for (const Seen& of : preview(given)) {
        const double rounding = ofElements * of.amplitude / of.largest + ofResult;
        if (!(of.largest > std::numeric_limits<float>::min() && rounding >= 0 &&
              rounding <= shareOfRounding * tolerance))
            return false;
        least = std::min(least, of.largest / of.weights);
    }
    limit = {{(1 - shareOfRounding) * tolerance * least}, false};
    findNodes();
    return true;
}

void ToneFields::findNodes() {
    const auto points = thinned(samplePoints(request.lattice.sizes, false),
                                std::max<std::size_t>(2, 64 / elements.count()));
    ContourFields::Work work;
    for (const auto& index : points) {
        GroupPlaces places;
        positions.group(numberOf(index) / groupSize, places);
        for (std::size_t e = 0; e < elements.count(); ++e)
            nodes += elements.evaluationsOf(e, places, limit, work);
    }
    nodes /= static_cast<double>(points.size());
}

double ToneFields::evaluationsOfAPoint() const noexcept {
    return nodes * static_cast<double>(tones);
}

double ToneFields::secondsOfAPoint() const noexcept {
    constexpr double ofPath = 1.5e-9;
    constexpr double ofRun = 1e-9;
    constexpr double ofTone = 0.25e-9;
    const double ofStarts = (runs.front().attenuation == 0 ? 1 : 2) * ofRun;
    return nodes * (ofPath + ofStarts * static_cast<double>(runs.size()) +
                    ofTone * static_cast<double>(tones));
}

std::int64_t ToneFields::memory() const noexcept {
    constexpr std::int64_t ofNodes = 1 << 20;
    const auto ofSums =
        static_cast<std::int64_t>(tones * (weightings + 2) * sizeof(ContourSums::Sum));
    return usableCores() * (ofNodes + ofSums);
}

template <class T>
void ToneFields::compute(const LatticeBox& box, std::complex<T>* values,
                         const Conduct& conduct) const {
    const unsigned threads = conduct.threads > 0 ? conduct.threads : threadCount();
    constexpr double aPiece = 0.05;  // s
    const double most = aPiece / secondsOfAPoint() * std::min(threads, usableCores());
    const std::int64_t all = box.points();
    std::int64_t done = 0;
    inPieces(box, std::max<std::int64_t>(groupSize, static_cast<std::int64_t>(std::min(most, 1e9))),
             [&](const LatticeBox& piece) {
                 if (conduct.stop.stop_requested()) throw Stopped();
                 fill(piece, values + done, all, threads);
                 done += piece.points();
                 if (conduct.progress) conduct.progress(done * static_cast<std::int64_t>(tones));
             });
}

template <class T>
void ToneFields::fill(const LatticeBox& box, std::complex<T>* values, std::int64_t toNext,
                      unsigned threads) const {
    const GroupRuns groups(box, request.lattice.sizes);
    constexpr std::int64_t aTurn = 2;
    inParallel(groups.count(), aTurn, groups.count() > aTurn ? threads : 1,
               [&](std::int64_t first, std::int64_t last) {
                   Work work;
                   for (std::int64_t i = first; i < last; ++i) {
                       const GroupRuns::Piece piece = groups.piece(i);
                       if (piece.first == piece.last) continue;
                       GroupPlaces places;
                       positions.group(piece.group, places);
                       sumUp(
                           places, [this](std::size_t) { return limit; }, work);
                       std::complex<T>* to = values + piece.to;
                       for (const ContourSums::Sum& sum : work.sums) {
                           for (std::int64_t p = piece.first; p < piece.last; ++p) {
                               const std::int64_t from = p - piece.beginOfGroup();
                               to[p - piece.first] = {static_cast<T>(sum.re[from]),
                                                      static_cast<T>(sum.im[from])};
                           }
                           to += toNext;
                       }
                   }
               });
}

template void ToneFields::compute(const LatticeBox&, std::complex<float>*, const Conduct&) const;
template void ToneFields::compute(const LatticeBox&, std::complex<double>*, const Conduct&) const;

}  // namespace pistonfield
