// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cuda.h>
#include <cuda_runtime_api.h>

#include <cstddef>
#include <set>

#include "cuda_runtime/toolkit/HeldDevices.h"

namespace cuda_runtime::toolkit {

/// What one thread has on a device between its first operation there and the end that it asks for.
/// It is what a context was in the classic runtime, within the primary context that the whole
/// process shares: its end gives back all that it made and nothing else.
class UnitOfWork {
  public:
    UnitOfWork(HeldDevices& held, int device) : held(held), number(device) {}
    UnitOfWork(const UnitOfWork&) = delete;
    UnitOfWork& operator=(const UnitOfWork&) = delete;
    ~UnitOfWork() = default;

    /// Comes before anything else. Where it fails the unit has nothing to end.
    ::cudaError_t begin();

    int device() const noexcept { return number; }

    /// Carries an operation out in the device's primary context. What was current to the thread
    /// before is so afterwards.
    template <class Operation>
    ::cudaError_t carryOut(Operation operation) {
        ::cudaError_t status = enter();
        if (status == ::cudaSuccess) {
            status = operation();
            const ::cudaError_t left = leave();
            if (status == ::cudaSuccess) status = left;
        }
        if (status != ::cudaSuccess) lastFailure = status;
        return status;
    }

    ::cudaError_t allocate(void** address, std::size_t bytes);
    ::cudaError_t free(void* address);
    ::cudaError_t allocateHost(void** address, std::size_t bytes);
    ::cudaError_t freeHost(void* address);
    ::cudaError_t createStream(::cudaStream_t* stream);
    ::cudaError_t destroyStream(::cudaStream_t stream);

    /// Waits for the device, ends what is left of the streams and allocations and carries `cleanUp`
    /// out. A device that has failed takes all of that with it; its failure is reported here where
    /// no operation has reported it.
    template <class CleanUp>
    ::cudaError_t end(CleanUp cleanUp) {
        const ::cudaError_t reported = lastFailure;
        const ::cudaError_t status = carryOut([&] {
            const ::cudaError_t waited = ::cudaDeviceSynchronize();
            if (waited != ::cudaSuccess) return waited;
            const ::cudaError_t ended = endAll();
            const ::cudaError_t cleaned = cleanUp();
            return ended != ::cudaSuccess ? ended : cleaned;
        });
        const ::cudaError_t parted = held.part(number, status != ::cudaSuccess);
        return status != ::cudaSuccess && status != reported ? status : parted;
    }

  private:
    ::cudaError_t enter();
    static ::cudaError_t leave();
    ::cudaError_t endAll();

    HeldDevices& held;
    int number;
    CUcontext context = nullptr;
    std::set<void*> allocations;
    std::set<void*> hostAllocations;
    std::set<::cudaStream_t> streams;
    ::cudaError_t lastFailure = ::cudaSuccess;
};

}  // namespace cuda_runtime::toolkit
