// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "FastNearfield/Complex.h"
#include "cuda_runtime/KernelEntry.h"
#include "lanes/InstructionSet.h"

/// The kernel of a lattice's boxes. One thread computes the pressure at one point. All that it
/// needs is in its arguments: launches of several plans go on at the same time.
template <class Real, class Complex>
struct BoxModule {
    /// (d_array, points, firstX, firstY, firstZ, sx, sy, transform, rule, order, a, b, k): points
    /// of the lattice from (firstX, firstY, firstZ) on, sx and sy of them along x and y; all 16
    /// values of the transform, whose last one divides the positions; half a symmetric rule as in
    /// `PistonModule`, (order + 1) / 2 abscissas, each before its weight
    using Box = cuda_runtime::KernelEntry<Complex*, int, Real, Real, Real, int, int, const Real*,
                                          const Real*, int, Real, Real, Real>;

    Box box;
};

using SingleBoxModule = BoxModule<float, Complex>;
using DoubleBoxModule = BoxModule<double, Complexd>;

/// The module of a precision, registered with the runtime when the program is loaded.
const SingleBoxModule& boxModule(float precision);
const DoubleBoxModule& boxModule(double precision);

/// The modules as they are compiled for an instruction set of the host; a GPU's for the baseline.
template <lanes::InstructionSet set>
SingleBoxModule singleBoxModuleOf();
template <lanes::InstructionSet set>
DoubleBoxModule doubleBoxModuleOf();
