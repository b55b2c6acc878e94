// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/ArrayTerms.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "field/PatchSums.h"
#include "field/errorLimits.h"
#include "parallel/threads.h"

namespace pistonfield {

namespace {

/// Elements times points that one looks at beforehand, and to measure.
constexpr std::size_t mostPreviewed = 1 << 23;
constexpr std::size_t mostMeasured = 1 << 19;

std::vector<Pose::Vector> centresOf(const Array& array) {
    std::vector<Pose::Vector> centres;
    centres.reserve(array.elements.size());
    for (const Element& element : array.elements) centres.push_back(element.pose.centre);
    return centres;
}

std::string nameOfElement(std::size_t i) { return "element " + std::to_string(i + 1); }

/// Does a work with ranges of the points' numbers, in threads.
template <class Work>
void inThreads(const std::vector<ArrayTerms::Index>& points, const Watch& watch, Work work) {
    constexpr std::int64_t some = 4;
    const auto count = static_cast<std::int64_t>(points.size());
    inParallel(count, some, count > some ? watch.threads() : 1,
               [&work](std::int64_t first, std::int64_t last) {
                   work(static_cast<std::size_t>(first), static_cast<std::size_t>(last));
               });
}

double distanceOf(const Pose::Vector& v) { return std::hypot(v[0], v[1], v[2]); }

}  // namespace

ArrayTerms::ArrayTerms(const Request& request, const Watch& watch)
    : ElementTerms(request, request.array->elements.size(), {mostPreviewed, 8, mostMeasured, 2}),
      fields(request.array->elements, request.wave) {
    requireSides();
    reach = reachFrom(centresOf(array()));
    if (!request.behind) requireBefore(watch);
    previews = previewsOf(watch);
    const double rounding = roundingIn(request.inSingle());
    const double asked = request.tolerance->value;
    if (!(asked >= 2 * rounding && rounding >= 0)) refuseTolerance(2 * rounding, request);
    share = asked - rounding;
}

void ArrayTerms::requireSides() const {
    const double wavelength = 2 * std::numbers::pi / request().wave.wavenumber;
    for (std::size_t i = 0; i < fields.count(); ++i)
        for (const double side : {fields[i].piston.width, fields[i].piston.height})
            if (const std::string reason = whySideIsRefused(side / wavelength); !reason.empty())
                throw InvalidRequest("elements", nameOfElement(i) + ": " + reason);
}

void ArrayTerms::requireBefore(const Watch& watch) const {
    const auto bounds = positions().bounds();
    const double rounding = 8 * 0x1p-53 * reach / request().wave.wavenumber;
    for (std::size_t i = 0; i < fields.count(); ++i) {
        watch.look();
        if (const auto position = pointBehind(fields[i].pose, bounds, rounding))
            refuseBehind(*position, nameOfElement(i), request());
    }
}

ErrorLimit ArrayTerms::limitOf(const Face& face, double part) const {
    if (isLocal()) return localLimit(face, part * share);
    double least = HUGE_VAL;
    for (const Preview& preview : previews)
        least = std::min(least, preview.largest / preview.weights);
    return {part * share * least};
}

std::vector<std::complex<double>> ArrayTerms::previewAt(const std::vector<Index>& points,
                                                        double fraction, const Watch& watch) const {
    const std::size_t weightings = array().weightings();
    const auto limitOf = [fraction](const Face& face) { return localLimit(face, fraction); };
    const PatchSums<double> sums(array(), request().wave, limitOf, {1, 1});
    std::vector<std::complex<double>> values(points.size() * weightings);
    inThreads(points, watch, [&](std::size_t first, std::size_t last) {
        PatchSums<double>::Work work(sums);
        for (std::size_t i = first; i < last; ++i) {
            watch.look();
            LatticePatches::Piece piece{};
            const auto position = positions().at(points[i]);
            std::copy(position.begin(), position.end(), piece.patch.middle);
            piece.patch.count[0] = piece.patch.count[1] = 1;
            piece.count = {1, 1};
            sums.compute(piece, work);
            for (std::size_t w = 0; w < weightings; ++w)
                values[i * weightings + w] = work.at(w, 0, 0);
        }
    });
    return values;
}

std::vector<std::complex<double>> ArrayTerms::pressureAt(const std::vector<Index>& points,
                                                         double fraction) const {
    const std::size_t weightings = array().weightings();
    std::vector<std::complex<double>> values(points.size() * weightings);
    inThreads(points, {}, [&](std::size_t first, std::size_t last) {
        GroupValues<double> group;
        for (std::size_t number = first; number < last; ++number) {
            const auto position = positions().at(points[number]);
            for (std::size_t i = 0; i < fields.count();) {
                const int some = fields.alike(i);
                fields.computeAt(position, i, some, localLimit(fields.faceOf(i), fraction), group);
                for (int lane = 0; lane < some; ++lane, ++i)
                    for (std::size_t w = 0; w < weightings; ++w)
                        values[number * weightings + w] +=
                            array().weights[w * fields.count() + i] *
                            std::complex<double>(group.re[lane], group.im[lane]);
            }
        }
    });
    return values;
}

std::vector<ArrayTerms::Amplitudes> ArrayTerms::amplitudesAt(const std::vector<Index>& points,
                                                             const Watch& watch) const {
    const std::size_t weightings = array().weightings();
    std::vector<double> magnitudes;
    magnitudes.reserve(array().weights.size());
    for (const std::complex<double>& weight : array().weights)
        magnitudes.push_back(std::abs(weight));
    std::vector<Amplitudes> amplitudes(points.size() * weightings);
    inThreads(points, watch, [&](std::size_t first, std::size_t last) {
        std::vector<double> local(fields.count());
        for (std::size_t number = first; number < last; ++number) {
            watch.look();
            const auto position = positions().at(points[number]);
            for (std::size_t i = 0; i < local.size(); ++i)
                local[i] =
                    localAmplitude(fields.faceOf(i), distanceOf(fields[i].pose.placeOf(position)));
            for (std::size_t w = 0; w < weightings; ++w) {
                Amplitudes& sums = amplitudes[number * weightings + w];
                for (std::size_t i = 0; i < local.size(); ++i) {
                    const double amplitude = magnitudes[w * local.size() + i] * local[i];
                    sums.sum += amplitude;
                    sums.square += amplitude * amplitude;
                }
            }
        }
    });
    return amplitudes;
}

double ArrayTerms::roundingIn(bool inSingle) const {
    double perElement = 0;
    for (const Face& face : fields.differentFaces())
        perElement = std::max(perElement, roundingOfIntegrals(face, inSingle));
    const bool inTwo = inSingle && isOnGpu(request().mode);
    perElement += (inTwo ? roundingOfPhaseInTwo : roundingOfPhase) * reach;
    if (isLocal()) return perElement;
    double most = 0;
    for (const Preview& preview : previews)
        most = std::max(most, perElement * preview.rounding / preview.largest);
    return most;
}

auto ArrayTerms::previewsOf(const Watch& watch) const -> std::vector<Preview> {
    const std::size_t weightings = array().weightings();
    std::vector<Preview> seen(weightings);
    for (std::size_t w = 0; w < weightings; ++w)
        for (std::size_t i = 0; i < fields.count(); ++i)
            seen[w].weights += std::abs(array().weights[w * fields.count() + i]);
    if (isLocal()) return seen;
    constexpr double error = 1e-8;
    // Elements' rounding errors have no common sign: of many elements they add up to a few times
    // the root of the sum of their squares.
    constexpr double ofMany = 4;
    const std::vector<Index> points = coarsePoints();
    const auto values = previewAt(points, error, watch);
    const std::vector<Amplitudes> amplitudes = amplitudesAt(points, watch);
    for (std::size_t i = 0; i < values.size(); ++i) {
        Preview& of = seen[i % weightings];
        const auto& [sum, square] = amplitudes[i];
        of.rounding = std::max(of.rounding, std::min(sum, ofMany * std::sqrt(square)));
        of.largest = std::max(of.largest, std::abs(values[i]) - error * sum);
    }
    return seen;
}

Accuracy ArrayTerms::measure(const std::vector<std::complex<double>>& values) const {
    const std::vector<Index> points = finePoints();
    const auto finer = pressureAt(points, 1e-14);
    const std::vector<Amplitudes> amplitudes =
        isLocal() ? amplitudesAt(points, {}) : std::vector<Amplitudes>();
    const std::size_t weightings = previews.size();
    Accuracy measured{request().tolerance->value, 0, 0, static_cast<std::int64_t>(points.size())};
    for (std::size_t i = 0; i < finer.size(); ++i) {
        const double unit = isLocal() ? amplitudes[i].sum : previews[i % weightings].largest;
        const double error = std::abs(values[i] - finer[i]) / unit;
        if (!(error <= measured.error) && !std::isnan(measured.error)) measured.error = error;
    }
    return measured;
}

}  // namespace pistonfield
