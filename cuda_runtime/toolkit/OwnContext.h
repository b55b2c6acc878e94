// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cuda.h>
#include <cuda_runtime_api.h>

namespace cuda_runtime::toolkit {

/// A CUDA context of this module's own, current to the thread that made it. Ending it gives back
/// all that was made in it and nothing else: the device's primary context, which the rest of the
/// process shares, is neither used nor reset.
class OwnContext {
  public:
    OwnContext() = default;
    OwnContext(const OwnContext&) = delete;
    OwnContext& operator=(const OwnContext&) = delete;
    /// A context that nobody ended goes with the process.
    ~OwnContext() = default;

    /// Makes the context on the device, unless there is one, and makes it current.
    ::cudaError_t enter(int device);

    /// Destroys the context, if there is one; what was current before is current again.
    ::cudaError_t end();

  private:
    CUcontext context = nullptr;
};

}  // namespace cuda_runtime::toolkit
