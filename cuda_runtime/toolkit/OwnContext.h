// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cuda.h>
#include <cuda_runtime_api.h>

namespace cuda_runtime::toolkit {

/// A CUDA context of this module's own. Ending it gives back all that was made in it and nothing
/// else: the device's primary context, which the rest of the process shares, is neither used nor
/// reset, and what is current to the thread outside of an operation stays so.
///
/// Reached through the driver interface without linking the driver library, so that a machine
/// without a driver gets the runtime's own report.
class OwnContext {
  public:
    bool exists() const noexcept { return context != nullptr; }

    /// Makes the context current, creating it on the device first when there is none.
    ::cudaError_t enter(int device);
    /// Makes current again what was before `enter`.
    static ::cudaError_t leave();

    /// Destroys the context, if there is one.
    ::cudaError_t end();

  private:
    ::cudaError_t create(int device);

    CUcontext context = nullptr;
};

}  // namespace cuda_runtime::toolkit
