// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/BoxModules.h"
#include "FastNearfield/PistonKernels.h"

namespace {

/// The precision, and a rule in device memory: half a symmetric one, each abscissa
/// before its weight: one address for both.
template <class T, class Pair>
struct BoxFamily {
    using Real = T;
    using Complex = Pair;

    __device__ T x(int i) const { return cuda_runtime::load(rule, 2 * i); }
    __device__ T w(int i) const { return cuda_runtime::load(rule, 2 * i + 1); }
    __device__ int order() const { return nodes; }

    const T* rule;
    int nodes;
};

using SingleBox = BoxFamily<float, Complex>;
using DoubleBox = BoxFamily<double, Complexd>;

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
                              const Real<Family>* transform, const Real<Family>* rule, int order,
                              Real<Family> a, Real<Family> b, Real<Family> k) {
    const auto index = cuda_runtime::threadIndex<Real<Family>>();
    const auto inside = index < points;
    if (!cuda_runtime::any(inside)) return;
    const Position<Family> within = asReals<Family>(gridIndices<Family>(index, sx, sy));
    const Position<Family> at{firstX + within.x, firstY + within.y, firstZ + within.z};
    const Position<Family> place = positionOf<Family>(at, transform);
    const auto farthest = farthestFrom<Family>(place.x, place.y, place.z, a, b);
    const auto p = cuda_runtime::withAngles(
        cuda_runtime::absolute(k * farthest), [&](auto angles) __attribute__((always_inline)) {
            return calculate_FastNearfieldFlexible<Family, decltype(angles)>(
                place.x, place.y, place.z, a, b, k, Family{rule, order});
        });
    cuda_runtime::store(d_array, index, inside, p.re, p.im);
}

}  // namespace

template <>
SingleBoxModule singleBoxModuleOf<lanes::InstructionSet::PISTONFIELD_INSTRUCTION_SET>() {
    return {entryTo<SingleBoxModule::Box, SingleBox, &calculate_box<SingleBox>>()};
}

template <>
DoubleBoxModule doubleBoxModuleOf<lanes::InstructionSet::PISTONFIELD_INSTRUCTION_SET>() {
    return {entryTo<DoubleBoxModule::Box, DoubleBox, &calculate_box<DoubleBox>>()};
}
