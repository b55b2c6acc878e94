// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "cuda_runtime/emulated/Emulator.h"
#include "cuda_runtime/emulated/KernelImage.h"

// The words of the CUDA language that mean nothing to the host compiler.
#define __global__

namespace cuda_runtime {

namespace emulated {

template <auto kernel>
class RegisteredKernel;

/// A kernel's image, registered with the emulation device when the module is loaded.
template <class... Parameters, void (*kernel)(Parameters...)>
class RegisteredKernel<kernel> {
  public:
    RegisteredKernel() { emulator().registerKernel(image); }
    const void* entry() const noexcept { return &image; }

  private:
    KernelImage image{Unpacked<Parameters...>::bytes(),
                      &Unpacked<Parameters...>::template run<kernel>};
};

}  // namespace emulated

template <auto kernel>
const void* entryOf() {
    static const emulated::RegisteredKernel<kernel> registered;
    return registered.entry();
}

}  // namespace cuda_runtime
