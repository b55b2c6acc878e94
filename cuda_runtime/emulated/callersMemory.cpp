// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/callersMemory.h"

#include "cuda_runtime/emulated/Emulator.h"

namespace cuda_runtime {

using emulated::emulator;

bool hasGpus() noexcept { return false; }

cudaError_t placeOf(const void* address, int device, Place* place) {
    return emulator().placeOf(address, device, place);
}

cudaError_t copyInOrder(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind,
                        int device, void* stream) {
    return emulator().copyInOrder(to, from, bytes, kind, device, stream);
}

}  // namespace cuda_runtime
