// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "tests/gpu/SubstituteRuntime.h"

#include <cuda_runtime_api.h>

#include <array>

#include "core/cuda_init_kernel.h"

SubstituteRuntime& substituteRuntime() {
    static SubstituteRuntime instance;
    return instance;
}

const void* cuda_init_kernel_entry() { return &substituteRuntime(); }

namespace {

CUresult outcomeOf(const char* function) {
    const auto found = substituteRuntime().failing.find(function);
    return found == substituteRuntime().failing.end() ? CUDA_SUCCESS : found->second;
}

CUresult init(unsigned /*flags*/) { return outcomeOf("cuInit"); }

CUresult getDevice(CUdevice* device, int number) {
    *device = number;
    return outcomeOf("cuDeviceGet");
}

CUresult createContext(CUcontext* context, unsigned /*flags*/, CUdevice /*device*/) {
    if (const CUresult failure = outcomeOf("cuCtxCreate")) return failure;
    auto& [created, live, current] = substituteRuntime().contexts;
    static std::array<char, 100> addresses;
    *context = reinterpret_cast<CUcontext>(&addresses.at(static_cast<std::size_t>(created++)));
    live.insert(*context);
    current.push_back(*context);
    return CUDA_SUCCESS;
}

CUresult pushCurrent(CUcontext context) {
    if (const CUresult failure = outcomeOf("cuCtxPushCurrent")) return failure;
    auto& contexts = substituteRuntime().contexts;
    if (!contexts.live.contains(context)) return CUDA_ERROR_INVALID_CONTEXT;
    contexts.current.push_back(context);
    return CUDA_SUCCESS;
}

CUresult popCurrent(CUcontext* context) {
    if (const CUresult failure = outcomeOf("cuCtxPopCurrent")) return failure;
    auto& current = substituteRuntime().contexts.current;
    if (current.empty()) return CUDA_ERROR_INVALID_CONTEXT;
    *context = current.back();
    current.pop_back();
    return CUDA_SUCCESS;
}

// A context that is current is destroyed as well, and is current no longer.
CUresult destroyContext(CUcontext context) {
    if (const CUresult failure = outcomeOf("cuCtxDestroy")) return failure;
    auto& [created, live, current] = substituteRuntime().contexts;
    std::erase(current, context);
    return live.erase(context) == 1 ? CUDA_SUCCESS : CUDA_ERROR_INVALID_CONTEXT;
}

/// What a call of the runtime returns, and keeps as the last error where it is one.
cudaError_t ended(cudaError_t status) {
    if (!substituteRuntime().hasDriver) return cudaErrorInsufficientDriver;
    if (status != cudaSuccess)
        substituteRuntime().lastError = static_cast<cuda_runtime::cudaError_t>(status);
    return status;
}

cudaError_t operation() {
    return ended(substituteRuntime().operationsFail ? cudaErrorLaunchFailure : cudaSuccess);
}

}  // namespace

extern "C" {

cudaError_t cudaGetDriverEntryPointByVersion(const char* symbol, void** function,
                                             unsigned /*version*/, unsigned long long /*flags*/,
                                             cudaDriverEntryPointQueryResult* outcome) {
    static const std::map<std::string, void*> functions{
        {"cuInit", reinterpret_cast<void*>(init)},
        {"cuDeviceGet", reinterpret_cast<void*>(getDevice)},
        {"cuCtxCreate", reinterpret_cast<void*>(createContext)},
        {"cuCtxPushCurrent", reinterpret_cast<void*>(pushCurrent)},
        {"cuCtxPopCurrent", reinterpret_cast<void*>(popCurrent)},
        {"cuCtxDestroy", reinterpret_cast<void*>(destroyContext)}};
    if (!substituteRuntime().hasDriver) return ended(cudaErrorInsufficientDriver);
    const bool isThere = !substituteRuntime().missing.contains(symbol);
    *function = isThere ? functions.at(symbol) : nullptr;
    *outcome = isThere ? cudaDriverEntryPointSuccess : cudaDriverEntryPointSymbolNotFound;
    return cudaSuccess;
}

cudaError_t cudaGetDeviceCount(int* count) {
    const bool found = substituteRuntime().hasDevice;
    *count = found ? 1 : 0;
    return ended(found ? cudaSuccess : cudaErrorNoDevice);
}

cudaError_t cudaGetDeviceProperties(cudaDeviceProp* properties, int /*device*/) {
    *properties = {};
    properties->major = 2;
    properties->multiProcessorCount = 1;
    return cudaSuccess;
}

cudaError_t cudaDeviceGetAttribute(int* value, cudaDeviceAttr /*attribute*/, int /*device*/) {
    *value = 1;
    return cudaSuccess;
}

cudaError_t cudaMalloc(void** /*address*/, std::size_t /*bytes*/) { return operation(); }

cudaError_t cudaFree(void* /*address*/) { return operation(); }

cudaError_t cudaMemcpy(void* /*to*/, const void* /*from*/, std::size_t /*bytes*/,
                       cudaMemcpyKind /*kind*/) {
    return operation();
}

cudaError_t cudaMemcpyToSymbol(const void* /*symbol*/, const void* /*from*/, std::size_t /*bytes*/,
                               std::size_t /*offset*/, cudaMemcpyKind /*kind*/) {
    return operation();
}

cudaError_t cudaLaunchKernel(const void* /*entry*/, dim3 /*grid*/, dim3 /*block*/,
                             void** /*arguments*/, std::size_t /*sharedBytes*/,
                             cudaStream_t /*stream*/) {
    return operation();
}

cudaError_t cudaDeviceSynchronize() { return operation(); }

cudaError_t cudaPeekAtLastError() {
    return ended(static_cast<cudaError_t>(substituteRuntime().lastError));
}

cudaError_t cudaGetLastError() {
    const cudaError_t status = cudaPeekAtLastError();
    substituteRuntime().lastError = cuda_runtime::cudaSuccess;
    return status;
}

const char* cudaGetErrorString(cudaError_t status) {
    static std::string text;
    text = "status " + std::to_string(status);
    return text.c_str();
}

}  // extern "C"
