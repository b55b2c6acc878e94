// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/RectangularPistonCuda.h"

#include <iostream>

#include "FastNearfield/PistonModules.h"
#include "FastNearfield/launch.h"
#include "core/CudaCheck.h"

using namespace cuda_runtime;

int do_timing = 0;
double global_time = 0;

namespace {

constexpr const char* sourceUnit = "FastNearfield/RectangularPistonCuda";

/// Deliberate: five values.
void printTransform(const char* label, const float* transform) {
    std::cout << label << transform[0] << " " << transform[1] << " " << transform[2] << " "
              << transform[3] << " " << transform[4] << std::endl;
}

}  // namespace

// The text of a checked call is part of its message: it is kept as it stands.
// clang-format off

void RectangularPiston_func(Complex* data, int sx, int sy, int sz, const float* transform, float l,
                            float s, float k) {
    checkPending("pre RectangularPiston_func", sourceUnit, __LINE__);
    const std::size_t datasize = launch::fieldBytes(sx, sy, sz, sizeof(Complex));
    Complex* d_array = nullptr;
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_array, datasize));
    printTransform(" transform: ", transform);
    RectangularPiston_func_device(d_array, sx, sy, sz, transform, l, s, k);
    CHECK_CUDA_CALL(cudaMemcpy( &data[0], d_array, datasize, cudaMemcpyDeviceToHost ));
    CHECK_CUDA_CALL(cudaFree(d_array));
}

void RectangularPiston_func_device(Complex* d_array, int sx, int sy, int sz, const float* transform,
                                   float l, float s, float k) {
    // Deliberate: the label lacks a letter, and three launchers share it.
    checkPending("pre RectangularPison_func_device", sourceUnit, __LINE__);
    printTransform(" _device transform: ", transform);
    float* d_transform = nullptr;
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_transform, 16*sizeof(float)));
    CHECK_CUDA_CALL(cudaMemcpy( d_transform, transform, 16*sizeof(float), cudaMemcpyHostToDevice ));
    launch::timed(sourceUnit, __LINE__, [&] {
        singlePistonModule().grid.launch(launch::regularGrid(sx, sy, sz), launch::block, d_array,
                                         sx, sy, sz, d_transform, 0.5F * s, 0.5F * l, k);
    });
    checkPending("RectangularPiston_func_device", sourceUnit, __LINE__);
    CHECK_CUDA_CALL(cudaFree(d_transform));
}

void RectangularPiston_func2(float* datar, float* datai, int sx, int sy, int sz,
                             const float* transform, float l, float s, float k) {
    checkPending("pre do_calculate_grid", sourceUnit, __LINE__);
    const std::size_t datasize = launch::fieldBytes(sx, sy, sz, sizeof(float));
    std::cout << "allocating " << launch::printedBytes(sx, sy, sz, sizeof(float)) << " bytes"
              << std::endl;
    float* d_arrayr = nullptr;
    float* d_arrayi = nullptr;
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_arrayr, datasize));
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_arrayi, datasize));
    RectangularPiston_func2_device(d_arrayr, d_arrayi, sx, sy, sz, transform, l, s, k);
    CHECK_CUDA_CALL(cudaMemcpy( &datar[0], d_arrayr, datasize, cudaMemcpyDeviceToHost ));
    CHECK_CUDA_CALL(cudaMemcpy( &datai[0], d_arrayi, datasize, cudaMemcpyDeviceToHost ));
    CHECK_CUDA_CALL(cudaFree(d_arrayr));
    CHECK_CUDA_CALL(cudaFree(d_arrayi));
}

void RectangularPiston_func2_device(float* d_arrayr, float* d_arrayi, int sx, int sy, int sz,
                                    const float* transform, float l, float s, float k) {
    checkPending("pre RectangularPiston_func2_device", sourceUnit, __LINE__);
    float* d_transform = nullptr;
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_transform, 16*sizeof(float)));
    CHECK_CUDA_CALL(cudaMemcpy( d_transform, transform, 16*sizeof(float), cudaMemcpyHostToDevice ));
    launch::timed(sourceUnit, __LINE__, [&] {
        singlePistonModule().splitGrid.launch(launch::regularGrid(sx, sy, sz), launch::block,
                                              d_arrayr, d_arrayi, sx, sy, sz, d_transform, 0.5F * s,
                                              0.5F * l, k);
    });
    checkPending("RectangularPiston_func2_device", sourceUnit, __LINE__);
    CHECK_CUDA_CALL(cudaFree(d_transform));
}

void RectangularPiston_func_structured(Complex* data, int nx, int ny, int nz, const float* posx,
                                       const float* posy, const float* posz, float l, float s,
                                       float k) {
    checkPending("pre do_calculate_grid", sourceUnit, __LINE__);
    const std::size_t datasize = launch::fieldBytes(nx, ny, nz, sizeof(float));
    const auto sx = static_cast<std::size_t>(nx);
    const auto sy = static_cast<std::size_t>(ny);
    const auto sz = static_cast<std::size_t>(nz);
    // Deliberate: the line shows the size of one component, half of what is allocated.
    std::cout << "allocating " << launch::printedBytes(nx, ny, nz, sizeof(float)) << " bytes"
              << std::endl;
    Complex* d_arrayr = nullptr;
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_arrayr, datasize*2));
    float* d_posx = nullptr;
    float* d_posy = nullptr;
    float* d_posz = nullptr;
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_posx, sx * sizeof(float)));
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_posy, sy * sizeof(float)));
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_posz, sz * sizeof(float)));
    CHECK_CUDA_CALL(cudaMemcpy(&d_posx[0], &posx[0], sx*sizeof(float), cudaMemcpyHostToDevice));
    CHECK_CUDA_CALL(cudaMemcpy(&d_posy[0], &posy[0], sy*sizeof(float), cudaMemcpyHostToDevice));
    CHECK_CUDA_CALL(cudaMemcpy(&d_posz[0], &posz[0], sz*sizeof(float), cudaMemcpyHostToDevice));
    // Deliberate: the caller's arrays are passed on, the copies are not read.
    RectangularPiston_func_structured_device(d_arrayr, nx, ny, nz, posx, posy, posz, l, s, k);
    CHECK_CUDA_CALL(cudaMemcpy( &data[0], d_arrayr, datasize*2, cudaMemcpyDeviceToHost ));
    CHECK_CUDA_CALL(cudaFree(d_posz));
    CHECK_CUDA_CALL(cudaFree(d_posy));
    CHECK_CUDA_CALL(cudaFree(d_posx));
    CHECK_CUDA_CALL(cudaFree(d_arrayr));
}

