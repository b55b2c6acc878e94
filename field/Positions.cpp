// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/Positions.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

#include "method/RectangleField.h"

namespace pistonfield {

Positions::Positions(const Request& request)
    : k(request.wave.wavenumber),
      list(request.points ? &*request.points : nullptr),
      sizes(request.lattice.sizes),
      points(request.lattice.box().points()) {
    if (list != nullptr) return;
    const double divisor = request.lattice.transform.back();
    std::transform(request.lattice.transform.begin(), request.lattice.transform.begin() + 12,
                   rows.begin(), [divisor](double number) { return number / divisor; });
}

template <class Work>
void Positions::forEachCorner(Work work) const {
    for (int corner = 0; corner < 8; ++corner) {
        std::array<std::int64_t, 3> index{};
        for (std::size_t i = 0; i < sizes.size(); ++i)
            index[i] = (corner >> i & 1) != 0 ? sizes[i] - 1 : 0;
        work(index);
    }
}

std::array<double, 3> Positions::at(const std::array<std::int64_t, 3>& index) const {
    if (list != nullptr) {
        const auto i = static_cast<std::size_t>(index[0]);
        return {list->x[i], list->y[i], list->z[i]};
    }
    const auto x = static_cast<double>(index[0]);
    const auto y = static_cast<double>(index[1]);
    const auto z = static_cast<double>(index[2]);
    std::array<double, 3> position{};
    for (std::size_t i = 0; i < position.size(); ++i) {
        const double* const row = &rows[4 * i];
        position[i] = (row[3] + row[1] * y + row[2] * z) + row[0] * x;
    }
    return position;
}

void Positions::group(std::int64_t group, GroupPoints& to) const {
    const std::int64_t first = group * groupSize;
    if (list != nullptr) return groupInList(first, to);
    const std::array<std::int64_t, 3> index{first % sizes[0], first / sizes[0] % sizes[1],
                                            first / sizes[0] / sizes[1]};
    if (index[0] + groupSize <= sizes[0])
        groupInRow(index, to);
    else
        groupInRows(index, points - first, to);
}

void Positions::groupInList(std::int64_t first, GroupPoints& to) const {
    for (std::int64_t i = 0; i < groupSize; ++i) {
        const auto number = static_cast<std::size_t>(std::min(first + i, points - 1));
        to.x[i] = std::abs(list->x[number]);
        to.y[i] = std::abs(list->y[number]);
        to.z[i] = std::abs(list->z[number]);
    }
    findPlace(to, k);
}

void Positions::group(std::int64_t group, GroupPlaces& places) const {
    const std::int64_t first = group * groupSize;
    for (std::int64_t i = 0; i < groupSize; ++i) {
        const std::int64_t number = std::min(first + i, points - 1);
        const auto [x, y, z] =
            at(list != nullptr ? std::array<std::int64_t, 3>{number, 0, 0}
                               : std::array{number % sizes[0], number / sizes[0] % sizes[1],
                                            number / sizes[0] / sizes[1]});
        places.x[i] = x;
        places.y[i] = y;
        places.z[i] = z;
    }
}

void Positions::groupInRow(const std::array<std::int64_t, 3>& first, GroupPoints& to) const {
    const auto y = static_cast<double>(first[1]);
    const auto z = static_cast<double>(first[2]);
    double* const coordinates[]{to.x, to.y, to.z};
    std::array<double, 3> least{};
    std::array<double, 3> most{};
    double squares[2]{};
    for (std::size_t i = 0; i < std::size(coordinates); ++i) {
        const double* const row = &rows[4 * i];
        const double begin = row[3] + row[1] * y + row[2] * z;
        double* const numbers = coordinates[i];
        for (int k = 0; k < groupSize; ++k)
            numbers[k] = begin + row[0] * static_cast<double>(first[0] + k);
        // A row is straight: its ends bound it, but for where it crosses 0.
        const double ends[]{numbers[0], numbers[groupSize - 1]};
        const bool crosses = (ends[0] < 0) != (ends[1] < 0);
        least[i] = crosses ? 0 : std::min(std::abs(ends[0]), std::abs(ends[1]));
        most[i] = std::max(std::abs(ends[0]), std::abs(ends[1]));
        for (int k = 0; k < 2; ++k) squares[k] += ends[k] * ends[k];
        for (int k = 0; k < groupSize; ++k) numbers[k] = std::abs(numbers[k]);
    }
    to.place = Place::within(least, most, std::sqrt(std::max(squares[0], squares[1])), k);
}

void Positions::groupInRows(std::array<std::int64_t, 3> index, std::int64_t left,
                            GroupPoints& to) const {
    for (std::size_t i = 0; i < groupSize; ++i, --left) {
        const auto [x, y, z] = at(index);
        to.x[i] = std::abs(x);
        to.y[i] = std::abs(y);
        to.z[i] = std::abs(z);
        if (left <= 1) continue;
        for (std::size_t k = 0; k < sizes.size(); ++k) {
            if (++index[k] < sizes[k]) break;
            index[k] = 0;
        }
    }
    findPlace(to, k);
}

std::array<std::array<double, 2>, 3> Positions::bounds() const {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    std::array<std::array<double, 2>, 3> bounds;
    bounds.fill({infinity, -infinity});
    const auto include = [&](const std::array<double, 3>& position) {
        for (std::size_t i = 0; i < bounds.size(); ++i)
            bounds[i] = {std::min(bounds[i][0], position[i]), std::max(bounds[i][1], position[i])};
    };
    if (list != nullptr)
        for (std::size_t i = 0; i < list->x.size(); ++i)
            include({list->x[i], list->y[i], list->z[i]});
    else
        forEachCorner([&](const std::array<std::int64_t, 3>& index) { include(at(index)); });
    return bounds;
}

double Positions::reach() const {
    if (list != nullptr) return reachOfList();
    double farthest = 0;
    forEachCorner([&](const std::array<std::int64_t, 3>& index) {
        const auto [x, y, z] = at(index);
        const double distance = k * std::hypot(x, y, z);
        // A step that overflows has no product with the index 0.
        farthest = std::isfinite(distance) ? std::max(farthest, distance)
                                           : std::numeric_limits<double>::infinity();
    });
    return farthest;
}

double Positions::reachOfList() const {
    // A square that overflows is that of a distance which is too far in any case.
    double largest = 0;
    for (std::size_t i = 0; i < list->x.size(); ++i)
        largest = std::max(
            largest, list->x[i] * list->x[i] + list->y[i] * list->y[i] + list->z[i] * list->z[i]);
    return k * std::sqrt(largest);
}

std::optional<std::array<std::int64_t, 3>> Positions::firstBehind() const {
    if (list == nullptr) return firstBehindInLattice();
    const auto found = std::find_if(list->z.begin(), list->z.end(), [](double z) { return z < 0; });
    if (found == list->z.end()) return std::nullopt;
    return std::array<std::int64_t, 3>{found - list->z.begin(), 0, 0};
}

std::optional<std::array<double, 3>> Positions::firstBehind(const Pose& piston,
                                                            double rounding) const {
    const auto isBehind = [&](const std::array<double, 3>& position) {
        return piston.placeOf(position)[2] < -rounding;
    };
    std::optional<std::array<double, 3>> found;
    const auto look = [&](const std::array<double, 3>& position) {
        if (!found && isBehind(position)) found = position;
    };
    // Of a lattice a corner is the farthest behind.
    if (list == nullptr)
        forEachCorner([&](const std::array<std::int64_t, 3>& index) { look(at(index)); });
    else
        for (std::size_t i = 0; i < list->x.size() && !found; ++i)
            look({list->x[i], list->y[i], list->z[i]});
    return found;
}

std::optional<std::array<std::int64_t, 3>> Positions::firstBehindInLattice() const {
    const double* const row = &rows[8];
    double largest = std::abs(row[3]);
    for (std::size_t i = 0; i < sizes.size(); ++i)
        largest = std::max(largest, std::abs(row[i]) * static_cast<double>(sizes[i]));
    const double rounding = 8 * 0x1p-53 * largest;
    std::array<std::int64_t, 3> index{};
    // The least z of the points that share the coordinates found so far and have `coordinate` along
    // a direction: it is that of the other directions' ends, and a concave function of
    // `coordinate`.
    const auto isBehind = [&](std::size_t direction, std::int64_t coordinate) {
        std::array<std::int64_t, 3> least = index;
        least[direction] = coordinate;
        for (std::size_t i = 0; i < direction; ++i) least[i] = row[i] < 0 ? sizes[i] - 1 : 0;
        return at(least)[2] < -rounding;
    };
    for (std::size_t direction = sizes.size(); direction-- > 0;) {
        const std::int64_t last = sizes[direction] - 1;
        if (isBehind(direction, 0)) continue;
        if (!isBehind(direction, last)) return std::nullopt;
        std::int64_t before = 0;
        std::int64_t behind = last;
        while (behind - before > 1) {
            const std::int64_t middle = before + (behind - before) / 2;
            (isBehind(direction, middle) ? behind : before) = middle;
        }
        index[direction] = behind;
    }
    return index;
}

}  // namespace pistonfield
