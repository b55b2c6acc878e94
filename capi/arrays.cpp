// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Arrays for C: what the room arrays/ builds and reads.

#include <algorithm>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "arrays/BowlArray.h"
#include "arrays/ConvexArray.h"
#include "arrays/arrayTable.h"
#include "arrays/planarArrays.h"
#include "capi/elements.h"
#include "capi/memberNames.h"
#include "capi/outcome.h"
#include "capi/pistonfield.h"

struct pistonfield_array {
    std::vector<pistonfield_element> elements;
    std::vector<std::complex<double>> weights;
};

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

/// Makes an array of what a function builds from what is given.
template <class Given, class Build>
pistonfield_status make(const Given* given, const char* argument, Build build,
                        pistonfield_array** array, pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        required(array, "array") = nullptr;
        requireGiven(given, argument);
        const Array built = namedForC([&] { return build(*given); });
        auto made = std::make_unique<pistonfield_array>();
        made->elements.reserve(built.elements.size());
        std::transform(built.elements.begin(), built.elements.end(),
                       std::back_inserter(made->elements), elementFor);
        made->weights = built.weights;
        *array = made.release();
    });
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

pistonfield_status pistonfield_array_line(const pistonfield_line* line, pistonfield_array** array,
                                          pistonfield_message* message) noexcept {
    return make(line, "line", lineFrom, array, message);
}

pistonfield_status pistonfield_array_matrix(const pistonfield_matrix* matrix,
                                            pistonfield_array** array,
                                            pistonfield_message* message) noexcept {
    return make(matrix, "matrix", matrixFrom, array, message);
}

pistonfield_status pistonfield_array_convex(const pistonfield_convex* convex,
                                            pistonfield_array** array,
                                            pistonfield_message* message) noexcept {
    return make(convex, "convex", convexFrom, array, message);
}

pistonfield_status pistonfield_array_bowl(const pistonfield_bowl* bowl, pistonfield_array** array,
                                          pistonfield_message* message) noexcept {
    return make(bowl, "bowl", bowlFrom, array, message);
}

pistonfield_status pistonfield_array_read(const char* path, pistonfield_array** array,
                                          pistonfield_message* message) noexcept {
    return make(
        path, "path", [path](const char& /*first*/) { return readArrayFile(path); }, array,
        message);
}
