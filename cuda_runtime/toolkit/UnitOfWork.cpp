// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/toolkit/UnitOfWork.h"

#include <new>
#include <utility>

#include "cuda_runtime/toolkit/primaryContext.h"

namespace cuda_runtime::toolkit {

::cudaError_t UnitOfWork::begin() { return held.join(number, context); }

::cudaError_t UnitOfWork::enter() { return pushContext(context); }

::cudaError_t UnitOfWork::leave() { return popContext(); }

::cudaError_t UnitOfWork::allocate(void** address, std::size_t bytes) {
    return carryOut([&] {
        const ::cudaError_t status = ::cudaMalloc(address, bytes);
        if (status != ::cudaSuccess || *address == nullptr) return status;
        try {
            allocations.insert(*address);
        } catch (const std::bad_alloc&) {
            static_cast<void>(::cudaFree(std::exchange(*address, nullptr)));
            return ::cudaErrorMemoryAllocation;
        }
        return ::cudaSuccess;
    });
}

::cudaError_t UnitOfWork::free(void* address) {
    return carryOut([&] {
        const ::cudaError_t status = ::cudaFree(address);
        if (status == ::cudaSuccess) allocations.erase(address);
        return status;
    });
}

::cudaError_t UnitOfWork::freeAll() {
    ::cudaError_t first = ::cudaSuccess;
    for (void* const address : allocations) {
        const ::cudaError_t status = ::cudaFree(address);
        if (first == ::cudaSuccess) first = status;
    }
    allocations.clear();
    return first;
}

}  // namespace cuda_runtime::toolkit
