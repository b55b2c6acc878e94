// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Weights for C: how the room arrays/ drives elements.

#include <algorithm>
#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "arrays/Foci.h"
#include "arrays/Window.h"
#include "arrays/elementPressures.h"
#include "arrays/quantised.h"
#include "arrays/steering.h"
#include "capi/Watched.h"
#include "capi/elements.h"
#include "capi/memberNames.h"
#include "capi/outcome.h"
#include "capi/pistonfield.h"
#include "capi/requests.h"

namespace {

using namespace pistonfield;

using Weights = std::vector<std::complex<double>>;

static_assert(PISTONFIELD_ALONG_X == static_cast<int>(WindowAlong::x));
static_assert(PISTONFIELD_ALONG_Y == static_cast<int>(WindowAlong::y));
static_assert(PISTONFIELD_ALONG_RADIUS == static_cast<int>(WindowAlong::radius));

DrivenElements drivenElementsOf(const pistonfield_driven* given) {
    const pistonfield_driven& array = required(given, "driven");
    return {elementsFrom(array.array, array.elements), {array.wavenumber}};
}

PointList pointsOf(const pistonfield_places& given) {
    return pointsFrom(given.x, given.y, given.z, given.points);
}

Weights complexFrom(const double* parts, std::int64_t count) {
    Weights values;
    values.reserve(static_cast<std::size_t>(count));
    for (std::int64_t i = 0; i < count; ++i) values.emplace_back(parts[2 * i], parts[2 * i + 1]);
    return values;
}

void write(const Weights& values, double* to) {
    for (const std::complex<double>& value : values) {
        *to++ = value.real();
        *to++ = value.imag();
    }
}

Pose::Vector onlyPlace(const pistonfield_places& given) {
    if (given.points != 1)
        throw InvalidRequest("points", std::to_string(given.points) + " are not one");
    const PointList points = pointsOf(given);
    return {points.x.front(), points.y.front(), points.z.front()};
}

Foci fociFrom(const pistonfield_foci& given) {
    requireGiven(given.pressures, "pressures");
    const pistonfield_places& places = given.places;
    constexpr auto most = static_cast<std::int64_t>(Foci::mostPoints);
    // Before memory is taken for them.
    if (places.points > most)
        throw InvalidRequest("points", std::to_string(places.points) + " are not within 1 to " +
                                           std::to_string(most));
    Foci foci;
    foci.points = pointsOf(places);
    foci.pressures = complexFrom(given.pressures, places.points);
    foci.tolerance = places.tolerance;
    foci.leastRatio = given.least_ratio;
    if (given.largest_weight != nullptr) foci.largestWeight = *given.largest_weight;
    foci.iterations = given.iterations;
    foci.behind = places.behind != 0;
    return foci;
}

WindowAlong alongNumbered(std::int32_t number) {
    if (number < PISTONFIELD_ALONG_X || number > PISTONFIELD_ALONG_RADIUS)
        throw InvalidRequest("along", std::to_string(number) + " is none of 0 to 2");
    return static_cast<WindowAlong>(number);
}

void findFocus(const DrivenElements& array, const pistonfield_places* focus, double* weights,
               const Conduct& conduct = {}) {
    const pistonfield_places& place = required(focus, "focus");
    requireGiven(weights, "weights");
    write(focusWeights(array.elements, array.wave, onlyPlace(place), place.tolerance,
                       place.behind != 0, array.baffle, conduct),
          weights);
}

void findFoci(const DrivenElements& array, const pistonfield_foci* foci, double* weights,
              pistonfield_foci_result* result, const Conduct& conduct = {}) {
    Foci demanded = fociFrom(required(foci, "foci"));
    demanded.baffle = array.baffle;
    requireGiven(weights, "weights");
    const FociWeights found =
        namedForC([&] { return weightsOf(demanded, array.elements, array.wave, conduct); });
    write(found.weights, weights);
    if (result != nullptr)
        *result = {static_cast<std::int64_t>(found.dropped),
                   found.leastKept,
                   found.efficiency,
                   found.iterations,
                   found.scale,
                   found.residual};
}

void findPlaneWave(const DrivenElements& array, const double* direction, double* weights,
                   const Conduct& conduct = {}) {
    requireGiven(direction, "direction");
    requireGiven(weights, "weights");
    write(planeWaveWeights(array.elements, array.wave, {direction[0], direction[1], direction[2]},
                           conduct),
          weights);
}

void applyWindow(const DrivenElements& array, const pistonfield_window* window, double* weights) {
    const pistonfield_window& given = required(window, "window");
    requireGiven(given.name, "name");
    requireGiven(weights, "weights");
    const Window shape{windowCalled(given.name), given.parameter};
    const std::vector<double> values =
        windowValues(shape, alongNumbered(given.along), array.elements);
    for (std::size_t i = 0; i < values.size(); ++i) {
        weights[2 * i] *= values[i];
        weights[2 * i + 1] *= values[i];
    }
}

/// Replaces so many weights by what a function makes of them.
template <class Change>
pistonfield_status change(double* weights, std::int64_t count, const Change& made,
                          pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        requireGiven(weights, "weights");
        constexpr auto most = static_cast<std::int64_t>(Array::mostElements);
        if (count < 1 || count > most)
            throw InvalidRequest(
                "count", std::to_string(count) + " is not within 1 to " + std::to_string(most));
        write(made(complexFrom(weights, count)), weights);
    });
}

}  // namespace

