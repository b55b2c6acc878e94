// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/fieldQuestions.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/limits.h"
#include "field/Medium.h"
#include "field/Plan.h"
#include "matlab_src/NamedValues.h"
#include "matlab_src/ThreadLimit.h"
#include "matlab_src/arrayArguments.h"
#include "matlab_src/questionArguments.h"

namespace questions {

using namespace pistonfield;

namespace {

void readLattice(Arguments arguments, Request& request) {
    request.lattice = {numbersOf<16>(arguments[0], "transform"), indicesOf(arguments[1], "sizes")};
}

void readList(Arguments arguments, Request& request) {
    request.points = PointList{numbersOf(arguments[0], "points"), numbersOf(arguments[1], "points"),
                               numbersOf(arguments[2], "points")};
    request.lattice.sizes = {static_cast<std::int64_t>(request.points->x.size()), 1, 1};
}

void readPiston(Arguments arguments, Request& request) {
    request.piston = {numberOf(arguments[0], "width"), numberOf(arguments[1], "height")};
    // The functions look where points lie, and allow for rounding.
    request.behind = true;
}

void readArray(Arguments arguments, Request& request) {
    request.array = arrayOf(arguments.first(arrayArguments));
    request.behind = wholeWithin(0, 1, arguments[arrayArguments], "behind") != 0;
}

void readWave(Arguments arguments, Request& request) {
    request.wave.wavenumber = numberOf(arguments[0], "wavenumber");
    request.mode = modeOf(arguments[1]);
}

Tolerance::Of relationOf(const host::Array* array) {
    const std::string word = textOf(array, "relative");
    if (word == "largest") return Tolerance::Of::largest;
    if (word == "local") return Tolerance::Of::local;
    throw InvalidRequest("relative", "'" + word + "' is none of largest, local");
}

void readTolerance(Arguments arguments, Request& request) {
    request.tolerance = Tolerance{numberOf(arguments[0], "tolerance"), relationOf(arguments[1])};
}

Quantity quantityOf(const host::Array* array) {
    const std::string word = textOf(array, "quantity");
    if (word == "pressure") return Quantity::pressure;
    if (word == "velocity") return Quantity::velocity;
    if (word == "intensity") return Quantity::intensity;
    throw InvalidRequest("quantity", "'" + word + "' is none of pressure, velocity, intensity");
}

void readPhysics(Arguments arguments, Request& request) {
    request.wave.attenuation = numberOf(arguments[0], "attenuation");
    request.baffle = baffleOf(arguments[1]);
    request.quantity = quantityOf(arguments[2]);
}

void readOrder(Arguments arguments, Request& request) {
    request.rule.order = wholeWithin(1, largestOrder(request.mode), arguments[0], "order");
}

/// A number of arguments, and what reads them.
struct Part {
    std::size_t arguments;
    void (*read)(Arguments arguments, Request& request);
};

constexpr Part lattice{2, readLattice};
constexpr Part list{3, readList};
constexpr Part piston{2, readPiston};
constexpr Part array{arrayArguments + 1, readArray};
constexpr Part wave{2, readWave};
constexpr Part tolerance{2, readTolerance};
constexpr Part physicsOfAll{3, readPhysics};
constexpr Part order{1, readOrder};

/// A request, and the arguments behind those that make it up.
struct Asked {
    Request request;
    Arguments others;
};

/// @param others the number of arguments behind the parts
Asked read(const std::vector<Part>& parts, std::size_t others, Arguments arguments) {
    std::size_t count = 1;  // the question
    for (const Part& part : parts) count += part.arguments;
    expectArguments(arguments, count + others);
    Asked asked{{}, arguments.subspan(1)};
    for (const Part& part : parts) {
        part.read(asked.others, asked.request);
        asked.others = asked.others.subspan(part.arguments);
    }
    return asked;
}

std::vector<Part> partsOf(Place place, Source source, Physics physics) {
    std::vector<Part> parts{place == Place::lattice ? lattice : list,
                            source == Source::piston ? piston : array, wave, tolerance};
    if (physics == Physics::full) parts.push_back(physicsOfAll);
    return parts;
}

/// The arguments of a box: first, count, threads.
constexpr std::size_t boxArguments = 3;

host::Array* fieldOf(Asked asked) {
    const LatticeBox box{indicesOf(asked.others[0], "first"), indicesOf(asked.others[1], "count")};
    const ThreadLimit limit(asked.others[2]);

    const Plan plan(std::move(asked.request));
    plan.require(box);  // before there is a result of its size
    const auto size = [&box](std::size_t i) { return static_cast<std::size_t>(box.size[i]); };
    const auto fields = static_cast<std::size_t>(plan.request().fields());
    host::Array* const result = host::createResult(size(0), size(1), size(2) * fields);
    plan.compute(box, Destination<double>{host::resultReal(result), host::resultImaginary(result),
                                          1, box.points()});
    return result;
}

}  // namespace

host::Array* fieldWithOrder(Arguments arguments) {
    return fieldOf(read({lattice, piston, wave, order}, boxArguments, arguments));
}

host::Array* waveOfMedium(Arguments arguments) {
    NamedValues given(arguments.subspan(1));
    const Medium medium{.speed = given.number("speed"),
                        .attenuation = given.optionalNumber("attenuation").value_or(0),
                        .exponent = given.optionalNumber("exponent").value_or(1),
                        .nepers = given.optionalNumber("nepers"),
                        .dispersionFrequency = given.optionalNumber("dispersionFrequency")};
    const Wave wave = waveIn(medium, given.number("frequency"));
    return rowOf({wave.wavenumber, wave.attenuation});
}

host::Array* fieldWithTolerance(Place place, Source source, Physics physics, Arguments arguments) {
    return fieldOf(read(partsOf(place, source, physics), boxArguments, arguments));
}

host::Array* accuracyFor(Place place, Source source, Physics physics, Arguments arguments) {
    Asked asked = read(partsOf(place, source, physics), 1, arguments);
    const ThreadLimit limit(asked.others[0]);
    const Plan plan(std::move(asked.request));
    const Accuracy accuracy = plan.accuracy().value();
    std::vector<double> answer{accuracy.bound, accuracy.error, accuracy.evaluations};
    const std::string_view engine = plan.engine();
    if (source == Source::array) answer.insert(answer.end(), engine.begin(), engine.end());
    return rowOf(answer);
}

}  // namespace questions
