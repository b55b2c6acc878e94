// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "cuda_runtime/runtime.h"

namespace cuda_runtime {

/// A launch between its configuration and its start: the geometry and the packed arguments.
class PendingCall {
  public:
    PendingCall(dim3 grid, dim3 block, std::size_t sharedBytes, cudaStream_t stream) noexcept
        : grid(grid), block(block), sharedBytes(sharedBytes), stream(stream) {}

    /// Takes the next argument. False when it does not fit the parameter space.
    bool put(const void* argument, std::size_t bytes, std::size_t offset) noexcept {
        if (argumentCount == maxArguments || offset > space.size() || bytes > space.size() - offset)
            return false;
        std::memcpy(space.data() + offset, argument, bytes);
        offsets[argumentCount++] = offset;
        usedBytes = std::max(usedBytes, offset + bytes);
        return true;
    }

    /// The packed arguments.
    const std::byte* arguments() const noexcept { return space.data(); }
    /// Bytes up to the end of the last argument.
    std::size_t argumentBytes() const noexcept { return usedBytes; }
    static constexpr std::size_t maxArguments = 64;

    /// The address of each argument, in the order in which they were put.
    std::array<void*, maxArguments> argumentAddresses() noexcept {
        std::array<void*, maxArguments> addresses{};
        std::transform(offsets.begin(), offsets.begin() + argumentCount, addresses.begin(),
                       [this](std::size_t offset) { return space.data() + offset; });
        return addresses;
    }

    dim3 grid;
    dim3 block;
    std::size_t sharedBytes;
    cudaStream_t stream;

  private:
    alignas(16) std::array<std::byte, 4096> space{};
    std::array<std::size_t, maxArguments> offsets{};
    std::size_t argumentCount = 0;
    std::size_t usedBytes = 0;
};

}  // namespace cuda_runtime