pistonfield_status pistonfield_weights_of_focus(const pistonfield_driven* driven,
                                                const pistonfield_places* focus, double* weights,
                                                pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] { findFocus(drivenElementsOf(driven), focus, weights); });
}

pistonfield_status pistonfield_request_focus(const pistonfield_request* request,
                                             const pistonfield_places* focus, double* weights,
                                             pistonfield_message* message) noexcept {
    return pistonfield_request_focus_watched(request, focus, nullptr, weights, message);
}

pistonfield_status pistonfield_request_focus_watched(const pistonfield_request* request,
                                                     const pistonfield_places* focus,
                                                     const pistonfield_conduct* conduct,
                                                     double* weights,
                                                     pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        const Watched watched(conduct);
        findFocus(drivenElementsOf(request), focus, weights, watched.get());
    });
}

pistonfield_status pistonfield_weights_of_foci(const pistonfield_driven* driven,
                                               const pistonfield_foci* foci, double* weights,
                                               pistonfield_foci_result* result,
                                               pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] { findFoci(drivenElementsOf(driven), foci, weights, result); });
}

pistonfield_status pistonfield_request_foci(const pistonfield_request* request,
                                            const pistonfield_foci* foci, double* weights,
                                            pistonfield_foci_result* result,
                                            pistonfield_message* message) noexcept {
    return pistonfield_request_foci_watched(request, foci, nullptr, weights, result, message);
}

pistonfield_status pistonfield_request_foci_watched(const pistonfield_request* request,
                                                    const pistonfield_foci* foci,
                                                    const pistonfield_conduct* conduct,
                                                    double* weights,
                                                    pistonfield_foci_result* result,
                                                    pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        const Watched watched(conduct);
        findFoci(drivenElementsOf(request), foci, weights, result, watched.get());
    });
}

pistonfield_status pistonfield_weights_of_plane_wave(const pistonfield_driven* driven,
                                                     const double* direction, double* weights,
                                                     pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] { findPlaneWave(drivenElementsOf(driven), direction, weights); });
}

pistonfield_status pistonfield_request_plane_wave(const pistonfield_request* request,
                                                  const double* direction, double* weights,
                                                  pistonfield_message* message) noexcept {
    return pistonfield_request_plane_wave_watched(request, direction, nullptr, weights, message);
}

pistonfield_status pistonfield_request_plane_wave_watched(const pistonfield_request* request,
                                                          const double* direction,
                                                          const pistonfield_conduct* conduct,
                                                          double* weights,
                                                          pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        const Watched watched(conduct);
        findPlaneWave(drivenElementsOf(request), direction, weights, watched.get());
    });
}

void pistonfield_direction(double azimuth, double elevation, double* direction) noexcept {
    if (direction == nullptr) return;
    const Pose::Vector found = directionOf(azimuth, elevation);
    std::copy(found.begin(), found.end(), direction);
}

pistonfield_status pistonfield_element_pressures(const pistonfield_driven* driven,
                                                 const pistonfield_places* places,
                                                 double* pressures,
                                                 pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        const DrivenElements array = drivenElementsOf(driven);
        const pistonfield_places& given = required(places, "places");
        requireGiven(pressures, "pressures");
        write(elementPressures(array.elements, array.wave, pointsOf(given), given.tolerance,
                               given.behind != 0),
              pressures);
    });
}

pistonfield_status pistonfield_weights_window(const pistonfield_driven* driven,
                                              const pistonfield_window* window, double* weights,
                                              pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] { applyWindow(drivenElementsOf(driven), window, weights); });
}

pistonfield_status pistonfield_request_window(const pistonfield_request* request,
                                              const pistonfield_window* window, double* weights,
                                              pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] { applyWindow(drivenElementsOf(request), window, weights); });
}

pistonfield_status pistonfield_weights_round_phases(double* weights, std::int64_t count,
                                                    std::int32_t bits,
                                                    pistonfield_message* message) noexcept {
    return change(
        weights, count, [bits](const Weights& given) { return withQuantisedPhases(given, bits); },
        message);
}

pistonfield_status pistonfield_weights_round_delays(double* weights, std::int64_t count,
                                                    double frequency, double step,
                                                    pistonfield_message* message) noexcept {
    return change(
        weights, count,
        [&](const Weights& given) { return withQuantisedDelays(given, frequency, step); }, message);
}

pistonfield_status pistonfield_weights_round_amplitudes(double* weights, std::int64_t count,
                                                        std::int64_t levels,
                                                        pistonfield_message* message) noexcept {
    return change(
        weights, count,
        [levels](const Weights& given) { return withQuantisedAmplitudes(given, levels); }, message);
}
