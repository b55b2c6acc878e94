// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "tests/gpu/SubstituteRuntime.h"

#include <cuda_runtime_api.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "core/cuda_init_kernel.h"

SubstituteRuntime& substituteRuntime() {
    static SubstituteRuntime instance;
    return instance;
}

const void* cuda_init_kernel_entry() { return &substituteRuntime(); }

CUcontext SubstituteRuntime::handle() noexcept { return reinterpret_cast<CUcontext>(&primary); }

namespace {

CUresult outcomeOf(const char* function) {
    substituteRuntime().calls.emplace_back(function);
    const auto found = substituteRuntime().failing.find(function);
    return found == substituteRuntime().failing.end() ? CUDA_SUCCESS : found->second;
}

CUresult init(unsigned /*flags*/) { return outcomeOf("cuInit"); }

CUresult getDevice(CUdevice* device, int number) {
    *device = number;
    return outcomeOf("cuDeviceGet");
}

CUresult getState(CUdevice /*device*/, unsigned* flags, int* isActive) {
    if (const CUresult failure = outcomeOf("cuDevicePrimaryCtxGetState")) return failure;
    *flags = 0;
    *isActive = substituteRuntime().primary.holders > 0 ? 1 : 0;
    return CUDA_SUCCESS;
}

CUresult retain(CUcontext* context, CUdevice /*device*/) {
    if (const CUresult failure = outcomeOf("cuDevicePrimaryCtxRetain")) return failure;
    SubstituteRuntime::Primary& primary = substituteRuntime().primary;
    if (primary.holders++ == 0) ++primary.made;
    *context = substituteRuntime().handle();
    return CUDA_SUCCESS;
}

CUresult release(CUdevice /*device*/) {
    if (const CUresult failure = outcomeOf("cuDevicePrimaryCtxRelease")) return failure;
    SubstituteRuntime::Primary& primary = substituteRuntime().primary;
    if (primary.holders == 0) return CUDA_ERROR_INVALID_CONTEXT;
    if (--primary.holders > 0) return CUDA_SUCCESS;
    const int made = primary.made;
    primary = {};
    primary.made = made;
    return CUDA_SUCCESS;
}

CUresult pushCurrent(CUcontext context) {
    if (const CUresult failure = outcomeOf("cuCtxPushCurrent")) return failure;
    if (substituteRuntime().primary.holders == 0) return CUDA_ERROR_CONTEXT_IS_DESTROYED;
    substituteRuntime().current.push_back(context);
    return CUDA_SUCCESS;
}

CUresult popCurrent(CUcontext* context) {
    if (const CUresult failure = outcomeOf("cuCtxPopCurrent")) return failure;
    auto& current = substituteRuntime().current;
    if (current.empty()) return CUDA_ERROR_INVALID_CONTEXT;
    *context = current.back();
    current.pop_back();
    return CUDA_SUCCESS;
}

/// What a call of the runtime returns, and keeps as the last error where it is one.
cudaError_t ended(cudaError_t status) {
    if (!substituteRuntime().hasDriver) return cudaErrorInsufficientDriver;
    if (status != cudaSuccess)
        substituteRuntime().lastError = static_cast<cuda_runtime::cudaError_t>(status);
    return status;
}

/// Of an operation in the context that is current, which has to be the primary one.
cudaError_t operation(const char* name) {
    SubstituteRuntime& runtime = substituteRuntime();
    runtime.calls.emplace_back(name);
    if (runtime.current.empty() || runtime.current.back() != runtime.handle())
        return ended(cudaErrorDeviceUninitialized);
    const bool fails = runtime.operationsFail || runtime.primary.broken;
    return ended(fails ? cudaErrorLaunchFailure : cudaSuccess);
}

/// An address that nothing else has, of what is made in a set; null for 0 bytes.
void* madeIn(std::set<void*>& all, std::size_t bytes) {
    static std::array<char, 1000> addresses;
    static std::size_t used = 0;
    if (bytes == 0) return nullptr;
    void* const address = &addresses.at(used++);
    all.insert(address);
    return address;
}

}  // namespace

