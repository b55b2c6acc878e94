// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The kernels' positions alone, so that nothing else is in the device code that is looked at.

#include "FastNearfield/PistonKernels.h"

namespace {

template <class T>
struct Positions {
    using Real = T;
};

}  // namespace

template <class T>
__global__ void place_points(T* x, T* y, T* z, int sx, int sy, const T* transform) {
    using Family = Positions<T>;
    const auto index = cuda_runtime::threadIndex<T>();
    const auto p = place<Family>(gridIndices<Family>(index, sx, sy), loadRows<Family>(transform));
    cuda_runtime::store(x, index, true, p.x);
    cuda_runtime::store(y, index, true, p.y);
    cuda_runtime::store(z, index, true, p.z);
}

template __global__ void place_points(float*, float*, float*, int, int, const float*);
template __global__ void place_points(double*, double*, double*, int, int, const double*);
