// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/callersMemory.h"

#include <cuda_runtime_api.h>

#include "cuda_runtime/toolkit/primaryContext.h"

namespace cuda_runtime {

namespace {

/// Carries out what is done in a device's primary context: whoever has memory there holds it
/// already. What was current to the thread is so afterwards, and an error that others left pending
/// in the runtime stays.
template <class Operation>
cudaError_t inPrimaryContext(int device, Operation operation) {
    const bool othersPending = ::cudaPeekAtLastError() != ::cudaSuccess;
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
    if (status != ::cudaSuccess && !othersPending) static_cast<void>(::cudaGetLastError());
    return static_cast<cudaError_t>(status);
}

}  // namespace

bool hasGpus() noexcept { return true; }

cudaError_t placeOf(const void* address, int device, Place* place) {
    return inPrimaryContext(device, [=] {
        ::cudaPointerAttributes attributes{};
        const ::cudaError_t status = ::cudaPointerGetAttributes(&attributes, address);
        const bool isShared = attributes.type == ::cudaMemoryTypeManaged;
        *place = {isShared || attributes.type == ::cudaMemoryTypeDevice, isShared,
                  attributes.device};
        return status;
    });
}

cudaError_t copyInOrder(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind,
                        int device, void* stream) {
    return inPrimaryContext(device, [=] {
        auto* const order = static_cast<::cudaStream_t>(stream);
        const ::cudaError_t status =
            ::cudaMemcpyAsync(to, from, bytes, static_cast<::cudaMemcpyKind>(kind), order);
        return status != ::cudaSuccess ? status : ::cudaStreamSynchronize(order);
    });
}

}  // namespace cuda_runtime
