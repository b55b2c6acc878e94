// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// Bounds of a pressure's rounding error in units of the unit roundoff times
/// reference::errorMeasure. That roundoff is the precision's on the CPU, and float's in both
/// precisions of the kernels, which compute square roots, sines and cosines in float.
namespace roundingbounds {
inline constexpr double cpu = 2;
inline constexpr double singleKernels = 3;
inline constexpr double doubleKernels = 2;
}  // namespace roundingbounds
