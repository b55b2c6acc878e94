// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cuda.h>
#include <cuda_runtime_api.h>

/// A device's primary context, which everything in a process shares, and what is current to a
/// thread.
///
/// Reached through the driver interface without linking the driver library, so that a machine
/// without a driver gets the runtime's own report.
namespace cuda_runtime::toolkit {

/// Asks whether anybody in the process holds a device's primary context, which is not made.
::cudaError_t askPrimaryContext(int device, bool& isActive);

/// Holds a device's primary context, which is made where nobody holds it yet. It is not made
/// current.
::cudaError_t retainPrimaryContext(int device, CUcontext& context);

/// Lets go of it once: the last one to do so in the process ends it.
::cudaError_t releasePrimaryContext(int device);

/// Makes a context current to the calling thread.
::cudaError_t pushContext(CUcontext context);

/// Makes current again what was before.
::cudaError_t popContext();

}  // namespace cuda_runtime::toolkit
