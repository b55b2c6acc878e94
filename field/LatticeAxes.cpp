// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/LatticeAxes.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace pistonfield {

LatticeAxis::LatticeAxis(std::size_t direction, double origin, double step, std::int64_t size,
                         double nearest, double aside)
    : along(direction),
      points(size),
      sign(step < 0 ? -1 : 1),
      distance(size == 1 ? 0 : std::abs(step)),
      moved(aside),
      least(std::min(origin, origin + step * static_cast<double>(size - 1))),
      coordinates(size) {
    const double last = origin + step * static_cast<double>(size - 1);
    if (size == 1 || (origin < 0) == (last < 0)) return;
    const double halves = 2 * origin / distance;
    const double whole = std::round(halves);
    const double off = std::abs(halves - whole) * distance / 2;
    if (off > nearest) return;
    moved += off;
    folded = true;
    doubled = std::llround(whole);
    const std::int64_t farthest = std::max(std::abs(doubled), std::abs(halfSteps(size - 1)));
    const std::int64_t odd = std::abs(doubled % 2);
    least = static_cast<double>(odd) * distance / 2;
    coordinates = (farthest - odd) / 2 + 1;
}

std::int64_t LatticeAxis::numberOf(std::int64_t index) const {
    if (folded) return std::abs(halfSteps(index)) / 2;
    return sign > 0 ? index : points - 1 - index;
}

IndexRange LatticeAxis::numbersOf(const IndexRange& indices) const {
    const std::int64_t first = numberOf(indices.first);
    const std::int64_t last = numberOf(indices.last - 1);
    const bool crosses =
        folded && (halfSteps(indices.first) < 0) != (halfSteps(indices.last - 1) < 0);
    return {crosses ? 0 : std::min(first, last), std::max(first, last) + 1};
}

std::vector<std::int64_t> LatticeAxis::indicesOf(std::int64_t number,
                                                 const IndexRange& indices) const {
    std::vector<std::int64_t> found;
    const auto add = [&](std::int64_t index) {
        if (index >= indices.first && index < indices.last) found.push_back(index);
    };
    if (!folded) {
        add(numberOf(number));
        return found;
    }
    const std::int64_t halves = 2 * number + std::abs(doubled % 2);
    add(sign * (halves - doubled) / 2);
    if (halves != 0) add(sign * (-halves - doubled) / 2);
    return found;
}

std::optional<LatticeAxes> axesOf(const Lattice& lattice) {
    const auto number = [&](std::size_t axis, std::size_t direction) {
        return lattice.transform[4 * axis + direction] / lattice.transform.back();
    };
    // How far the lattice extends along each axis in each of its directions.
    const auto extent = [&](std::size_t axis, std::size_t direction) {
        return std::abs(number(axis, direction)) *
               static_cast<double>(lattice.sizes[direction] - 1);
    };
    double reach = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        double farthest = std::abs(number(axis, 3));
        for (std::size_t i = 0; i < 3; ++i) farthest += extent(axis, i);
        reach = std::max(reach, farthest);
    }
    const double rounding = reach * 0x1p-51;
    std::array<std::size_t, 3> directions{0, 1, 2};
    do {
        bool fits = true;
        for (std::size_t axis = 0; axis < 3; ++axis)
            for (std::size_t i = 0; i < 3; ++i)
                fits = fits && (directions[axis] == i || extent(axis, i) <= rounding);
        if (!fits) continue;
        const auto axisAt = [&](std::size_t axis) {
            const std::size_t i = directions[axis];
            const double aside =
                extent(axis, 0) + extent(axis, 1) + extent(axis, 2) - extent(axis, i);
            return LatticeAxis(i, number(axis, 3), number(axis, i), lattice.sizes[i], rounding,
                               std::max(0.0, aside));
        };
        return LatticeAxes{axisAt(0), axisAt(1), axisAt(2)};
    } while (std::next_permutation(directions.begin(), directions.end()));
    return std::nullopt;
}

}  // namespace pistonfield
