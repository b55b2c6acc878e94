// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/toolkit/UnitOfWork.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

#include "cuda_runtime/toolkit/primaryContext.h"

namespace cuda_runtime::toolkit {

namespace {

/// Notes what an operation made, and ends it where there is no memory for the note.
template <class Handle>
::cudaError_t made(std::set<Handle>& handles, Handle* handle, ::cudaError_t status,
                   ::cudaError_t (*end)(Handle)) {
    if (status != ::cudaSuccess || *handle == nullptr) return status;
    try {
        handles.insert(*handle);
    } catch (const std::bad_alloc&) {
        static_cast<void>(end(std::exchange(*handle, nullptr)));
        return ::cudaErrorMemoryAllocation;
    }
    return ::cudaSuccess;
}

template <class Handle>
::cudaError_t ended(std::set<Handle>& handles, Handle handle, ::cudaError_t (*end)(Handle)) {
    const ::cudaError_t status = end(handle);
    if (status == ::cudaSuccess) handles.erase(handle);
    return status;
}

/// @return the first failure
template <class Handle>
::cudaError_t endEach(std::set<Handle>& handles, ::cudaError_t (*end)(Handle)) {
    ::cudaError_t first = ::cudaSuccess;
    for (const Handle handle : handles) {
        const ::cudaError_t status = end(handle);
        if (first == ::cudaSuccess) first = status;
    }
    handles.clear();
    return first;
}

}  // namespace

::cudaError_t UnitOfWork::begin() { return held.join(number, context); }

::cudaError_t UnitOfWork::enter() { return pushContext(context); }

::cudaError_t UnitOfWork::leave() { return popContext(); }

::cudaError_t UnitOfWork::allocate(void** address, std::size_t bytes) {
    return carryOut(
        [&] { return made(allocations, address, ::cudaMalloc(address, bytes), ::cudaFree); });
}

::cudaError_t UnitOfWork::free(void* address) {
    return carryOut([&] { return ended(allocations, address, ::cudaFree); });
}

::cudaError_t UnitOfWork::allocateHost(void** address, std::size_t bytes) {
    return carryOut([&] {
        return made(hostAllocations, address, ::cudaHostAlloc(address, bytes, cudaHostAllocDefault),
                    ::cudaFreeHost);
    });
}

::cudaError_t UnitOfWork::freeHost(void* address) {
    return carryOut([&] { return ended(hostAllocations, address, ::cudaFreeHost); });
}

::cudaError_t UnitOfWork::createStream(::cudaStream_t* stream) {
    return carryOut([&] {
        return made(streams, stream, ::cudaStreamCreateWithFlags(stream, cudaStreamNonBlocking),
                    ::cudaStreamDestroy);
    });
}

::cudaError_t UnitOfWork::destroyStream(::cudaStream_t stream) {
    return carryOut([&] { return ended(streams, stream, ::cudaStreamDestroy); });
}

::cudaError_t UnitOfWork::endAll() {
    const std::array statuses{endEach(streams, ::cudaStreamDestroy),
                              endEach(hostAllocations, ::cudaFreeHost),
                              endEach(allocations, ::cudaFree)};
    const auto* const failure = std::find_if(statuses.begin(), statuses.end(),
                                             [](auto status) { return status != ::cudaSuccess; });
    return failure != statuses.end() ? *failure : ::cudaSuccess;
}

}  // namespace cuda_runtime::toolkit
