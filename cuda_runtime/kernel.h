// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What a source of kernels includes: the CUDA compiler brings the language itself, for the host
// compiler the emulation device offers it. Either way `entryOf<&kernel>()` is the registered entry
// of a kernel, for `cudaLaunch`.

#ifdef __CUDACC__

namespace cuda_runtime {

template <auto kernel>
const void* entryOf() {
    return reinterpret_cast<const void*>(kernel);
}

}  // namespace cuda_runtime

#else

#include "cuda_runtime/emulated/kernel.h"

#endif
