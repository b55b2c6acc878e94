// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cuda.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "cuda_runtime/runtime.h"

/// Stands in for the CUDA runtime and the driver under it: one device whose operations do nothing
/// and succeed, with an account of the contexts.
struct SubstituteRuntime {
    /// What functions of the driver answer instead of carrying out their work.
    std::map<std::string, CUresult> failing;
    /// Functions that the driver does not have.
    std::set<std::string> missing;
    /// Whether the runtime's own operations fail.
    bool operationsFail = false;
    /// Whether the machine has a device.
    bool hasDevice = true;
    /// Whether the machine has a driver. Without one every call of the runtime fails alike, and so
    /// does asking for the last error.
    bool hasDriver = true;

    /// The runtime's last error, whoever's call left it.
    cuda_runtime::cudaError_t lastError = cuda_runtime::cudaSuccess;

    struct Contexts {
        int created = 0;
        std::set<CUcontext> live;
        std::vector<CUcontext> current;
    } contexts;
};

SubstituteRuntime& substituteRuntime();
