// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>

#include "cuda_runtime/runtime.h"

/// Memory of a device that others in the process have made, and streams of theirs. Nothing here
/// begins or ends a context of the calling thread, or waits for more than the stream that is named.
namespace cuda_runtime {

/// Whether devices are NVIDIA GPUs; otherwise there is one, which is the processor.
bool hasGpus() noexcept;

/// Where an address lies.
struct Place {
    bool isOnDevice;  ///< in memory that a device made, or shares with the host
    bool isShared;    ///< any device and the host may use it
    int device;       ///< the one whose memory it is; otherwise it means nothing
};

/// Tells where an address lies. A device of which nobody in the process has the primary context has
/// no memory of theirs: it is not brought up to be asked.
/// @param device one of those that there are
cudaError_t placeOf(const void* address, int device, Place* place);

/// Copies between the host and a device in the order of a stream of the device's primary context,
/// and waits until that is done.
/// @param stream a handle of the installed runtime's; null is its default stream
cudaError_t copyInOrder(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind,
                        int device, void* stream);

}  // namespace cuda_runtime
