// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/callersMemory.h"

#include <cuda_runtime_api.h>

#include "cuda_runtime/toolkit/primaryContext.h"

namespace cuda_runtime {

namespace {

/// Carries calls of the installed runtime out. A failure does not become the runtime's last error,
/// and one that others left pending there stays.
template <class Calls>
cudaError_t leavingLastError(Calls calls) {
    const bool othersPending = ::cudaPeekAtLastError() != ::cudaSuccess;
    const ::cudaError_t status = calls();
    if (status != ::cudaSuccess && !othersPending) static_cast<void>(::cudaGetLastError());
    return static_cast<cudaError_t>(status);
}

/// Carries out what is done in a device's primary context: whoever has memory there holds it
/// already. What was current to the thread is so afterwards.
template <class Operation>
::cudaError_t inPrimaryContext(int device, Operation operation) {
    CUcontext context = nullptr;
    ::cudaError_t status = toolkit::retainPrimaryContext(device, context);
    const auto keepFirst = [&status](::cudaError_t later) {
        if (status == ::cudaSuccess) status = later;
    };
    if (status == ::cudaSuccess) {
        status = toolkit::pushContext(context);
        if (status == ::cudaSuccess) {
            status = operation();
            keepFirst(toolkit::popContext());
        }
        keepFirst(toolkit::releasePrimaryContext(device));
    }
    return status;
}

::cudaError_t ask(const void* address, Place& place) {
    ::cudaPointerAttributes attributes{};
    const ::cudaError_t status = ::cudaPointerGetAttributes(&attributes, address);
    const bool isShared = attributes.type == ::cudaMemoryTypeManaged;
    place = {isShared || attributes.type == ::cudaMemoryTypeDevice, isShared, attributes.device};
    return status;
}

}  // namespace

bool hasGpus() noexcept { return true; }

cudaError_t placeOf(const void* address, int device, Place* place) {
    return leavingLastError([=] {
        bool isActive = false;
        const ::cudaError_t status = toolkit::askPrimaryContext(device, isActive);
        if (status != ::cudaSuccess) return status;
        *place = {};
        // Without a primary context nobody has memory there, and asking would make one.
        if (!isActive) return ::cudaSuccess;
        return inPrimaryContext(device, [=] { return ask(address, *place); });
    });
}

cudaError_t copyInOrder(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind,
                        int device, void* stream) {
    return leavingLastError([=] {
        return inPrimaryContext(device, [=] {
            auto* const order = static_cast<::cudaStream_t>(stream);
            const ::cudaError_t status =
                ::cudaMemcpyAsync(to, from, bytes, static_cast<::cudaMemcpyKind>(kind), order);
            return status != ::cudaSuccess ? status : ::cudaStreamSynchronize(order);
        });
    });
}

}  // namespace cuda_runtime
