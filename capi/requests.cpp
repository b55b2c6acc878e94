// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "capi/requests.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <iterator>
#include <memory>
#include <string>
#include <utility>

#include "capi/devices.h"
#include "capi/elements.h"
#include "capi/structSizes.h"
#include "field/deviceCopies.h"

namespace pistonfield {

namespace {

static_assert(offsetof(pistonfield_request, tolerance) == requestSizes[0]);
static_assert(offsetof(pistonfield_request, x) == requestSizes[1]);
static_assert(offsetof(pistonfield_request, array) == requestSizes[2]);
static_assert(offsetof(pistonfield_request, attenuation) == requestSizes[3]);
static_assert(offsetof(pistonfield_request, points_device) == requestSizes[4]);
static_assert(sizeof(pistonfield_request) == requestSizes.back());

static_assert(PISTONFIELD_CPU == static_cast<int>(Mode::cpu));
static_assert(PISTONFIELD_CPUSP == static_cast<int>(Mode::cpusp));
static_assert(PISTONFIELD_CUDA == static_cast<int>(Mode::cuda));
static_assert(PISTONFIELD_CUDADP == static_cast<int>(Mode::cudadp));

static_assert(PISTONFIELD_LARGEST == static_cast<int>(Tolerance::Of::largest));
static_assert(PISTONFIELD_LOCAL == static_cast<int>(Tolerance::Of::local));

static_assert(PISTONFIELD_RIGID == static_cast<int>(Baffle::rigid));
static_assert(PISTONFIELD_SOFT == static_cast<int>(Baffle::soft));
static_assert(PISTONFIELD_FREE == static_cast<int>(Baffle::free));

static_assert(PISTONFIELD_PRESSURE == static_cast<int>(Quantity::pressure));
static_assert(PISTONFIELD_VELOCITY == static_cast<int>(Quantity::velocity));
static_assert(PISTONFIELD_INTENSITY == static_cast<int>(Quantity::intensity));

Mode requiredMode(std::int32_t number) {
    const std::optional<Mode> mode = modeNumbered(number);
    if (!mode)
        throw InvalidRequest("mode", std::to_string(number) + " is none of 0 to " +
                                         std::to_string(modes.size() - 1));
    return *mode;
}

Tolerance toleranceOf(const pistonfield_request& given) {
    if (given.tolerance_of != PISTONFIELD_LARGEST && given.tolerance_of != PISTONFIELD_LOCAL)
        throw InvalidRequest("tolerance_of",
                             std::to_string(given.tolerance_of) + " is none of 0 to 1");
    return {given.tolerance, static_cast<Tolerance::Of>(given.tolerance_of)};
}

void takeRule(Request& request, const pistonfield_request& given) {
    request.rule.order = given.order;
    // The order says how many numbers the table has, and so is checked before they are read.
    check(request);
    if (given.table != nullptr)
        request.rule.table.assign(given.table, given.table + 2 * std::ptrdiff_t{given.order});
}

bool hasPoints(const pistonfield_request& given) {
    return given.x != nullptr || given.y != nullptr || given.z != nullptr || given.points != 0;
}

/// A list of points in the memory of a device.
PointList pointsOnDevice(const pistonfield_request& given) {
    requirePoints(given.x, given.y, given.z, given.points);
    const CallersDevice device = deviceOf(given.points_device);
    const auto copied = [&](const double* from, const char* argument) {
        const std::size_t bytes = static_cast<std::size_t>(given.points) * sizeof(double);
        requireOnDevice(device, from, bytes, argument);
        std::vector<double> positions(static_cast<std::size_t>(given.points));
        copyFromDevice(device, positions.data(), from, bytes, argument);
        return positions;
    };
    return {copied(given.x, "x"), copied(given.y, "y"), copied(given.z, "z")};
}

void takePoints(Request& request, const pistonfield_request& given) {
    // Before memory is taken for them.
    if (given.tolerance == 0) throw InvalidRequest("points", "a list takes a tolerance");
    request.points = given.points_device == nullptr
                         ? pointsFrom(given.x, given.y, given.z, given.points)
                         : pointsOnDevice(given);
    request.lattice.sizes = {given.points, 1, 1};
}

void takeLattice(Request& request, const pistonfield_request& given) {
    std::copy(std::begin(given.transform), std::end(given.transform),
              request.lattice.transform.begin());
    std::copy(std::begin(given.sizes), std::end(given.sizes), request.lattice.sizes.begin());
}

bool hasArray(const pistonfield_request& given) {
    return given.array != nullptr || given.elements != 0 || given.weights != nullptr ||
           given.weightings != 0;
}

std::vector<std::complex<double>> weightsOf(const pistonfield_request& given) {
    std::vector<std::complex<double>> weights(static_cast<std::size_t>(given.elements), 1);
    if (given.weights == nullptr) {
        if (given.weightings != 0 && given.weightings != 1)
            throw InvalidRequest("weights", "null is one weighting, all 1");
        return weights;
    }
    constexpr auto most = static_cast<std::int64_t>(Array::mostWeightings);
    if (given.weightings < 1 || given.weightings > most)
        throw InvalidRequest("weightings", std::to_string(given.weightings) +
                                               " are not within 1 to " + std::to_string(most));
    weights.resize(weights.size() * static_cast<std::size_t>(given.weightings));
    for (std::size_t i = 0; i < weights.size(); ++i)
        weights[i] = {given.weights[2 * i], given.weights[2 * i + 1]};
    return weights;
}

OutlineEdge edgeOf(const pistonfield_edge& given) {
    const PlaneVector from{given.from[0], given.from[1]};
    const PlaneVector to{given.to[0], given.to[1]};
    if (given.sweep == 0) return StraightEdge{from, to};
    const double x = from[0] - to[0];
    const double y = from[1] - to[1];
    return Arc{to, std::hypot(x, y), std::atan2(y, x), given.sweep};
}

std::shared_ptr<const Outline> outlineOf(const pistonfield_outline& given) {
    constexpr auto most = static_cast<std::int64_t>(Array::mostEdges);
    if (given.edges == nullptr || given.count < 1 || given.count > most)
        throw InvalidRequest("outlines", "each must have 1 to " + std::to_string(most) + " edges");
    Outline outline;
    for (std::int64_t i = 0; i < given.count; ++i) {
        if (i == 0 || given.edges[i].loop != given.edges[i - 1].loop) outline.loops.emplace_back();
        outline.loops.back().push_back(edgeOf(given.edges[i]));
    }
    return std::make_shared<const Outline>(std::move(outline));
}

bool hasOutlines(const pistonfield_request& given) {
    return given.outlines != nullptr || given.outline_of != nullptr || given.outline_count != 0;
}

void takeOutlines(Array& array, const pistonfield_request& given) {
    constexpr auto most = static_cast<std::int64_t>(Array::mostShapes);
    if (given.outlines == nullptr || given.outline_of == nullptr)
        throw InvalidRequest("outlines", "none of outlines and outline_of may be null");
    if (given.outline_count < 1 || given.outline_count > most)
        throw InvalidRequest("outlines", std::to_string(given.outline_count) +
                                             " are not within 1 to " + std::to_string(most));
    std::vector<std::shared_ptr<const Outline>> outlines;
    std::transform(given.outlines, given.outlines + given.outline_count,
                   std::back_inserter(outlines), outlineOf);
    for (std::size_t i = 0; i < array.elements.size(); ++i) {
        const std::int64_t number = given.outline_of[i];
        if (number < -1 || number >= given.outline_count)
            throw InvalidRequest("outline_of", "element " + std::to_string(i + 1) +
                                                   " has the number " + std::to_string(number) +
                                                   ", which is no outline's");
        if (number >= 0) array.elements[i].outline = outlines[static_cast<std::size_t>(number)];
    }
}

template <class Value>
Value valueNumbered(std::int32_t number, Value last, const char* field) {
    const auto most = static_cast<std::int32_t>(last);
    if (number < 0 || number > most)
        throw InvalidRequest(field,
                             std::to_string(number) + " is none of 0 to " + std::to_string(most));
    return static_cast<Value>(number);
}

Array arrayOf(const pistonfield_request& given) {
    // Before memory is taken for it.
    if (given.tolerance == 0) throw InvalidRequest("elements", "an array takes a tolerance");
    Array array;
    array.elements = elementsFrom(given.array, given.elements);
    array.weights = weightsOf(given);
    if (hasOutlines(given)) takeOutlines(array, given);
    return array;
}

void takeSource(Request& request, const pistonfield_request& given) {
    if (hasArray(given))
        request.array = arrayOf(given);
    else if (hasOutlines(given))
        throw InvalidRequest("outlines", "are those of an array's elements");
    else
        request.piston = {.width = given.width, .height = given.height};
}

}  // namespace

std::optional<Mode> modeNumbered(std::int32_t number) noexcept {
    if (number < 0 || static_cast<std::size_t>(number) >= modes.size()) return std::nullopt;
    return modes[static_cast<std::size_t>(number)];
}

Request requestOf(const pistonfield_request* caller) {
    const auto given = completed(caller, requestSizes, "request");
    if (given.points_device != nullptr && !hasPoints(given))
        throw InvalidRequest("points_device", "goes with points");
    Request request;
    takeSource(request, given);
    request.wave = {given.wavenumber, given.attenuation};
    request.baffle = valueNumbered(given.baffle, Baffle::free, "baffle");
    request.quantity = valueNumbered(given.quantity, Quantity::intensity, "quantity");
    if (hasPoints(given))
        takePoints(request, given);
    else
        takeLattice(request, given);
    request.mode = requiredMode(given.mode);
    request.behind = given.behind != 0;
    if (given.tolerance != 0)
        request.tolerance = toleranceOf(given);
    else
        takeRule(request, given);
    return request;
}

pistonfield_request defaultRequest() {
    const Request defaults;
    pistonfield_request request{};
    request.mode = static_cast<std::int32_t>(defaults.mode);
    request.order = defaults.rule.order;
    return request;
}

DrivenElements drivenElementsOf(const pistonfield_request* caller) {
    const auto given = completed(caller, requestSizes, "request");
    const Baffle baffle = valueNumbered(given.baffle, Baffle::free, "baffle");
    Array array;
    array.elements = elementsFrom(given.array, given.elements);
    if (hasOutlines(given)) takeOutlines(array, given);
    return {std::move(array.elements), {given.wavenumber, given.attenuation}, baffle};
}

}  // namespace pistonfield
