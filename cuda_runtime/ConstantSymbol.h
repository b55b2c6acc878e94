// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>

namespace cuda_runtime {

/// A constant-memory variable, as `cudaMemcpyToSymbol` finds it.
struct ConstantSymbol {
    const char* name;
    void* symbol;
    std::size_t bytes;
};

}  // namespace cuda_runtime
