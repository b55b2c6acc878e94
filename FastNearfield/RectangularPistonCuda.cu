// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/PistonKernels.h"

namespace {

__constant__ float global_RectangularPiston_float_x[256];
__constant__ float global_RectangularPiston_float_w[256];
__constant__ int global_RectangularPiston_float_N;

/// The single-precision family.
struct Single {
    using Real = float;
    using Complex = ::Complex;
    static __device__ float x(int i) { return global_RectangularPiston_float_x[i]; }
    static __device__ float w(int i) { return global_RectangularPiston_float_w[i]; }
    /// Never more than the arrays hold, whatever was uploaded.
    static __device__ int order() {
        return global_RectangularPiston_float_N <= 512 ? global_RectangularPiston_float_N : 512;
    }
};

}  // namespace

template <>
SinglePistonModule singlePistonModuleOf<lanes::InstructionSet::PISTONFIELD_INSTRUCTION_SET>() {
    return {
        commonModule<Single>(
            {{{"global_RectangularPiston_float_x", &global_RectangularPiston_float_x,
               sizeof global_RectangularPiston_float_x},
              {"global_RectangularPiston_float_w", &global_RectangularPiston_float_w,
               sizeof global_RectangularPiston_float_w},
              {"global_RectangularPiston_float_N", &global_RectangularPiston_float_N,
               sizeof global_RectangularPiston_float_N}}}),
        entryTo<SinglePistonModule::Structured, Single, &calculate_grid_structured<Single>>(),
        entryTo<SinglePistonModule::Unstructured, Single, &calculate_grid_unstructured<Single>>()};
}
