// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Radiated powers for C.

#include <complex>
#include <optional>
#include <vector>

#include "arrays/RadiatedPower.h"
#include "capi/Watched.h"
#include "capi/outcome.h"
#include "capi/pistonfield.h"
#include "capi/requests.h"

namespace {

using namespace pistonfield;

/// What radiates: the one weighting of an array, or the piston as an array.
Array onlyWeighting(const Request& request) {
    if (!request.array) return {{{request.piston, {}, {}}}, {1.0}};
    if (request.array->weightings() != 1)
        throw InvalidRequest("weightings",
                             std::to_string(request.array->weightings()) + " are not one");
    return *request.array;
}

RadiatedPower powerOf(const Request& request, const Conduct& conduct) {
    const Array array = onlyWeighting(request);
    PowerSearch search(array.elements, array.weights, request.wave, usualWay(array.elements), {},
                       request.baffle);
    for (;;) {
        if (conduct.progress) conduct.progress(0);
        if (conduct.stop.stop_requested()) throw Stopped();
        if (const std::optional<RadiatedPower> power = search.step(conduct.threads)) return *power;
    }
}

}  // namespace

pistonfield_status pistonfield_request_power(const pistonfield_request* request,
                                             const pistonfield_conduct* conduct, double* power,
                                             pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        requireGiven(power, "power");
        const Request asked = requestOf(request);
        const Watched watched(conduct);
        *power = powerOf(asked, watched.get()).value;
    });
}
