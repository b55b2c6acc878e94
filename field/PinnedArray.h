// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <span>

#include "cuda_runtime/runtime.h"
#include "field/DeviceThread.h"

namespace pistonfield {

/// An array in the host's memory that the device reaches by itself, made and ended in the thread
/// that has the device. Its elements are not initialised.
template <class T>
class PinnedArray {
  public:
    /// @throws DeviceFailure
    explicit PinnedArray(std::size_t count) : count(count) {
        requireSuccess(
            cuda_runtime::cudaMallocHost(reinterpret_cast<void**>(&elements), count * sizeof(T)),
            "cudaMallocHost");
    }
    PinnedArray(const PinnedArray&) = delete;
    PinnedArray& operator=(const PinnedArray&) = delete;
    ~PinnedArray() { static_cast<void>(cuda_runtime::cudaFreeHost(elements)); }

    std::span<T> all() const noexcept { return {elements, count}; }

  private:
    T* elements = nullptr;
    std::size_t count;
};

}  // namespace pistonfield
