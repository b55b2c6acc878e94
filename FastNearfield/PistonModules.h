// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <string>

#include "FastNearfield/Complex.h"
#include "cuda_runtime/ConstantSymbol.h"
#include "cuda_runtime/KernelEntry.h"
#include "lanes/InstructionSet.h"

/// The kernels that both precisions have, and the module's constants: abscissas, weights and order
/// of the rule. One thread computes the pressure at one grid point; a and b are the piston's half
/// sides along x and y.
template <class Real, class Complex>
struct PistonModule {
    /// (d_array, sx, sy, sz, dx, dy, dz, a, b, k): points at (ix*dx, iy*dy, iz*dz)
    using Calculate =
        cuda_runtime::KernelEntry<Complex*, int, int, int, Real, Real, Real, Real, Real, Real>;
    /// (d_array, sx, sy, sz, transform00 .. transform23, a, b, k)
    using GridByValues = cuda_runtime::KernelEntry<Complex*, int, int, int,  //
                                                   Real, Real, Real, Real,   //
                                                   Real, Real, Real, Real,   //
                                                   Real, Real, Real, Real,   //
                                                   Real, Real, Real>;
    /// (d_arrayr, d_arrayi, sx, sy, sz, transform00 .. transform23, a, b, k)
    using SplitGridByValues = cuda_runtime::KernelEntry<Real*, Real*, int, int, int,  //
                                                        Real, Real, Real, Real,       //
                                                        Real, Real, Real, Real,       //
                                                        Real, Real, Real, Real,       //
                                                        Real, Real, Real>;
    /// (d_array, sx, sy, sz, transform, a, b, k)
    using Grid = cuda_runtime::KernelEntry<Complex*, int, int, int, const Real*, Real, Real, Real>;
    /// (d_arrayr, d_arrayi, sx, sy, sz, transform, a, b, k)
    using SplitGrid =
        cuda_runtime::KernelEntry<Real*, Real*, int, int, int, const Real*, Real, Real, Real>;

    Calculate calculate;
    GridByValues gridByValues;
    SplitGridByValues splitGridByValues;
    Grid grid;
    SplitGrid splitGrid;
    std::array<cuda_runtime::ConstantSymbol, 3> constants;
};

struct SinglePistonModule : PistonModule<float, Complex> {
    /// (d_array, sx, sy, sz, posx, posy, posz, a, b, k): points at (posx[ix], posy[iy], posz[iz])
    using Structured = cuda_runtime::KernelEntry<Complex*, int, int, int, const float*,
                                                 const float*, const float*, float, float, float>;
    /// (d_array, nbPos, pos, a, b, k): points at consecutive triples of pos
    using Unstructured =
        cuda_runtime::KernelEntry<Complex*, int, const float*, float, float, float>;

    Structured structured;
    Unstructured unstructured;
};

using DoublePistonModule = PistonModule<double, Complexd>;

/// The device modules; their kernels and constants are registered with the runtime when the program
/// is loaded.
const SinglePistonModule& singlePistonModule();
const DoublePistonModule& doublePistonModule();

/// The modules as they are compiled for an instruction set of the host; a GPU's for the baseline.
template <lanes::InstructionSet set>
SinglePistonModule singlePistonModuleOf();
template <lanes::InstructionSet set>
DoublePistonModule doublePistonModuleOf();

/// The name under which a module registers a constant of the rule (x, w or N):
/// "global_<stem>_float_x" in single precision, "global_dp<stem>_double_x" in double.
std::string singleConstantName(const char* stem, char variable);
std::string doubleConstantName(const char* stem, char variable);
