// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/Positions.h"

#include <algorithm>
#include <cmath>

namespace pistonfield {

Positions::Positions(const Request& request)
    : sizes(request.lattice.sizes), points(request.lattice.box().points()) {
    const double factor = request.wave.wavenumber / request.lattice.transform.back();
    std::transform(request.lattice.transform.begin(), request.lattice.transform.begin() + 12,
                   rows.begin(), [factor](double number) { return number * factor; });
}

std::array<double, 3> Positions::at(std::int64_t ix, std::int64_t iy, std::int64_t iz) const {
    const auto x = static_cast<double>(ix);
    const auto y = static_cast<double>(iy);
    const auto z = static_cast<double>(iz);
    std::array<double, 3> position{};
    for (std::size_t i = 0; i < position.size(); ++i) {
        const double* const row = &rows[4 * i];
        position[i] = row[3] + row[0] * x + row[1] * y + row[2] * z;
    }
    return position;
}

std::array<double, 3> Positions::at(const std::array<std::int64_t, 3>& index) const {
    return at(index[0], index[1], index[2]);
}

void Positions::group(std::int64_t group, GroupPoints& to) const {
    const std::int64_t first = group * groupSize;
    std::int64_t ix = first % sizes[0];
    std::int64_t iy = first / sizes[0] % sizes[1];
    std::int64_t iz = first / sizes[0] / sizes[1];
    for (std::size_t i = 0; i < groupSize; ++i) {
        const auto [x, y, z] = at(ix, iy, iz);
        to.x[i] = std::abs(x);
        to.y[i] = std::abs(y);
        to.z[i] = std::abs(z);
        if (first + static_cast<std::int64_t>(i) + 1 >= points) continue;
        if (++ix < sizes[0]) continue;
        ix = 0;
        if (++iy < sizes[1]) continue;
        iy = 0;
        ++iz;
    }
}

std::optional<std::array<std::int64_t, 3>> Positions::firstBehind() const {
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
