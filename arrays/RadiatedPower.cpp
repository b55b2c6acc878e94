// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/RadiatedPower.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "arrays/PowerSum.h"
#include "arrays/arrangement.h"
#include "arrays/arrayRequests.h"
#include "parallel/threads.h"

namespace pistonfield {

namespace {

constexpr int mostRefinements = 6;

void requirePositive(const char* name, double value) {
    if (!(std::isfinite(value) && value > 0)) throw InvalidRequest(name, "must be above 0");
}

/// The way that takes a sum of pairs, or the sphere: in one plane both find the same power.
PowerBy wayOf(PowerBy way, const std::vector<Element>& elements) {
    if (way == PowerBy::farField) return way;
    if (!areCoplanar(elements))
        throw InvalidRequest("elements",
                             "those that are not in one plane are not each other's baffle");
    return areParallel(elements) ? PowerBy::faces : PowerBy::farField;
}

}  // namespace

double RadiatedPower::velocityFor(double power, double density, double speed) const {
    requirePositive("power", power);
    requirePositive("density", density);
    requirePositive("speed", speed);
    return std::sqrt(power / (density * speed * value));
}

struct PowerSearch::Parts {
    std::vector<Element> elements;
    std::vector<std::complex<double>> weights;
    double wavenumber;
    PowerBy way;
    std::unique_ptr<const PowerSum> sum{};  ///< by the rule of the state
};

PowerSearch::PowerSearch(std::vector<Element> elements, std::vector<std::complex<double>> weights,
                         const Wave& wave, PowerBy way, const PowerState& from)
    : at(from) {
    requireElements(elements);
    requireRectangles(elements);
    requireWeights(weights, elements);
    requirePositive("wavenumber", wave.wavenumber);
    if (wave.attenuation != 0)
        throw InvalidRequest("attenuation", "powers are known without losses alone");
    if (at.refinement < 0 || at.refinement > mostRefinements)
        throw InvalidRequest("state", "there is no such refinement");
    const PowerBy best = wayOf(way, elements);
    parts = std::make_unique<Parts>(
        Parts{std::move(elements), std::move(weights), wave.wavenumber, best});
    prepare();
}

PowerSearch::PowerSearch(PowerSearch&&) noexcept = default;
PowerSearch& PowerSearch::operator=(PowerSearch&&) noexcept = default;
PowerSearch::~PowerSearch() = default;

void PowerSearch::prepare() {
    const auto make = parts->way == PowerBy::faces ? makePairPower : makeSpherePower;
    parts->sum = make(parts->elements, parts->weights, parts->wavenumber, at.refinement);
    if (at.parts < 0 || at.parts > parts->sum->parts())
        throw InvalidRequest("state", "there are no such parts");
}

std::optional<RadiatedPower> PowerSearch::step(unsigned threads) {
    constexpr double perStep = 5e6;  // of a part's cost: about a twentieth of a second
    constexpr double enough = 1e-9;
    const unsigned most = threads == 0 ? threadCount() : std::min(threads, mostThreads);
    const PowerSum& sum = *parts->sum;
    const double some = std::max(1.0, perStep / sum.costOfAPart()) * most;
    const auto count =
        static_cast<std::int64_t>(std::min(some, static_cast<double>(sum.parts() - at.parts)));
    std::vector<double> values(static_cast<std::size_t>(count));
    inParallel(count, 1, most, [&](std::int64_t first, std::int64_t last) {
        for (std::int64_t i = first; i < last; ++i)
            values[static_cast<std::size_t>(i)] = sum.part(at.parts + i);
    });
    // One after the other, so that the sum depends on neither threads nor steps.
    for (const double value : values) at.sum += value;
    at.parts += count;
    if (at.parts < sum.parts()) return std::nullopt;
    const double change = std::abs(at.sum - at.coarser);
    if (at.refinement > 0 && (change <= enough * at.sum || at.refinement == mostRefinements))
        return RadiatedPower{at.sum, change};
    at = {at.refinement + 1, 0, 0, at.sum};
    prepare();
    return std::nullopt;
}

RadiatedPower radiatedPower(const std::vector<Element>& elements,
                            const std::vector<std::complex<double>>& weights, const Wave& wave,
                            PowerBy way, const Conduct& conduct) {
    PowerSearch search(elements, weights, wave, way);
    for (;;) {
        if (conduct.stop.stop_requested()) throw Stopped();
        if (const auto power = search.step(conduct.threads)) return *power;
    }
}

}  // namespace pistonfield
