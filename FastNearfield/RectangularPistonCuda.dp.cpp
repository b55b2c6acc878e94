// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/RectangularPistonCuda.h"
#include "FastNearfield/PistonModules.h"
#include "FastNearfield/launch.h"
#include "core/CudaCheck.h"

using namespace cuda_runtime;

namespace {
constexpr const char* sourceUnit = "FastNearfield/RectangularPistonCuda.dp";
}

// The text of a checked call is part of its message: it is kept as it stands.
// clang-format off

void RectangularPiston_func2_d(double* datar, double* datai, int sx, int sy, int sz,
                               const double* transform, double l, double s, double k) {
    checkPending("pre do_calculate_grid", sourceUnit, __LINE__);
    const std::size_t datasize = launch::fieldBytes(sx, sy, sz, sizeof(double));
    double* d_arrayr = nullptr;
    double* d_arrayi = nullptr;
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_arrayr, datasize));
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_arrayi, datasize));
    double* d_transform = nullptr;
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_transform, 16*sizeof(double)));
    CHECK_CUDA_CALL(cudaMemcpy( d_transform, transform, 16*sizeof(double), cudaMemcpyHostToDevice ));
    launch::timed(sourceUnit, __LINE__, [&] {
        doublePistonModule().splitGrid.launch(launch::regularGrid(sx, sy, sz), launch::block,
                                              d_arrayr, d_arrayi, sx, sy, sz, d_transform, 0.5 * s,
                                              0.5 * l, k);
    });
    checkPending("calculate_grid", sourceUnit, __LINE__);
    CHECK_CUDA_CALL(cudaMemcpy( &datar[0], d_arrayr, datasize, cudaMemcpyDeviceToHost ));
    CHECK_CUDA_CALL(cudaMemcpy( &datai[0], d_arrayi, datasize, cudaMemcpyDeviceToHost ));
    CHECK_CUDA_CALL(cudaFree(d_arrayr));
    CHECK_CUDA_CALL(cudaFree(d_arrayi));
    CHECK_CUDA_CALL(cudaFree(d_transform));
}

void RectangularPiston_func_d(Complexd* data, int sx, int sy, int sz, const double* transform,
                              double l, double s, double k) {
    checkPending("pre do_calculate_grid", sourceUnit, __LINE__);
    const std::size_t datasize = launch::fieldBytes(sx, sy, sz, sizeof(Complexd));
    Complexd* d_array = nullptr;
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_array, datasize));
    double* d_transform = nullptr;
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_transform, 16*sizeof(double)));
    CHECK_CUDA_CALL(cudaMemcpy( d_transform, transform, 16*sizeof(double), cudaMemcpyHostToDevice ));
    launch::timed(sourceUnit, __LINE__, [&] {
        doublePistonModule().grid.launch(launch::regularGrid(sx, sy, sz), launch::block, d_array,
                                         sx, sy, sz, d_transform, 0.5 * s, 0.5 * l, k);
    });
    checkPending("calculate_grid", sourceUnit, __LINE__);
    CHECK_CUDA_CALL(cudaMemcpy( &data[0], d_array, datasize, cudaMemcpyDeviceToHost ));
    CHECK_CUDA_CALL(cudaFree(d_array));
    CHECK_CUDA_CALL(cudaFree(d_transform));
}

void do_calculate_grid_d(Complexd* data, int sx, int sy, int sz, double transform00,
                         double transform01, double transform02, double transform03,
                         double transform10, double transform11, double transform12,
                         double transform13, double transform20, double transform21,
                         double transform22, double transform23, double l, double s, double k) {
    checkPending("pre do_calculate_grid", sourceUnit, __LINE__);
    const std::size_t datasize = launch::fieldBytes(sx, sy, sz, sizeof(Complexd));
    Complexd* d_array = nullptr;
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_array, datasize));
    launch::timed(sourceUnit, __LINE__, [&] {
        doublePistonModule().gridByValues.launch(
            launch::regularGrid(sx, sy, sz), launch::block, d_array, sx, sy, sz, transform00,
            transform01, transform02, transform03, transform10, transform11, transform12,
            transform13, transform20, transform21, transform22, transform23, 0.5 * s, 0.5 * l, k);
    });
    checkPending("calculate_grid", sourceUnit, __LINE__);
    CHECK_CUDA_CALL(cudaMemcpy( &data[0], d_array, datasize, cudaMemcpyDeviceToHost ));
    CHECK_CUDA_CALL(cudaFree(d_array));
}

void do_calculate_d(Complexd* data, int sx, int sy, int sz, double dx, double dy, double dz,
                    double l, double s, double k) {
    checkPending("pre do_calculate", sourceUnit, __LINE__);
    const std::size_t datasize = launch::fieldBytes(sx, sy, sz, sizeof(Complexd));
    Complexd* d_array = nullptr;
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_array, datasize));
    doublePistonModule().calculate.launch(launch::regularGrid(sx, sy, sz), launch::block, d_array,
                                          sx, sy, sz, dx, dy, dz, 0.5 * s, 0.5 * l, k);
    checkPending("calculate", sourceUnit, __LINE__);
    CHECK_CUDA_CALL(cudaMemcpy( &data[0], d_array, datasize, cudaMemcpyDeviceToHost ));
    CHECK_CUDA_CALL(cudaFree(d_array));
}

// clang-format on
