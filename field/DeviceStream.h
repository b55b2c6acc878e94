// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "cuda_runtime/runtime.h"
#include "field/DeviceThread.h"

namespace pistonfield {

/// A stream of a device's work, made and ended in the thread that has the device.
class DeviceStream {
  public:
    enum class Kind { own, usual };

    /// @param kind a new stream, which goes on beside all others, or the default one
    /// @throws DeviceFailure
    explicit DeviceStream(Kind kind = Kind::own) {
        if (kind == Kind::own)
            requireSuccess(cuda_runtime::cudaStreamCreate(&stream), "cudaStreamCreate");
    }
    DeviceStream(const DeviceStream&) = delete;
    DeviceStream& operator=(const DeviceStream&) = delete;
    /// Waits for what is under way: the memory that it uses may go next.
    ~DeviceStream() {
        static_cast<void>(cuda_runtime::cudaStreamSynchronize(stream));
        if (stream != nullptr) static_cast<void>(cuda_runtime::cudaStreamDestroy(stream));
    }

    cuda_runtime::cudaStream_t get() const noexcept { return stream; }

    /// Waits for all that it was given.
    /// @throws DeviceFailure
    void wait() const {
        requireSuccess(cuda_runtime::cudaStreamSynchronize(stream), "cudaStreamSynchronize");
    }

  private:
    cuda_runtime::cudaStream_t stream = nullptr;
};

}  // namespace pistonfield
