// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "bench/Fields.h"

#include <algorithm>
#include <cmath>

namespace bench {

namespace {

double stepOf(const Box& box, std::size_t axis) {
    return box.sizes[axis] > 1
               ? (box.last[axis] - box.first[axis]) / static_cast<double>(box.sizes[axis] - 1)
               : 0;
}

/// The number of the axis's coordinates within the piston's side.
std::int64_t within(const Box& box, std::size_t axis, double side) {
    std::int64_t count = 0;
    for (unsigned i = 0; i < box.sizes[axis]; ++i)
        if (std::abs(box.first[axis] + i * stepOf(box, axis)) < side / 2) ++count;
    return count;
}

}  // namespace

Box Box::thinned(unsigned factor) const {
    Box box = *this;
    for (const std::size_t axis : {1U, 2U}) box.sizes[axis] = std::max(1U, sizes[axis] / factor);
    return box;
}

std::array<double, 16> Box::transform() const {
    std::array<double, 16> m{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        m[5 * axis] = stepOf(*this, axis);
        m[4 * axis + 3] = first[axis];
    }
    m[15] = 1;
    return m;
}

std::int64_t Box::points() const { return std::int64_t{sizes[0]} * sizes[1] * sizes[2]; }

std::int64_t Box::evaluations(int order) const {
    const std::int64_t splitAlongX = within(*this, 0, piston.s) * sizes[1] * sizes[2];
    const std::int64_t splitAlongY = within(*this, 1, piston.l) * sizes[0] * sizes[2];
    return (4 * points() + 2 * splitAlongX + 2 * splitAlongY) * order;
}

Box shadowBox(std::array<unsigned, 3> sizes) {
    return {sizes, {-3.7, -2.45, 0.5}, {3.71, 2.46, 50}};
}

Box outsideBox(std::array<unsigned, 3> sizes) { return {sizes, {3.8, 2.55, 0.5}, {12, 10, 50}}; }

Box acrossBox(std::array<unsigned, 3> sizes) { return {sizes, {-7.5, -5, 0.5}, {7.51, 5.01, 50}}; }

}  // namespace bench
