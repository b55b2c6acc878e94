// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "core/cuda_init.h"

#include <array>

#include "core/CudaCheck.h"
#include "core/cuda_init_kernel.h"
#include "cuda_runtime/DeviceModule.h"
#include "cuda_runtime/KernelEntry.h"

using namespace cuda_runtime;

namespace {

constexpr const char* sourceUnit = "core/cuda_init";

const std::array<const void*, 1> kernels{cuda_init_kernel_entry()};
const DeviceModule module(kernels, {});

}  // namespace

cudaError_t cuda_init() {
    static_cast<void>(cudaGetLastError());
    checkPending("pre cuda_init()", sourceUnit, 14);
    KernelEntry<>(kernels[0]).launch(dim3{}, dim3{});
    checkPending("post cuda_init()", sourceUnit, 16);
    return cudaGetLastError();
}

cudaError_t cuda_sync() { return cudaThreadSynchronize(); }
