// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/runtime.h"

#include <cuda_runtime_api.h>

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "cuda_runtime/DeviceModule.h"
#include "cuda_runtime/PendingCall.h"
#include "cuda_runtime/toolkit/OwnContext.h"

namespace cuda_runtime {

namespace {

/// What the classic runtime kept for the calling thread.
struct ThreadState {
    int device = 0;
    toolkit::OwnContext context;
    std::optional<PendingCall> pending;
    // The runtime's own last error is not cleared by reading it on a machine without a driver.
    cudaError_t lastError = cudaSuccess;
};

ThreadState& state() {
    thread_local ThreadState instance;
    return instance;
}

std::map<std::string, ConstantSymbol>& constantRegistry() {
    static std::map<std::string, ConstantSymbol> registry;
    return registry;
}

cudaError_t remember(::cudaError_t status) {
    const auto own = static_cast<cudaError_t>(status);
    if (own == cudaSuccess) return own;
    state().lastError = own;
    static_cast<void>(::cudaGetLastError());  // it is kept here, not there
    return own;
}

/// Carries an operation out in the module's own context.
template <class Operation>
cudaError_t inContext(Operation operation) {
    toolkit::OwnContext& context = state().context;
    ::cudaError_t status = context.enter(state().device);
    if (status != ::cudaSuccess) return remember(status);
    status = operation();
    const ::cudaError_t left = context.leave();
    return remember(status != ::cudaSuccess ? status : left);
}

::dim3 toToolkit(dim3 extent) { return {extent.x, extent.y, extent.z}; }

}  // namespace

cudaError_t cudaGetDeviceCount(int* count) { return remember(::cudaGetDeviceCount(count)); }

cudaError_t cudaGetDeviceProperties(cudaDeviceProp* properties, int device) {
    ::cudaDeviceProp all{};
    const ::cudaError_t status = ::cudaGetDeviceProperties(&all, device);
    if (status != ::cudaSuccess) return remember(status);
    std::copy(std::begin(all.name), std::end(all.name), properties->name);
    properties->major = all.major;
    properties->minor = all.minor;
    properties->multiProcessorCount = all.multiProcessorCount;
    return remember(
        ::cudaDeviceGetAttribute(&properties->clockRate, ::cudaDevAttrClockRate, device));
}

// The toolkit's own function would bring the device's primary context up.
cudaError_t cudaSetDevice(int device) {
    int count = 0;
    const ::cudaError_t status = ::cudaGetDeviceCount(&count);
    if (status != ::cudaSuccess) return remember(status);
    if (device < 0 || device >= count) return remember(::cudaErrorInvalidDevice);
    if (state().context.exists() && device != state().device)
        return remember(::cudaErrorSetOnActiveProcess);
    state().device = device;
    return cudaSuccess;
}

cudaError_t cudaMalloc(void** address, std::size_t bytes) {
    return inContext([=] { return ::cudaMalloc(address, bytes); });
}

cudaError_t cudaFree(void* address) {
    return inContext([=] { return ::cudaFree(address); });
}

cudaError_t cudaMemcpy(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind) {
    return inContext(
        [=] { return ::cudaMemcpy(to, from, bytes, static_cast<::cudaMemcpyKind>(kind)); });
}

cudaError_t cudaMemcpyToSymbol(const char* name, const void* from, std::size_t bytes,
                               std::size_t offset, cudaMemcpyKind kind) {
    return inContext([=] {
        const auto found = constantRegistry().find(name);
        if (found == constantRegistry().end()) return ::cudaErrorInvalidSymbol;
        return ::cudaMemcpyToSymbol(found->second.symbol, from, bytes, offset,
                                    static_cast<::cudaMemcpyKind>(kind));
    });
}

cudaError_t cudaConfigureCall(dim3 grid, dim3 block, std::size_t sharedBytes, int) {
    state().pending.emplace(grid, block, sharedBytes);
    return cudaSuccess;
}

cudaError_t cudaSetupArgument(const void* argument, std::size_t bytes, std::size_t offset) {
    if (!state().pending) return remember(::cudaErrorMissingConfiguration);
    return remember(state().pending->put(argument, bytes, offset) ? ::cudaSuccess
                                                                  : ::cudaErrorInvalidValue);
}

cudaError_t cudaLaunch(const void* entry) {
    std::optional<PendingCall> call = std::exchange(state().pending, std::nullopt);
    if (!call) return remember(::cudaErrorMissingConfiguration);
    return inContext([&] {
        return ::cudaLaunchKernel(entry, toToolkit(call->grid), toToolkit(call->block),
                                  call->argumentAddresses().data(), call->sharedBytes, nullptr);
    });
}

cudaError_t cudaThreadSynchronize() {
    return inContext([] { return ::cudaDeviceSynchronize(); });
}

cudaError_t cudaThreadExit() {
    state().pending.reset();
    return remember(state().context.end());
}

cudaError_t cudaGetLastError() { return std::exchange(state().lastError, cudaSuccess); }

const char* cudaGetErrorString(cudaError_t status) {
    return ::cudaGetErrorString(static_cast<::cudaError_t>(status));
}

// The compiler's own code registers the kernels.
DeviceModule::DeviceModule(std::span<const void* const>, std::span<const ConstantSymbol> constants)
    : constants(constants) {
    for (const ConstantSymbol& symbol : constants)
        constantRegistry().insert_or_assign(symbol.name, symbol);
}

DeviceModule::~DeviceModule() {
    for (const ConstantSymbol& symbol : constants) constantRegistry().erase(symbol.name);
}

}  // namespace cuda_runtime
