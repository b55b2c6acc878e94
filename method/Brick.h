// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <vector>

namespace pistonfield {

/// Evenly spaced coordinates.
struct Ticks {
    double first;
    double step;  ///< 0 or more
    int count;

    double at(int i) const { return first + step * i; }
};

/// A small lattice along the axes of a face's frame: its x, y and z, whose sign means nothing.
using Brick = std::array<Ticks, 3>;

/// Those points of a brick whose numbers along x, y and z are first[i] to less than last[i].
struct BrickPart {
    std::array<int, 3> first, last;
};

/// Complex numbers of a brick's points.
template <class T>
struct BrickNumbers {
    std::vector<T> re, im;
};

}  // namespace pistonfield