extern "C" {

cudaError_t cudaGetDriverEntryPointByVersion(const char* symbol, void** function,
                                             unsigned /*version*/, unsigned long long /*flags*/,
                                             cudaDriverEntryPointQueryResult* outcome) {
    // Without a destructor: the module under test goes later.
    struct Function {
        std::string_view name;
        void* address;
    };
    static const std::array<Function, 7> functions{
        {{"cuInit", reinterpret_cast<void*>(init)},
         {"cuDeviceGet", reinterpret_cast<void*>(getDevice)},
         {"cuDevicePrimaryCtxGetState", reinterpret_cast<void*>(getState)},
         {"cuDevicePrimaryCtxRetain", reinterpret_cast<void*>(retain)},
         {"cuDevicePrimaryCtxRelease", reinterpret_cast<void*>(release)},
         {"cuCtxPushCurrent", reinterpret_cast<void*>(pushCurrent)},
         {"cuCtxPopCurrent", reinterpret_cast<void*>(popCurrent)}}};
    if (!substituteRuntime().hasDriver) return ended(cudaErrorInsufficientDriver);
    const bool isThere = !substituteRuntime().missing.contains(symbol);
    const auto* const found = std::find_if(functions.begin(), functions.end(),
                                           [=](const Function& f) { return f.name == symbol; });
    *function = isThere ? found->address : nullptr;
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

cudaError_t cudaMalloc(void** address, std::size_t bytes) {
    const cudaError_t status = operation("cudaMalloc");
    if (status != cudaSuccess) return status;
    *address = madeIn(substituteRuntime().primary.memory, bytes);
    return cudaSuccess;
}

cudaError_t cudaFree(void* address) {
    const cudaError_t status = operation("cudaFree");
    if (status != cudaSuccess || address == nullptr) return status;
    const bool wasThere = substituteRuntime().primary.memory.erase(address) == 1;
    return ended(wasThere ? cudaSuccess : cudaErrorInvalidValue);
}

cudaError_t cudaHostAlloc(void** address, std::size_t bytes, unsigned /*flags*/) {
    const cudaError_t status = operation("cudaHostAlloc");
    if (status != cudaSuccess) return status;
    *address = madeIn(substituteRuntime().primary.hostMemory, bytes);
    return cudaSuccess;
}

cudaError_t cudaFreeHost(void* address) {
    const cudaError_t status = operation("cudaFreeHost");
    if (status != cudaSuccess || address == nullptr) return status;
    const bool wasThere = substituteRuntime().primary.hostMemory.erase(address) == 1;
    return ended(wasThere ? cudaSuccess : cudaErrorInvalidValue);
}

cudaError_t cudaStreamCreateWithFlags(cudaStream_t* stream, unsigned flags) {
    const cudaError_t status = operation("cudaStreamCreateWithFlags");
    if (status != cudaSuccess) return status;
    if (flags != cudaStreamNonBlocking) return ended(cudaErrorInvalidValue);
    *stream = static_cast<cudaStream_t>(madeIn(substituteRuntime().primary.streams, 1));
    return cudaSuccess;
}

cudaError_t cudaStreamDestroy(cudaStream_t stream) {
    const cudaError_t status = operation("cudaStreamDestroy");
    if (status != cudaSuccess) return status;
    const bool wasThere = substituteRuntime().primary.streams.erase(stream) == 1;
    return ended(wasThere ? cudaSuccess : cudaErrorInvalidResourceHandle);
}

cudaError_t cudaMemcpy(void* /*to*/, const void* /*from*/, std::size_t /*bytes*/,
                       cudaMemcpyKind /*kind*/) {
    return operation("cudaMemcpy");
}

cudaError_t cudaMemcpyAsync(void* /*to*/, const void* /*from*/, std::size_t /*bytes*/,
                            cudaMemcpyKind /*kind*/, cudaStream_t stream) {
    substituteRuntime().streams.push_back(stream);
    substituteRuntime().usedStreams.push_back(stream);
    return operation("cudaMemcpyAsync");
}

cudaError_t cudaStreamSynchronize(cudaStream_t stream) {
    substituteRuntime().streams.push_back(stream);
    return operation("cudaStreamSynchronize");
}

cudaError_t cudaPointerGetAttributes(cudaPointerAttributes* attributes, const void* address) {
    const auto& memory = substituteRuntime().primary.memory;
    const bool isThere = memory.contains(const_cast<void*>(address));
    attributes->type = isThere ? cudaMemoryTypeDevice : cudaMemoryTypeUnregistered;
    attributes->device = 0;
    return operation("cudaPointerGetAttributes");
}

cudaError_t cudaMemcpyToSymbol(const void* symbol, const void* from, std::size_t bytes,
                               std::size_t offset, cudaMemcpyKind /*kind*/) {
    const cudaError_t status = operation("cudaMemcpyToSymbol");
    if (status != cudaSuccess) return status;
    std::vector<std::byte>& constant = substituteRuntime().primary.constants[symbol];
    constant.resize(std::max(constant.size(), offset + bytes));
    std::memcpy(constant.data() + offset, from, bytes);
    return cudaSuccess;
}

cudaError_t cudaLaunchKernel(const void* /*entry*/, dim3 /*grid*/, dim3 /*block*/,
                             void** /*arguments*/, std::size_t /*sharedBytes*/,
                             cudaStream_t stream) {
    substituteRuntime().usedStreams.push_back(stream);
    const cudaError_t status = operation("cudaLaunchKernel");
    if (status == cudaSuccess && substituteRuntime().kernelsFail)
        substituteRuntime().primary.broken = true;
    return status;
}

cudaError_t cudaDeviceSynchronize() { return operation("cudaDeviceSynchronize"); }

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
