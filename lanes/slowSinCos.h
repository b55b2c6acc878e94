// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace lanes {

/// Sine and cosine of n angles by the standard library: for angles that the fast reduction does not
/// reach, infinities and NaN.
void slowSinCos(const float* angles, float* sines, float* cosines, int n) noexcept;
void slowSinCos(const double* angles, double* sines, double* cosines, int n) noexcept;

}  // namespace lanes
