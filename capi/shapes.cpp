// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Pistons of other shapes than rectangles for C, as arrays of one element.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "arrays/pistonShapes.h"
#include "capi/builtArray.h"
#include "capi/outcome.h"
#include "capi/pistonfield.h"
#include "field/Request.h"

namespace {

using namespace pistonfield;

Array arrayOf(Outline outline) {
    Array array;
    array.elements.push_back({{}, {}, std::make_shared<const Outline>(std::move(outline))});
    return array;
}

/// So many corners, and the place behind them.
std::vector<PlaneVector> cornersFrom(const double* numbers, std::int64_t count, const char* name) {
    constexpr auto most = static_cast<std::int64_t>(Array::mostEdges);
    if (count < 0 || count > most)
        throw InvalidRequest(
            name, std::to_string(count) + " are not within 3 to " + std::to_string(most));
    if (numbers == nullptr) throw InvalidRequest(name, "are null");
    std::vector<PlaneVector> corners;
    corners.reserve(static_cast<std::size_t>(count));
    for (std::int64_t i = 0; i < count; ++i)
        corners.push_back({numbers[2 * i], numbers[2 * i + 1]});
    return corners;
}

Outline outlineFrom(const pistonfield_polygon& given) {
    constexpr auto most = static_cast<std::int64_t>(Array::mostEdges);
    if (given.hole_count < 0 || given.hole_count > most)
        throw InvalidRequest("holes", std::to_string(given.hole_count) + " are not within 0 to " +
                                          std::to_string(most));
    if (given.hole_count > 0 && given.hole_sizes == nullptr)
        throw InvalidRequest("holes", "hole_sizes is null");
    std::vector<std::vector<PlaneVector>> holes;
    const double* next = given.holes;
    for (std::int64_t i = 0; i < given.hole_count; ++i) {
        holes.push_back(cornersFrom(next, given.hole_sizes[i], "holes"));
        next += 2 * given.hole_sizes[i];
    }
    return polygonShape(cornersFrom(given.corners, given.count, "corners"), holes);
}

/// Makes an array of the shape that a function gives.
template <class Shape>
pistonfield_status makeShape(const Shape& shape, pistonfield_array** array,
                             pistonfield_message* message) noexcept {
    return makeArray(
        &shape, "shape", [](const Shape& made) { return arrayOf(made()); }, array, message);
}

}  // namespace

pistonfield_status pistonfield_array_disc(double radius, pistonfield_array** array,
                                          pistonfield_message* message) noexcept {
    return makeShape([=] { return discShape(radius); }, array, message);
}

pistonfield_status pistonfield_array_ring(double inner, double outer, pistonfield_array** array,
                                          pistonfield_message* message) noexcept {
    return makeShape([=] { return ringShape(inner, outer); }, array, message);
}

pistonfield_status pistonfield_array_sector(double inner, double outer, double from, double to,
                                            pistonfield_array** array,
                                            pistonfield_message* message) noexcept {
    return makeShape([=] { return sectorShape(inner, outer, from, to); }, array, message);
}

pistonfield_status pistonfield_array_polygon(const pistonfield_polygon* polygon,
                                             pistonfield_array** array,
                                             pistonfield_message* message) noexcept {
    return makeArray(
        polygon, "polygon",
        [](const pistonfield_polygon& given) { return arrayOf(outlineFrom(given)); }, array,
        message);
}
