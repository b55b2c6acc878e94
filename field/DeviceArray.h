// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <span>

#include "cuda_runtime/runtime.h"
#include "field/DeviceStream.h"
#include "field/DeviceThread.h"

namespace pistonfield {

/// An array in device memory, made and ended in the thread that has the device.
template <class T>
class DeviceArray {
  public:
    /// @throws DeviceFailure
    explicit DeviceArray(std::size_t count) {
        requireSuccess(
            cuda_runtime::cudaMalloc(reinterpret_cast<void**>(&elements), count * sizeof(T)),
            "cudaMalloc");
    }
    DeviceArray(const DeviceArray&) = delete;
    DeviceArray& operator=(const DeviceArray&) = delete;
    ~DeviceArray() { static_cast<void>(cuda_runtime::cudaFree(elements)); }

    T* get() const noexcept { return elements; }

    /// Copies the first elements, no more than there are, from or to the host.
    /// @param operation what a failure is called
    /// @throws DeviceFailure
    void upload(std::span<const T> from, const char* operation) const {
        requireSuccess(cuda_runtime::cudaMemcpy(elements, from.data(), from.size_bytes(),
                                                cuda_runtime::cudaMemcpyHostToDevice),
                       operation);
    }
    void download(std::span<T> to, const char* operation) const {
        requireSuccess(cuda_runtime::cudaMemcpy(to.data(), elements, to.size_bytes(),
                                                cuda_runtime::cudaMemcpyDeviceToHost),
                       operation);
    }

    /// The same, behind the work of a stream: the host's side does not change or go, and is not
    /// read, until the stream was waited for.
    void upload(std::span<const T> from, const DeviceStream& stream, const char* operation) const {
        requireSuccess(
            cuda_runtime::cudaMemcpyAsync(elements, from.data(), from.size_bytes(),
                                          cuda_runtime::cudaMemcpyHostToDevice, stream.get()),
            operation);
    }
    void download(std::span<T> to, const DeviceStream& stream, const char* operation) const {
        requireSuccess(
            cuda_runtime::cudaMemcpyAsync(to.data(), elements, to.size_bytes(),
                                          cuda_runtime::cudaMemcpyDeviceToHost, stream.get()),
            operation);
    }

  private:
    T* elements = nullptr;
};

}  // namespace pistonfield
