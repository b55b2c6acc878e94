// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/PistonKernels.h"

namespace {

__constant__ double global_dpRectangularPiston_double_x[256];
__constant__ double global_dpRectangularPiston_double_w[256];
__constant__ int global_dpRectangularPiston_double_N;

/// The double-precision family.
struct Double {
    using Real = double;
    using Complex = ::Complexd;
    static __device__ double x(int i) { return global_dpRectangularPiston_double_x[i]; }
    static __device__ double w(int i) { return global_dpRectangularPiston_double_w[i]; }
    /// Never more than the arrays hold, whatever was uploaded.
    static __device__ int order() {
        return global_dpRectangularPiston_double_N <= 512 ? global_dpRectangularPiston_double_N
                                                          : 512;
    }
};

}  // namespace

template <>
DoublePistonModule doublePistonModuleOf<lanes::InstructionSet::PISTONFIELD_INSTRUCTION_SET>() {
    return commonModule<Double>(
        {{{"global_dpRectangularPiston_double_x", &global_dpRectangularPiston_double_x,
           sizeof global_dpRectangularPiston_double_x},
          {"global_dpRectangularPiston_double_w", &global_dpRectangularPiston_double_w,
           sizeof global_dpRectangularPiston_double_w},
          {"global_dpRectangularPiston_double_N", &global_dpRectangularPiston_double_N,
           sizeof global_dpRectangularPiston_double_N}}});
}
