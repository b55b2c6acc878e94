// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>

#include "FastNearfield/Complex.h"
#include "cuda_runtime/ConstantSymbol.h"
#include "cuda_runtime/KernelEntry.h"

/// The kernel of a lattice's boxes, and the constants of its own rule: abscissas, weights and
/// order, half a symmetric rule as in `PistonModule`. One thread computes the pressure at one
/// point.
template <class Real, class Complex>
struct BoxModule {
    /// (d_array, points, firstX, firstY, firstZ, sx, sy, transform, a, b, k): points of the lattice
    /// from (firstX, firstY, firstZ) on, sx and sy of them along x and y; all 16 values of the
    /// transform, whose last one divides the positions
    using Box = cuda_runtime::KernelEntry<Complex*, int, Real, Real, Real, int, int, const Real*,
                                          Real, Real, Real>;

    Box box;
    std::array<cuda_runtime::ConstantSymbol, 3> constants;
};

using SingleBoxModule = BoxModule<float, Complex>;
using DoubleBoxModule = BoxModule<double, Complexd>;

/// The module of a precision, registered with the runtime when the program is loaded.
const SingleBoxModule& boxModule(float precision);
const DoubleBoxModule& boxModule(double precision);