void RectangularPiston_func_structured_device(Complex* d_array, int sx, int sy, int sz,
                                              const float* posx, const float* posy,
                                              const float* posz, float l, float s, float k) {
    checkPending("pre RectangularPison_func_device", sourceUnit, __LINE__);
    launch::timed(sourceUnit, __LINE__, [&] {
        singlePistonModule().structured.launch(launch::regularGrid(sx, sy, sz), launch::block,
                                               d_array, sx, sy, sz, posx, posy, posz, 0.5F * s,
                                               0.5F * l, k);
    });
    checkPending("RectangularPiston_func_device", sourceUnit, __LINE__);
}

void RectangularPiston_func_unstructured(Complex* data, int positions, const float* pos, float l,
                                         float s, float k) {
    checkPending("pre do_calculate_grid", sourceUnit, __LINE__);
    const auto nbPositions = static_cast<std::size_t>(positions);
    const std::size_t datasize = launch::fieldBytes(positions, 1, 1, sizeof(float));
    std::cout << "allocating " << launch::printedBytes(positions, 1, 1, sizeof(float)) << " bytes"
              << std::endl;
    Complex* d_arrayr = nullptr;
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_arrayr, datasize*2));
    float* d_pos = nullptr;
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_pos, nbPositions*3*sizeof(float)));
    CHECK_CUDA_CALL(cudaMemcpy(&d_pos[0], &pos[0], nbPositions*3*sizeof(float), cudaMemcpyHostToDevice));
    RectangularPiston_func_unstructured_device(d_arrayr, positions, d_pos, l, s, k);
    CHECK_CUDA_CALL(cudaMemcpy( &data[0], d_arrayr, datasize*2, cudaMemcpyDeviceToHost ));
    CHECK_CUDA_CALL(cudaFree(d_pos));
    CHECK_CUDA_CALL(cudaFree(d_arrayr));
}

void RectangularPiston_func_unstructured_device(Complex* d_array, int nbPos, const float* pos,
                                                float l, float s, float k) {
    checkPending("pre RectangularPison_func_device", sourceUnit, __LINE__);
    const int gx = iDivUp(iDivUp(nbPos, 128), 64);
    std::cout << "nbPos" << nbPos << std::endl;
    std::cout << "grid: " << gx << " " << 64 << " " << 1 << std::endl;
    std::cout << gx * 8192LL << std::endl;
    launch::timed(sourceUnit, __LINE__, [&] {
        singlePistonModule().unstructured.launch({static_cast<unsigned>(gx), 64, 1}, launch::block,
                                                 d_array, nbPos, pos, 0.5F * s, 0.5F * l, k);
    });
    checkPending("RectangularPiston_func_device", sourceUnit, __LINE__);
}

void do_calculate_grid(Complex* data, int sx, int sy, int sz, float transform00, float transform01,
                       float transform02, float transform03, float transform10, float transform11,
                       float transform12, float transform13, float transform20, float transform21,
                       float transform22, float transform23, float l, float s, float k) {
    checkPending("pre do_calculate_grid", sourceUnit, __LINE__);
    const std::size_t datasize = launch::fieldBytes(sx, sy, sz, sizeof(Complex));
    Complex* d_array = nullptr;
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_array, datasize));
    launch::timed(sourceUnit, __LINE__, [&] {
        singlePistonModule().gridByValues.launch(
            launch::regularGrid(sx, sy, sz), launch::block, d_array, sx, sy, sz, transform00,
            transform01, transform02, transform03, transform10, transform11, transform12,
            transform13, transform20, transform21, transform22, transform23, 0.5F * s, 0.5F * l, k);
    });
    checkPending("calculate_grid", sourceUnit, __LINE__);
    CHECK_CUDA_CALL(cudaMemcpy( &data[0], d_array, datasize, cudaMemcpyDeviceToHost ));
    CHECK_CUDA_CALL(cudaFree(d_array));
}

void do_calculate(Complex* data, int sx, int sy, int sz, float dx, float dy, float dz, float l,
                  float s, float k) {
    checkPending("pre do_calculate", sourceUnit, __LINE__);
    const std::size_t datasize = launch::fieldBytes(sx, sy, sz, sizeof(Complex));
    Complex* d_array = nullptr;
    CHECK_CUDA_CALL(cudaMalloc((void**)&d_array, datasize));
    singlePistonModule().calculate.launch(launch::regularGrid(sx, sy, sz), launch::block, d_array,
                                          sx, sy, sz, dx, dy, dz, 0.5F * s, 0.5F * l, k);
    checkPending("calculate", sourceUnit, __LINE__);
    CHECK_CUDA_CALL(cudaMemcpy( &data[0], d_array, datasize, cudaMemcpyDeviceToHost ));
    CHECK_CUDA_CALL(cudaFree(d_array));
}

// clang-format on
