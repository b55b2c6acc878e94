// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "core/limits.h"
#include "field/Plan.h"
#include "matlab_src/Gateway.h"
#include "parallel/threads.h"

namespace {

using namespace pistonfield;

/// Limits the threads of the CPU for a scope, those of the emulation device included.
class ThreadLimit {
  public:
    explicit ThreadLimit(unsigned most) noexcept { useThreads(most); }
    ThreadLimit(const ThreadLimit&) = delete;
    ThreadLimit& operator=(const ThreadLimit&) = delete;
    ~ThreadLimit() { useThreads(0); }
};

std::size_t elementsOf(const host::Array* array) {
    return host::rows(array) * host::columns(array);
}

bool areDoubles(const host::Array* array) {
    return host::isClass(array, "double") && !host::isClass(array, "sparse") &&
           !host::isComplex(array);
}

template <std::size_t count>
std::array<double, count> numbersOf(const host::Array* array, const char* name) {
    if (!areDoubles(array) || elementsOf(array) != count)
        throw InvalidRequest(name, "must be full, real and of class double, with " +
                                       std::to_string(count) + " elements");
    std::array<double, count> numbers;
    std::copy_n(host::realData(array), count, numbers.begin());
    return numbers;
}

double numberOf(const host::Array* array, const char* name) {
    return numbersOf<1>(array, name).front();
}

std::int64_t whole(double number, const char* name) {
    constexpr double mostExact = 1LL << 53;
    if (std::trunc(number) != number || std::abs(number) > mostExact)
        throw InvalidRequest(name, "must be whole");
    return static_cast<std::int64_t>(number);
}

int wholeWithin(int least, int most, const host::Array* array, const char* name) {
    const std::int64_t number = whole(numberOf(array, name), name);
    if (number < least || number > most)
        throw InvalidRequest(
            name, "must be from " + std::to_string(least) + " to " + std::to_string(most));
    return static_cast<int>(number);
}

std::array<std::int64_t, 3> indicesOf(const host::Array* array, const char* name) {
    const std::array<double, 3> numbers = numbersOf<3>(array, name);
    std::array<std::int64_t, 3> indices{};
    std::transform(numbers.begin(), numbers.end(), indices.begin(),
                   [name](double number) { return whole(number, name); });
    return indices;
}

std::string textOf(const host::Array* array, const char* name) {
    if (!host::isChar(array)) throw InvalidRequest(name, "must be a text");
    std::string text = host::text(array);
    // The host's texts end at the first zero.
    if (text.size() < host::rows(array) * host::columns(array))
        throw InvalidRequest(name, "must be a text without zeros");
    return text;
}

Mode modeOf(const host::Array* array) { return modeCalled(textOf(array, "mode")); }

void expectArguments(Arguments arguments, std::size_t count) {
    if (arguments.size() != count)
        throw InvalidRequest("arguments", std::to_string(arguments.size()) + " in the place of " +
                                              std::to_string(count));
}

std::vector<double> coordinatesOf(const host::Array* array) {
    if (!areDoubles(array))
        throw InvalidRequest("points", "must be full, real and of class double");
    const double* const first = host::realData(array);
    return {first, first + elementsOf(array)};
}

/// transform, sizes
void readLattice(Arguments arguments, Request& request) {
    request.lattice = {numbersOf<16>(arguments[0], "transform"), indicesOf(arguments[1], "sizes")};
}

/// x, y, z
void readPoints(Arguments arguments, Request& request) {
    request.points = PointList{coordinatesOf(arguments[0]), coordinatesOf(arguments[1]),
                               coordinatesOf(arguments[2])};
    request.lattice.sizes = {static_cast<std::int64_t>(request.points->x.size()), 1, 1};
}

/// width, height, wavenumber, mode
void readPiston(Arguments arguments, Request& request) {
    request.piston.width = numberOf(arguments[0], "width");
    request.piston.height = numberOf(arguments[1], "height");
    request.wave.wavenumber = numberOf(arguments[2], "wavenumber");
    request.mode = modeOf(arguments[3]);
}

Tolerance::Of relationOf(const host::Array* array) {
    const std::string word = textOf(array, "relative");
    if (word == "largest") return Tolerance::Of::largest;
    if (word == "local") return Tolerance::Of::local;
    throw InvalidRequest("relative", "'" + word + "' is none of largest, local");
}

/// What reads where the points of a question lie, and the number of arguments that it takes.
struct Placement {
    void (*read)(Arguments arguments, Request& request);
    std::size_t arguments;
};

constexpr Placement lattice{readLattice, 2};
constexpr Placement list{readPoints, 3};

/// The arguments of what a question about a tolerance begins with: the question, a place, the
/// piston, tolerance, relative.
std::size_t argumentsWithTolerance(const Placement& place) { return place.arguments + 7; }

Request requestWithTolerance(const Placement& place, Arguments arguments) {
    Request request;
    place.read(arguments.subspan(1), request);
    const Arguments others = arguments.subspan(1 + place.arguments);
    readPiston(others, request);
    request.tolerance = Tolerance{numberOf(others[4], "tolerance"), relationOf(others[5])};
    request.behind = true;  // the functions look where points lie, and allow for rounding
    return request;
}

ThreadLimit threadLimitIn(const host::Array* array) {
    return ThreadLimit(static_cast<unsigned>(wholeWithin(0, mostThreads, array, "threads")));
}

/// @param where first, count, threads
host::Array* fieldOf(Request request, Arguments where) {
    const LatticeBox box{indicesOf(where[0], "first"), indicesOf(where[1], "count")};
    const ThreadLimit limit = threadLimitIn(where[2]);

    const Plan plan(std::move(request));
    plan.require(box);  // before there is a result of its size
    const auto size = [&box](std::size_t i) { return static_cast<std::size_t>(box.size[i]); };
    host::Array* const result = host::createResult(size(0), size(1), size(2));
    plan.compute(box,
                 Destination<double>{host::resultReal(result), host::resultImaginary(result), 1});
    return result;
}

host::Array* fieldWithOrder(Arguments arguments) {
    expectArguments(arguments, 11);
    Request request;
    readLattice(arguments.subspan(1), request);
    readPiston(arguments.subspan(3), request);
    request.rule.order = wholeWithin(1, largestOrder(request.mode), arguments[7], "order");
    return fieldOf(std::move(request), arguments.subspan(8));
}

host::Array* fieldWithTolerance(const Placement& place, Arguments arguments) {
    const std::size_t first = argumentsWithTolerance(place);
    expectArguments(arguments, first + 3);
    return fieldOf(requestWithTolerance(place, arguments), arguments.subspan(first));
}

host::Array* accuracyFor(const Placement& place, Arguments arguments) {
    const std::size_t threads = argumentsWithTolerance(place);
    expectArguments(arguments, threads + 1);
    Request request = requestWithTolerance(place, arguments);
    const ThreadLimit limit = threadLimitIn(arguments[threads]);
    const Accuracy accuracy = Plan(std::move(request)).accuracy().value();
    return host::createRow({accuracy.bound, accuracy.error, accuracy.evaluations});
}

double modeLimit(Arguments arguments, std::int64_t (*limit)(Mode)) {
    expectArguments(arguments, 2);
    return static_cast<double>(limit(modeOf(arguments[1])));
}

host::Array* answerTo(Arguments arguments) {
    if (arguments.empty()) throw InvalidRequest("question", "there is none");
    const std::string question = textOf(arguments[0], "question");
    if (question == "field") return fieldWithOrder(arguments);
    if (question == "field_within") return fieldWithTolerance(lattice, arguments);
    if (question == "field_within_of_list") return fieldWithTolerance(list, arguments);
    if (question == "accuracy") return accuracyFor(lattice, arguments);
    if (question == "accuracy_of_list") return accuracyFor(list, arguments);
    if (question == "largest_order")
        return host::createRow(
            {modeLimit(arguments, [](Mode mode) -> std::int64_t { return largestOrder(mode); })});
    if (question == "most_points_in_a_row")
        return host::createRow({modeLimit(arguments, mostPointsInARow)});
    if (question == "most_threads") {
        expectArguments(arguments, 1);
        return host::createRow({mostThreads});
    }
    throw InvalidRequest("question", "'" + question + "' is none");
}

void raise(const std::string& reason, const std::exception& error) {
    host::raise(("pistonfield:pistonfield_internal:" + reason).c_str(), error.what());
}

}  // namespace

void answerCall(int /*outputCount*/, host::Array*& output, Arguments arguments) {
    try {
        output = answerTo(arguments);
    } catch (const InvalidRequest& error) {
        raise(error.field(), error);
    } catch (const std::out_of_range& error) {
        raise("box", error);
    } catch (const DeviceFailure& error) {
        raise("device", error);
    } catch (const std::runtime_error& error) {
        // Of the library, what is left is the number of threads.
        raise("environment", error);
    }
}
