// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "cuda_runtime/runtime.h"

/// Whether there is a device for the modes of a GPU, as the emulation device always is.
inline bool hasDevice() {
    int count = 0;
    if (cuda_runtime::cudaGetDeviceCount(&count) == cuda_runtime::cudaSuccess) return true;
    static_cast<void>(cuda_runtime::cudaGetLastError());
    return false;
}
