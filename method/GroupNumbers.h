// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace pistonfield {

/// The points that share the numbers of nodes: neighbours in grid point order. They are as many on
/// every processor, so that orders do not depend on it.
inline constexpr int groupSize = 16;

/// A group's points as the arithmetic takes them, folded into the quadrant x, y >= 0, in T; lengths
/// are in units of 2/k. What cancels has been formed in double.
template <class T>
struct GroupNumbers {
    alignas(64) T x[groupSize];
    alignas(64) T y[groupSize];
    alignas(64) T nearX[groupSize];  ///< half the side along x, less x
    alignas(64) T nearY[groupSize];
    alignas(64) T zz[groupSize];         ///< z^2
    alignas(64) T reference[groupSize];  ///< Q; see `referenceOf`
    alignas(64) T cosine[groupSize];     ///< of k times the reference
    alignas(64) T sine[groupSize];
};

/// Their pressure.
template <class T>
struct GroupValues {
    alignas(64) T re[groupSize];
    alignas(64) T im[groupSize];
};

/// Half the face's sides, in units of 2/k.
template <class T>
struct HalfSides {
    T x, y;
};

}  // namespace pistonfield
