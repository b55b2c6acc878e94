// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/pulseQuestion.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "field/Medium.h"
#include "matlab_src/ThreadLimit.h"
#include "matlab_src/arrayArguments.h"
#include "matlab_src/questionArguments.h"
#include "signals/PulsePlan.h"

namespace questions {

using namespace pistonfield;

namespace {

void readPlace(Arguments arguments, Request& request) {
    const std::string place = textOf(arguments[0], "place");
    if (place == "lattice") {
        request.lattice = {numbersOf<16>(arguments[1], "transform"),
                           indicesOf(arguments[2], "sizes")};
    } else if (place == "list") {
        request.points =
            PointList{numbersOf(arguments[1], "points"), numbersOf(arguments[2], "points"),
                      numbersOf(arguments[3], "points")};
        request.lattice.sizes = {static_cast<std::int64_t>(request.points->x.size()), 1, 1};
    } else {
        throw InvalidRequest("place", "'" + place + "' is none of lattice, list");
    }
}

void readSource(Arguments arguments, Request& request) {
    const std::string source = textOf(arguments[0], "source");
    const Arguments numbers = arguments.subspan(1);
    // The functions look where points of a piston or a disc lie, and allow for rounding.
    request.behind = source != "array" || wholeWithin(0, 1, arguments.back(), "behind") != 0;
    if (source == "piston") {
        request.piston = {numberOf(numbers[0], "width"), numberOf(numbers[1], "height")};
    } else if (source == "disc") {
        const double radius = numberOf(numbers[0], "radius");
        request.array =
            Array{{Element{{}, {}, std::make_shared<const Outline>(discOutline(radius))}}, {1.0}};
    } else if (source == "array") {
        request.array = arrayOf(numbers.first(arrayArguments));
        if (request.array->weightings() > 1)
            throw InvalidRequest("weights", "a pulse takes one column");
    } else {
        throw InvalidRequest("source", "'" + source + "' is none of piston, disc, array");
    }
}

Signal signalIn(const host::Array* re, const host::Array* im, double rate) {
    if (sizeOf(im) == 0) return {numbersOf(re, "signal"), rate};
    return signalOf(complexNumbersOf(re, im, "signal"), rate);
}

/// The medium: its speed, attenuation and exponent, and where they are given the frequency at which
/// that is the phase speed.
WaveAt waveOf(const std::vector<double>& numbers) {
    constexpr std::size_t least = 3;
    if (numbers.size() != least && numbers.size() != least + 1)
        throw InvalidRequest("speed", "takes the attenuation and the exponent behind it");
    if (numbers[1] == 0) return lossless(numbers[0]);
    Medium medium{.speed = numbers[0], .attenuation = numbers[1], .exponent = numbers[2]};
    if (numbers.size() > least) medium.dispersionFrequency = numbers.back();
    return [medium](double frequency) { return waveIn(medium, frequency); };
}

/// Tells a function of the host, if there is one, about how many points of all are done.
Conduct conductOf(const host::Array* function, double all) {
    if (sizeOf(function) == 0) return {};
    using Clock = std::chrono::steady_clock;
    Conduct conduct;
    conduct.progress = [function, all, last = Clock::now()](std::int64_t points) mutable {
        constexpr std::chrono::milliseconds often(200);
        if (Clock::now() - last < often) return;
        if (!host::tell(function, static_cast<double>(points) / all)) throw Stopped();
        last = Clock::now();
    };
    return conduct;
}

}  // namespace

host::Array* pulseOf(Arguments arguments) {
    constexpr std::size_t placeArguments = 4;
    constexpr std::size_t sourceArguments = 1 + arrayArguments + 1;
    constexpr std::size_t pulseArguments = 9;
    expectArguments(arguments, 1 + placeArguments + sourceArguments + pulseArguments);
    PulseRequest request;
    readPlace(arguments.subspan(1, placeArguments), request.field);
    readSource(arguments.subspan(1 + placeArguments, sourceArguments), request.field);
    const Arguments others = arguments.last(pulseArguments);
    request.field.mode = modeOf(others[0]);
    request.field.tolerance = Tolerance{numberOf(others[1], "tolerance")};
    request.signal = signalIn(others[2], others[3], numberOf(others[4], "rate"));
    const std::vector<double> medium = numbersOf(others[5], "speed");
    request.wave = waveOf(medium);
    request.speed = medium.front();
    request.delays = numbersOf(others[6], "delays");
    const ThreadLimit limit(others[7]);

    const std::int64_t points = request.field.lattice.box().points();
    const PulsePlan plan(std::move(request));
    constexpr std::size_t head = 7;
    host::Array* const result =
        host::createReal(1, head + static_cast<std::size_t>(points * plan.times()));
    double* const numbers = host::resultReal(result);
    const double all = static_cast<double>(points) * static_cast<double>(plan.frequencies().size());
    const PulseError error = plan.compute(numbers + head, conductOf(others[8], all));
    const std::array<double, head> told{plan.start(),
                                        static_cast<double>(plan.times()),
                                        static_cast<double>(plan.frequencies().size()),
                                        error.sampling,
                                        error.dropped,
                                        error.tolerance,
                                        error.folded};
    std::copy(told.begin(), told.end(), numbers);
    return result;
}

}  // namespace questions
