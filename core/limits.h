// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>

#include "core/Mode.h"

namespace pistonfield {

/// Up to this order the rules that `legendre_compute` makes are accurate to rounding: nodes to
/// 1.4e-16, weights to 2.5e-16. From 16384 on a 32-bit product in the guess of the roots wraps
/// around, and the guess of those nearest to 1 and -1 gets worse: at 20000 nodes are off by 7e-16,
/// at 22000 by 6e-14, and around 23000 whole nodes are missed.
inline constexpr int largestAccurateOrder = 18000;

/// The largest order of the kernels: half its abscissas and weights fill the constants.
inline constexpr int largestKernelOrder = 512;

/// The largest order that a mode computes with.
constexpr int largestOrder(Mode mode) {
    return isOnGpu(mode) ? largestKernelOrder : largestAccurateOrder;
}

/// The most points in a row of a lattice: those whose coordinates are exact in the precision of
/// the mode.
constexpr std::int64_t mostPointsInARow(Mode mode) {
    return std::int64_t{1} << (isInSingle(mode) ? 24 : 53);
}

}  // namespace pistonfield
