// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/BoxModules.h"
#include "FastNearfield/PistonKernels.h"

namespace {

__constant__ float global_box_float_x[256];
__constant__ float global_box_float_w[256];
__constant__ int global_box_float_N;
__constant__ double global_box_double_x[256];
__constant__ double global_box_double_w[256];
__constant__ int global_box_double_N;

/// The single-precision family, with a rule of its own.
struct SingleBox {
    using Real = float;
    using Complex = ::Complex;
    static __device__ float x(int i) { return global_box_float_x[i]; }
    static __device__ float w(int i) { return global_box_float_w[i]; }
    static __device__ int order() { return global_box_float_N; }
};

/// The double-precision family, with a rule of its own.
struct DoubleBox {
    using Real = double;
    using Complex = ::Complexd;
    static __device__ double x(int i) { return global_box_double_x[i]; }
    static __device__ double w(int i) { return global_box_double_w[i]; }
    static __device__ int order() { return global_box_double_N; }
};

/// The position of a lattice point, by the lattice's own coordinates: its bits do not depend on
/// the box that the point is in.
template <class Family>
__device__ inline Position<Family> positionOf(const Position<Family>& index,
                                              const Real<Family>* transform) {
    const TransformRows<Family> m = loadRows<Family>(transform);
    const Real<Family> divisor = cuda_runtime::load(transform, 15);
    return {coordinate<Family>(index, m.m00, m.m01, m.m02, m.m03) / divisor,
            coordinate<Family>(index, m.m10, m.m11, m.m12, m.m13) / divisor,
            coordinate<Family>(index, m.m20, m.m21, m.m22, m.m23) / divisor};
}

template <class Family>
__global__ void calculate_box(typename Family::Complex* d_array, int points, Real<Family> firstX,
                              Real<Family> firstY, Real<Family> firstZ, int sx, int sy,
                              const Real<Family>* transform, Real<Family> a, Real<Family> b,
                              Real<Family> k) {
    const auto index = cuda_runtime::threadIndex<Real<Family>>();
    const auto inside = index < points;
    if (!cuda_runtime::any(inside)) return;
    const Position<Family> within = asReals<Family>(gridIndices<Family>(index, sx, sy));
    const Position<Family> at{firstX + within.x, firstY + within.y, firstZ + within.z};
    const auto p = pressureAt<Family>(positionOf<Family>(at, transform), a, b, k);
    cuda_runtime::store(d_array, index, inside, p.re, p.im);
}

}  // namespace

namespace PISTONFIELD_INSTRUCTION_SET {

SingleBoxModule singleBoxModule() {
    return {entryTo<SingleBoxModule::Box, SingleBox, &calculate_box<SingleBox>>(),
            {{{"global_box_float_x", &global_box_float_x, sizeof global_box_float_x},
              {"global_box_float_w", &global_box_float_w, sizeof global_box_float_w},
              {"global_box_float_N", &global_box_float_N, sizeof global_box_float_N}}}};
}

DoubleBoxModule doubleBoxModule() {
    return {entryTo<DoubleBoxModule::Box, DoubleBox, &calculate_box<DoubleBox>>(),
            {{{"global_box_double_x", &global_box_double_x, sizeof global_box_double_x},
              {"global_box_double_w", &global_box_double_w, sizeof global_box_double_w},
              {"global_box_double_N", &global_box_double_N, sizeof global_box_double_N}}}};
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
