// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>

namespace cuda_runtime::emulated {

/// What the emulation device needs of a kernel: how many argument bytes it reads, and a function
/// that runs its threads first..last-1, numbered over all blocks.
struct KernelImage {
    std::size_t argumentBytes;
    void (*run)(const std::byte* arguments, std::int64_t first, std::int64_t last);
};

/// Called by a kernel that would use memory at address null: the launch then fails as with an
/// illegal address.
void reportFault() noexcept;

}  // namespace cuda_runtime::emulated
