// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "bench/Reference.h"
#include "core/Grid3DR.h"

namespace bench {

/// A piston of 5 by 7.5 wavelengths; lengths are in wavelengths.
inline constexpr PistonShape piston{5, 7.5, 6.283185307179586};

/// A box of points. No point lies on an axis of the piston, on an edge's line or over a corner.
struct Box {
    std::array<unsigned, 3> sizes;
    std::array<double, 3> first;
    std::array<double, 3> last;

    /// The same region with fewer points along y and z: rows of the same length and spacing.
    Box thinned(unsigned factor) const;

    std::array<double, 16> transform() const;
    std::int64_t points() const;

    /// How often the integrand is evaluated: a point beyond the piston in x and y has four
    /// integrals; one within its side along x or y has that pair of edges in two pieces each.
    std::int64_t evaluations(int order) const;

    template <class T>
    Grid3DR<T> grid() const {
        return Grid3DR<T>(transform().data(), sizes[0], sizes[1], sizes[2]);
    }
};

/// Over the piston's face: eight integrals at every point.
Box shadowBox(std::array<unsigned, 3> sizes);
/// Beyond two of its edges: four integrals at every point.
Box outsideBox(std::array<unsigned, 3> sizes);
/// From end to end twice as wide as the piston in x and y: four, six and eight integrals, and
/// neighbours in a row that differ.
Box acrossBox(std::array<unsigned, 3> sizes);

/// A field in two halves.
template <class T>
struct Field {
    explicit Field(std::int64_t points)
        : re(static_cast<std::size_t>(points)), im(static_cast<std::size_t>(points)) {}

    std::vector<T> re;
    std::vector<T> im;
};

}  // namespace bench
