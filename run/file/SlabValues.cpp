// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/SlabValues.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <stdexcept>
#include <string>

#include "run/formatting.h"

namespace run {

namespace {

/// The lengths of vectors.
/// @param values complex values of T, as pairs, so many for each point
template <class T>
void fillMagnitudes(const std::byte* values, std::size_t components, std::size_t points,
                    float* magnitudes) {
    const T* pair = reinterpret_cast<const T*>(values);
    for (std::size_t i = 0; i < points; ++i) {
        T sum = 0;
        for (std::size_t c = 0; c < components; ++c, pair += 2)
            sum += pair[0] * pair[0] + pair[1] * pair[1];
        magnitudes[i] = static_cast<float>(std::sqrt(sum));
    }
}

/// How many points have a value of T with a part that is no number.
template <class T>
std::uint32_t countUndefined(const std::byte* values, std::size_t components, std::size_t points) {
    const T* part = reinterpret_cast<const T*>(values);
    const std::size_t parts = 2 * components;
    std::uint32_t count = 0;
    for (std::size_t i = 0; i < points; ++i, part += parts)
        count += std::any_of(part, part + parts, [](T each) { return std::isnan(each); }) ? 1 : 0;
    return count;
}

}  // namespace

SlabValues::SlabValues(const Layout& layout)
    : singlePrecision(layout.request.inSingle()),
      components(static_cast<std::size_t>(layout.request.components())),
      pointBytes(static_cast<std::size_t>(layout.pointBytes())) {
    const auto& [x, y, z] = layout.slabSizes;
    const auto points = static_cast<std::size_t>(x * y * z);
    try {
        values = std::make_unique_for_overwrite<std::byte[]>(points * pointBytes);
        if (layout.magnitude) magnitudes = std::make_unique_for_overwrite<float[]>(points);
    } catch (const std::bad_alloc&) {
        throw std::runtime_error("there is not enough memory for a slab of " +
                                 std::to_string(points) + " points, which takes " +
                                 formatting::bytes(static_cast<double>(layout.slabBytes())) +
                                 ": begin the field with a smaller --slab");
    }
}

void SlabValues::compute(const Computation& computation, const LatticeBox& box) {
    computation(box, values.get());
    if (!magnitudes) return;
    const auto points = static_cast<std::size_t>(box.points());
    if (singlePrecision)
        fillMagnitudes<float>(values.get(), components, points, magnitudes.get());
    else
        fillMagnitudes<double>(values.get(), components, points, magnitudes.get());
}

void SlabValues::write(FieldFile& file, const LatticeBox& box) const {
    file.write(box, values.get(), magnitudes.get());
}

void SlabValues::read(const FieldFile& file, const LatticeBox& box) {
    file.read(box, values.get(), magnitudes.get());
}

std::uint64_t SlabValues::checksum(const LatticeBox& box) const {
    const auto points = static_cast<std::size_t>(box.points());
    XXH3_state_t state;
    XXH3_64bits_reset(&state);
    XXH3_64bits_update(&state, values.get(), points * pointBytes);
    if (magnitudes) XXH3_64bits_update(&state, magnitudes.get(), points * sizeof(float));
    return XXH3_64bits_digest(&state);
}

SlabRecord SlabValues::record(const LatticeBox& box) const {
    const auto points = static_cast<std::size_t>(box.points());
    return {checksum(box), true,
            singlePrecision ? countUndefined<float>(values.get(), components, points)
                            : countUndefined<double>(values.get(), components, points)};
}

bool SlabValues::match(const SlabRecord& record, const LatticeBox& box) const {
    return record.sound && record.finished && record.checksum == checksum(box);
}

}  // namespace run
