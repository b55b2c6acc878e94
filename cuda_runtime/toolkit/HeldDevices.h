// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cuda.h>
#include <cuda_runtime_api.h>

#include <mutex>
#include <set>

namespace cuda_runtime::toolkit {

/// The devices whose primary contexts this module holds: from its first unit of work on a device
/// on, so that later ones find the context and the device code there. Each unit of work holds it
/// once more. A context is never reset.
///
/// Of any thread at any time.
class HeldDevices {
  public:
    HeldDevices() = default;
    HeldDevices(const HeldDevices&) = delete;
    HeldDevices& operator=(const HeldDevices&) = delete;
    ~HeldDevices() = default;

    /// A unit of work begins on a device.
    /// @param context the device's primary context
    ::cudaError_t join(int device, CUcontext& context);

    /// One ends. Of a context that is `broken` the module lets go: it ends where nobody else holds
    /// it, and the next unit of work has a new one.
    ::cudaError_t part(int device, bool broken);

    /// Lets go of every device; units of work that go on keep theirs.
    /// @return the first failure
    ::cudaError_t letGo();

  private:
    std::mutex mutex;
    std::set<int> devices;
};

}  // namespace cuda_runtime::toolkit
