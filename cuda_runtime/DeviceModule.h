// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <span>
#include <vector>

#include "cuda_runtime/ConstantSymbol.h"

namespace cuda_runtime {

/// Makes a module's kernels and constants known to the runtime for as long as it lives: one static
/// object for each device module.
class DeviceModule {
  public:
    /// @param kernels   the registered entries, `cuda_runtime/kernel.h`
    /// @param constants outlive the object
    DeviceModule(std::span<const void* const> kernels, std::span<const ConstantSymbol> constants);
    DeviceModule(const DeviceModule&) = delete;
    DeviceModule& operator=(const DeviceModule&) = delete;
    ~DeviceModule();

  private:
    std::vector<const void*> kernels;
    std::span<const ConstantSymbol> constants;
};

}  // namespace cuda_runtime
