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

/// What finds a power.
enum class Sum { rectangles, outlines, sphere };

bool areRectangles(const std::vector<Element>& elements) {
    return std::none_of(elements.begin(), elements.end(),
                        [](const Element& element) { return element.outline != nullptr; });
}

/// With losses nothing arrives far away, and the integrals over the faces are those before a rigid
/// baffle.
void requirePower(const Wave& wave, PowerBy way, Baffle baffle) {
    if (!(wave.attenuation >= 0 && wave.attenuation <= wave.wavenumber))
        throw InvalidRequest("attenuation", "must be within 0 and the wavenumber");
    if (wave.attenuation == 0) return;
    if (baffle != Baffle::rigid)
        throw InvalidRequest("attenuation",
                             "with losses the power is known in a rigid baffle alone");
    if (way == PowerBy::farField)
        throw InvalidRequest("attenuation",
                             "with losses no power arrives far away: it is that through the "
                             "faces, of elements in one plane");
}

/// In one plane the sums of pairs and the sphere find the same power.
Sum sumFor(PowerBy way, const std::vector<Element>& elements, const Wave& wave, Baffle baffle) {
    requirePower(wave, way, baffle);
    if (way == PowerBy::farField) return Sum::sphere;
    if (!areCoplanar(elements))
        throw InvalidRequest("elements",
                             "those that are not in one plane are not each other's baffle");
    if (baffle == Baffle::free) return Sum::sphere;
    if (wave.attenuation > 0 || baffle == Baffle::soft || !areRectangles(elements))
        return Sum::outlines;
    return areParallel(elements) ? Sum::rectangles : Sum::sphere;
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
    Wave wave;
    Baffle baffle;
    Sum way;
    std::unique_ptr<const PowerSum> sum{};  ///< by the rule of the state
};

PowerSearch::PowerSearch(std::vector<Element> elements, std::vector<std::complex<double>> weights,
                         const Wave& wave, PowerBy way, const PowerState& from, Baffle baffle)
    : at(from) {
    requireElements(elements);
    requireWeights(weights, elements);
    requirePositive("wavenumber", wave.wavenumber);
    if (at.refinement < 0 || at.refinement > mostRefinements)
        throw InvalidRequest("state", "there is no such refinement");
    const Sum best = sumFor(way, elements, wave, baffle);
    parts =
        std::make_unique<Parts>(Parts{std::move(elements), std::move(weights), wave, baffle, best});
    prepare();
}

PowerSearch::PowerSearch(PowerSearch&&) noexcept = default;
PowerSearch& PowerSearch::operator=(PowerSearch&&) noexcept = default;
PowerSearch::~PowerSearch() = default;

void PowerSearch::prepare() {
    const auto& [elements, weights, wave, baffle, way, sum] = *parts;
    parts->sum = way == Sum::sphere
                     ? makeSpherePower(elements, weights, wave.wavenumber, baffle, at.refinement)
                 : way == Sum::outlines
                     ? makeOutlinePower(elements, weights, wave, baffle, at.refinement)
                     : makePairPower(elements, weights, wave.wavenumber, at.refinement);
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

PowerBy usualWay(const std::vector<Element>& elements) noexcept {
    return areCoplanar(elements) ? PowerBy::faces : PowerBy::farField;
}

void refuseTooManyPlaces() {
    throw InvalidRequest("elements",
                         "their faces take too many places for the power through them; "
                         "without losses take the far field");
}

RadiatedPower radiatedPower(const std::vector<Element>& elements,
                            const std::vector<std::complex<double>>& weights, const Wave& wave,
                            PowerBy way, const Conduct& conduct, Baffle baffle) {
    PowerSearch search(elements, weights, wave, way, {}, baffle);
    for (;;) {
        if (conduct.stop.stop_requested()) throw Stopped();
        if (const auto power = search.step(conduct.threads)) return *power;
    }
}

}  // namespace pistonfield
