// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>

#include "cuda_runtime/arguments.h"
#include "cuda_runtime/runtime.h"

namespace cuda_runtime {

/// The host entry of a kernel with these parameters.
template <class... Parameters>
class KernelEntry {
  public:
    using Kernel = void (*)(Parameters...);

    /// @param entry the kernel's registered entry
    constexpr explicit KernelEntry(const void* entry) noexcept : entry(entry) {}

    /// The registered entry.
    const void* address() const noexcept { return entry; }

    /// Configures the call and, when that succeeds, passes the arguments in declaration order and
    /// launches, on the default stream. A failing argument ends the entry without a launch.
    /// @return the first failure, which is also the runtime's last error
    cudaError_t launch(dim3 grid, dim3 block, Parameters... arguments) const {
        return launchOn(nullptr, grid, block, arguments...);
    }

    /// The same, on a stream.
    cudaError_t launchOn(cudaStream_t stream, dim3 grid, dim3 block,
                         Parameters... arguments) const {
        cudaError_t status = cudaConfigureCall(grid, block, 0, stream);
        if (status != cudaSuccess) return status;
        ArgumentLayout layout(sizeof(void*));
        if (((status = pass(layout, arguments), status == cudaSuccess) && ...))
            status = cudaLaunch(entry);
        return status;
    }

  private:
    template <class T>
    static cudaError_t pass(ArgumentLayout& layout, const T& argument) {
        constexpr ParameterKind kind = ParameterKind::of<T>();
        return cudaSetupArgument(&argument, kind.valueBytes, layout.place(kind));
    }

    const void* entry;
};

}  // namespace cuda_runtime
