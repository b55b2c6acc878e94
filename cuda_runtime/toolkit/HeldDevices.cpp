// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/toolkit/HeldDevices.h"

#include "cuda_runtime/toolkit/primaryContext.h"

namespace cuda_runtime::toolkit {

namespace {

::cudaError_t firstOf(::cudaError_t earlier, ::cudaError_t later) {
    return earlier != ::cudaSuccess ? earlier : later;
}

}  // namespace

::cudaError_t HeldDevices::join(int device, CUcontext& context) {
    const std::lock_guard lock(mutex);
    const auto [held, isNew] = devices.insert(device);
    if (isNew) {
        const ::cudaError_t status = retainPrimaryContext(device, context);
        if (status != ::cudaSuccess) {
            devices.erase(held);
            return status;
        }
    }
    return retainPrimaryContext(device, context);
}

::cudaError_t HeldDevices::part(int device, bool broken) {
    const std::lock_guard lock(mutex);
    const ::cudaError_t status = releasePrimaryContext(device);
    if (!broken || devices.erase(device) == 0) return status;
    return firstOf(status, releasePrimaryContext(device));
}

::cudaError_t HeldDevices::letGo() {
    const std::lock_guard lock(mutex);
    ::cudaError_t first = ::cudaSuccess;
    for (const int device : devices) first = firstOf(first, releasePrimaryContext(device));
    devices.clear();
    return first;
}

}  // namespace cuda_runtime::toolkit
