// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/CudaStorage.h"

#include "core/CudaCheck.h"
#include "cuda_runtime/runtime.h"

using namespace cuda_runtime;

namespace {
constexpr const char* sourceUnit = "FastNearfield/CudaStorage";
}

CudaStorage::~CudaStorage() {
    // Freeing nothing would create a context.
    if (device != nullptr) static_cast<void>(cudaFree(device));
}

std::size_t CudaStorage::bytes() const noexcept {
    return size * (type == DT_FLOAT ? sizeof(float) : sizeof(double));
}

void* CudaStorage::getDevicePointer() {
    if (newest != Side::device) {
        const void* const from = getHostPointer();
        if (device == nullptr) CHECK_CUDA_CALL(cudaMalloc(&device, bytes()));
        CHECK_CUDA_CALL(cudaMemcpy(device, from, bytes(), cudaMemcpyHostToDevice));
        newest = Side::device;
    }
    return device;
}

void* CudaStorage::getHostPointer() {
    if (host == nullptr) host = std::make_unique<std::byte[]>(bytes());
    if (newest == Side::device)
        CHECK_CUDA_CALL(cudaMemcpy(host.get(), device, bytes(), cudaMemcpyDeviceToHost));
    newest = Side::host;
    return host.get();
}
