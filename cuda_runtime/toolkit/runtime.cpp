// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/runtime.h"

#include <cuda_runtime_api.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "cuda_runtime/DeviceModule.h"
#include "cuda_runtime/PendingCall.h"
#include "cuda_runtime/toolkit/Process.h"

namespace cuda_runtime {

namespace {

using toolkit::process;
using toolkit::UnitOfWork;

/// What the classic runtime kept for the calling thread. Without a destructor, which would keep the
/// module loaded until the thread ends.
struct ThreadState {
    int device = 0;
    UnitOfWork* unit = nullptr;
    std::optional<PendingCall> pending;
    // Of this interface alone: the last error of the installed runtime is the whole process's.
    cudaError_t lastError = cudaSuccess;
    /// The installed runtime's, of which this interface has told already.
    cudaError_t toldOfOthers = cudaSuccess;
};

ThreadState& state() {
    thread_local ThreadState instance;
    return instance;
}

cudaError_t remember(::cudaError_t status) {
    const auto own = static_cast<cudaError_t>(status);
    if (own != cudaSuccess) state().lastError = own;
    return own;
}

/// Carries calls of the installed runtime out. A failure becomes this interface's last error and
/// leaves the runtime's as it was; one that another caller left there stays pending, at the worst
/// under the later failure's number.
template <class Calls>
cudaError_t remembered(Calls calls) {
    const bool othersPending = ::cudaPeekAtLastError() != ::cudaSuccess;
    const ::cudaError_t status = calls();
    if (status != ::cudaSuccess && !othersPending) static_cast<void>(::cudaGetLastError());
    return remember(status);
}

/// Carries work out for the calling thread's unit of work, which begins where there is none.
template <class Work>
cudaError_t inUnit(Work work) {
    return remembered([&work] {
        UnitOfWork*& unit = state().unit;
        const ::cudaError_t begun =
            unit != nullptr ? ::cudaSuccess : process().begin(state().device, unit);
        return begun != ::cudaSuccess ? begun : work(*unit);
    });
}

/// Carries an operation out in the device's context.
template <class Operation>
cudaError_t inContext(Operation operation) {
    return inUnit([&operation](UnitOfWork& unit) { return unit.carryOut(operation); });
}

::cudaError_t propertiesOf(int device, cudaDeviceProp& properties) {
    ::cudaDeviceProp all{};
    const ::cudaError_t status = ::cudaGetDeviceProperties(&all, device);
    if (status != ::cudaSuccess) return status;
    std::copy(std::begin(all.name), std::end(all.name), properties.name);
    properties.major = all.major;
    properties.minor = all.minor;
    properties.multiProcessorCount = all.multiProcessorCount;
    return ::cudaDeviceGetAttribute(&properties.clockRate, ::cudaDevAttrClockRate, device);
}

::cudaError_t chooseDevice(int device) {
    int count = 0;
    const ::cudaError_t status = ::cudaGetDeviceCount(&count);
    if (status != ::cudaSuccess) return status;
    if (device < 0 || device >= count) return ::cudaErrorInvalidDevice;
    if (state().unit != nullptr && device != state().device) return ::cudaErrorSetOnActiveProcess;
    state().device = device;
    return ::cudaSuccess;
}

/// Without a device or a working driver every call of the runtime gives one and the same error,
/// asking for the last one too: nobody has left it pending.
bool runtimeWorks() {
    int count = 0;
    const bool works = ::cudaGetDeviceCount(&count) == ::cudaSuccess;
    if (!works) static_cast<void>(::cudaGetLastError());
    return works;
}

::dim3 toToolkit(dim3 extent) { return {extent.x, extent.y, extent.z}; }

::cudaStream_t toToolkit(cudaStream_t stream) { return reinterpret_cast<::cudaStream_t>(stream); }

}  // namespace

cudaError_t cudaGetDeviceCount(int* count) {
    return remembered([=] { return ::cudaGetDeviceCount(count); });
}

cudaError_t cudaGetDeviceProperties(cudaDeviceProp* properties, int device) {
    return remembered([=] { return propertiesOf(device, *properties); });
}

// The toolkit's own function would bring the device's primary context up.
cudaError_t cudaSetDevice(int device) {
    return remembered([=] { return chooseDevice(device); });
}

cudaError_t cudaMalloc(void** address, std::size_t bytes) {
    return inUnit([=](UnitOfWork& unit) { return unit.allocate(address, bytes); });
}

cudaError_t cudaFree(void* address) {
    return inUnit([=](UnitOfWork& unit) { return unit.free(address); });
}

cudaError_t cudaMemcpy(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind) {
    return inContext(
        [=] { return ::cudaMemcpy(to, from, bytes, static_cast<::cudaMemcpyKind>(kind)); });
}

cudaError_t cudaMallocHost(void** address, std::size_t bytes) {
    return inUnit([=](UnitOfWork& unit) { return unit.allocateHost(address, bytes); });
}

cudaError_t cudaFreeHost(void* address) {
    return inUnit([=](UnitOfWork& unit) { return unit.freeHost(address); });
}

cudaError_t cudaStreamCreate(cudaStream_t* stream) {
    return inUnit([=](UnitOfWork& unit) {
        ::cudaStream_t made = nullptr;
        const ::cudaError_t status = unit.createStream(&made);
        if (status == ::cudaSuccess) *stream = reinterpret_cast<cudaStream_t>(made);
        return status;
    });
}

cudaError_t cudaStreamDestroy(cudaStream_t stream) {
    return inUnit([=](UnitOfWork& unit) { return unit.destroyStream(toToolkit(stream)); });
}

cudaError_t cudaStreamSynchronize(cudaStream_t stream) {
    return inContext([=] { return ::cudaStreamSynchronize(toToolkit(stream)); });
}

cudaError_t cudaMemcpyAsync(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind,
                            cudaStream_t stream) {
    return inContext([=] {
        return ::cudaMemcpyAsync(to, from, bytes, static_cast<::cudaMemcpyKind>(kind),
                                 toToolkit(stream));
    });
}

cudaError_t cudaMemcpyToSymbol(const char* name, const void* from, std::size_t bytes,
                               std::size_t offset, cudaMemcpyKind kind) {
    return inUnit([=](UnitOfWork& unit) {
        return toolkit::theConstants().write(unit, name, from, bytes, offset,
                                             static_cast<::cudaMemcpyKind>(kind));
    });
}

cudaError_t cudaConfigureCall(dim3 grid, dim3 block, std::size_t sharedBytes, cudaStream_t stream) {
    state().pending.emplace(grid, block, sharedBytes, stream);
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
    return inContext([&call, entry] {
        return ::cudaLaunchKernel(entry, toToolkit(call->grid), toToolkit(call->block),
                                  call->argumentAddresses().data(), call->sharedBytes,
                                  toToolkit(call->stream));
    });
}

cudaError_t cudaThreadSynchronize() {
    return inContext([] { return ::cudaDeviceSynchronize(); });
}

cudaError_t cudaThreadExit() {
    state().pending.reset();
    UnitOfWork* const unit = std::exchange(state().unit, nullptr);
    if (unit == nullptr) return cudaSuccess;
    return remembered([unit] { return process().end(*unit); });
}

cudaError_t cudaGetLastError() {
    const cudaError_t own = std::exchange(state().lastError, cudaSuccess);
    const auto others = static_cast<cudaError_t>(::cudaPeekAtLastError());
    if (own != cudaSuccess && own != others) return own;  // what another caller left is the next
    const cudaError_t told = std::exchange(state().toldOfOthers, others);
    if (own != cudaSuccess) return own;
    return others == told || !runtimeWorks() ? cudaSuccess : others;
}

cudaError_t letGoOfDevices() {
    return remembered([] { return process().letGo(); });
}

const char* cudaGetErrorString(cudaError_t status) {
    return ::cudaGetErrorString(static_cast<::cudaError_t>(status));
}

// The compiler's own code registers the kernels.
DeviceModule::DeviceModule(std::span<const void* const>, std::span<const ConstantSymbol> constants)
    : constants(constants) {
    for (const ConstantSymbol& symbol : constants) toolkit::theConstants().add(symbol);
}

DeviceModule::~DeviceModule() {
    for (const ConstantSymbol& symbol : constants) toolkit::theConstants().remove(symbol);
}

}  // namespace cuda_runtime
