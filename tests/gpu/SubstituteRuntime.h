// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cuda.h>

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "cuda_runtime/runtime.h"

/// Stands in for the CUDA runtime and the driver under it: one device whose operations succeed,
/// with an account of its primary context, the memory in it and the calls.
struct SubstituteRuntime {
    /// What functions of the driver answer instead of carrying out their work.
    std::map<std::string, CUresult> failing;
    /// Functions that the driver does not have.
    std::set<std::string> missing;
    /// Whether the runtime's own operations fail.
    bool operationsFail = false;
    /// Whether a kernel fails while it runs: the context is broken from the launch on.
    bool kernelsFail = false;
    /// Whether the machine has a device.
    bool hasDevice = true;
    /// Whether the machine has a driver. Without one every call of the runtime fails alike, and so
    /// does asking for the last error.
    bool hasDriver = true;

    /// The runtime's last error, whoever's call left it.
    cuda_runtime::cudaError_t lastError = cuda_runtime::cudaSuccess;

    /// The device's primary context, which ends with the last one who holds it.
    struct Primary {
        int holders = 0;
        int made = 0;
        bool broken = false;
        std::set<void*> memory;
        /// Memory of the host that the device reaches.
        std::set<void*> hostMemory;
        std::set<void*> streams;
        /// What was copied into each constant last; by the constant's address.
        std::map<const void*, std::vector<std::byte>> constants;
    } primary;

    /// The streams of copies in the order of one, and of waits for one.
    std::vector<void*> streams;

    /// What is current to the thread, the innermost last.
    std::vector<CUcontext> current;

    /// The calls of the driver and the runtime's operations, by name, from the last
    /// `calls.clear()`.
    std::vector<std::string> calls;

    /// The streams that launches and copies named, in their order.
    std::vector<void*> usedStreams;

    /// The handle of the primary context.
    CUcontext handle() noexcept;
};

SubstituteRuntime& substituteRuntime();
