// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Arrays for C: what the room arrays/ builds and reads.

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "arrays/AnnularArray.h"
#include "arrays/BowlArray.h"
#include "arrays/ConvexArray.h"
#include "arrays/HoneycombArray.h"
#include "arrays/arrayTable.h"
#include "arrays/planarArrays.h"
#include "capi/builtArray.h"
#include "capi/elements.h"
#include "capi/outcome.h"
#include "capi/pistonfield.h"

namespace {

using namespace pistonfield;

template <class T>
std::optional<T> optionalFrom(const T* given) {
    return given != nullptr ? std::optional<T>(*given) : std::nullopt;
}

Array undriven(std::vector<Element> elements) { return {std::move(elements), {}}; }

Array lineFrom(const pistonfield_line& given) {
    return undriven(elementsOf(LineArray{.elements = given.elements,
                                         .width = given.width,
                                         .height = given.height,
                                         .pitch = optionalFrom(given.pitch),
                                         .kerf = optionalFrom(given.kerf)}));
}

Array matrixFrom(const pistonfield_matrix& given) {
    return undriven(elementsOf(MatrixArray{.columns = given.columns,
                                           .rows = given.rows,
                                           .width = given.width,
                                           .height = given.height,
                                           .pitchX = optionalFrom(given.pitch_x),
                                           .kerfX = optionalFrom(given.kerf_x),
                                           .pitchY = optionalFrom(given.pitch_y),
                                           .kerfY = optionalFrom(given.kerf_y)}));
}

Array convexFrom(const pistonfield_convex& given) {
    return undriven(elementsOf(ConvexArray{.elements = given.elements,
                                           .radius = given.radius,
                                           .width = given.width,
                                           .height = given.height,
                                           .pitch = optionalFrom(given.pitch),
                                           .angle = optionalFrom(given.angle),
                                           .kerf = optionalFrom(given.kerf)}));
}

std::vector<std::int64_t> countsFrom(const pistonfield_bowl& given) {
    if (given.counts == nullptr) return {};
    constexpr auto most = static_cast<std::int64_t>(Array::mostElements);
    if (given.rings < 1 || given.rings > most)
        throw InvalidRequest(
            "rings", std::to_string(given.rings) + " are not within 1 to " + std::to_string(most));
    return {given.counts, given.counts + given.rings};
}

Array bowlFrom(const pistonfield_bowl& given) {
    const Bowl bowl{.radius = given.radius,
                    .aperture = optionalFrom(given.aperture),
                    .openingAngle = optionalFrom(given.opening_angle),
                    .hole = given.hole};
    if (given.elements == nullptr)
        return undriven(elementsOf(BowlRings{.bowl = bowl,
                                             .width = given.width,
                                             .height = given.height,
                                             .kerf = optionalFrom(given.kerf),
                                             .pitch = optionalFrom(given.pitch),
                                             .counts = countsFrom(given)}));
    if (given.kerf != nullptr || given.pitch != nullptr || given.counts != nullptr)
        throw InvalidRequest("elements", "those of a spiral have no kerf, pitch or counts");
    return undriven(elementsOf(BowlSpiral{bowl, *given.elements, given.width, given.height}));
}

/// So many numbers of a caller.
/// @throws InvalidRequest of `name` where there are too many
std::vector<double> numbersFrom(const double* given, std::int64_t count, const char* name) {
    if (given == nullptr) return {};
    constexpr auto most = static_cast<std::int64_t>(Array::mostElements);
    if (count < 0 || count > most)
        throw InvalidRequest(
            name, std::to_string(count) + " are not within 0 to " + std::to_string(most));
    return {given, given + count};
}

Array annularFrom(const pistonfield_annular& given) {
    return undriven(elementsOf(AnnularArray{.radii = numbersFrom(given.radii, given.count, "radii"),
                                            .elements = optionalFrom(given.elements),
                                            .radius = optionalFrom(given.radius),
                                            .inner = optionalFrom(given.inner),
                                            .kerf = given.kerf}));
}

Array honeycombFrom(const pistonfield_honeycomb& given) {
    return undriven(elementsOf(HoneycombArray{.rings = given.rings,
                                              .width = given.width,
                                              .pitch = optionalFrom(given.pitch),
                                              .kerf = optionalFrom(given.kerf)}));
}

}  // namespace

void pistonfield_array_destroy(pistonfield_array* array) noexcept { delete array; }

const pistonfield_element* pistonfield_array_elements(const pistonfield_array* array) noexcept {
    return array != nullptr ? array->elements.data() : nullptr;
}

std::int64_t pistonfield_array_count(const pistonfield_array* array) noexcept {
    return array != nullptr ? static_cast<std::int64_t>(array->elements.size()) : 0;
}

const double* pistonfield_array_weights(const pistonfield_array* array) noexcept {
    if (array == nullptr || array->weights.empty()) return nullptr;
    return reinterpret_cast<const double*>(array->weights.data());
}

const pistonfield_outline* pistonfield_array_outlines(const pistonfield_array* array) noexcept {
    return array != nullptr && !array->outlines.empty() ? array->outlines.data() : nullptr;
}

const std::int64_t* pistonfield_array_outline_of(const pistonfield_array* array) noexcept {
    return array != nullptr && !array->outlineOf.empty() ? array->outlineOf.data() : nullptr;
}

std::int64_t pistonfield_array_outline_count(const pistonfield_array* array) noexcept {
    return array != nullptr ? static_cast<std::int64_t>(array->outlines.size()) : 0;
}

pistonfield_status pistonfield_array_line(const pistonfield_line* line, pistonfield_array** array,
                                          pistonfield_message* message) noexcept {
    return makeArray(line, "line", lineFrom, array, message);
}

pistonfield_status pistonfield_array_matrix(const pistonfield_matrix* matrix,
                                            pistonfield_array** array,
                                            pistonfield_message* message) noexcept {
    return makeArray(matrix, "matrix", matrixFrom, array, message);
}

pistonfield_status pistonfield_array_convex(const pistonfield_convex* convex,
                                            pistonfield_array** array,
                                            pistonfield_message* message) noexcept {
    return makeArray(convex, "convex", convexFrom, array, message);
}

pistonfield_status pistonfield_array_bowl(const pistonfield_bowl* bowl, pistonfield_array** array,
                                          pistonfield_message* message) noexcept {
    return makeArray(bowl, "bowl", bowlFrom, array, message);
}

pistonfield_status pistonfield_array_annular(const pistonfield_annular* annular,
                                             pistonfield_array** array,
                                             pistonfield_message* message) noexcept {
    return makeArray(annular, "annular", annularFrom, array, message);
}

pistonfield_status pistonfield_array_honeycomb(const pistonfield_honeycomb* honeycomb,
                                               pistonfield_array** array,
                                               pistonfield_message* message) noexcept {
    return makeArray(honeycomb, "honeycomb", honeycombFrom, array, message);
}

pistonfield_status pistonfield_array_read(const char* path, pistonfield_array** array,
                                          pistonfield_message* message) noexcept {
    return makeArray(
        path, "path", [path](const char& /*first*/) { return readArrayFile(path); }, array,
        message);
}
