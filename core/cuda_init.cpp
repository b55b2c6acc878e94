// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "core/cuda_init.h"

#include "core/CudaCheck.h"
#include "core/cuda_init_kernel.h"
#include "cuda_runtime/KernelEntry.h"

using namespace cuda_runtime;

namespace {
constexpr const char* sourceUnit = "core/cuda_init";
}

cudaError_t cuda_init() {
    static_cast<void>(cudaGetLastError());
    checkPending("pre cuda_init()", sourceUnit, 14);
    KernelEntry<>(cuda_init_kernel_entry()).launch(dim3{}, dim3{});
    checkPending("post cuda_init()", sourceUnit, 16);
    return cudaGetLastError();
}

cudaError_t cuda_sync() { return cudaThreadSynchronize(); }
