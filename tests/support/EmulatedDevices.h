// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cuda_runtime/emulated/Emulator.h"

/// Gives the emulation device a list of devices for the length of a scope.
class EmulatedDevices {
  public:
    explicit EmulatedDevices(std::vector<cuda_runtime::cudaDeviceProp> devices) {
        cuda_runtime::emulated::emulator().setDevices(std::move(devices));
    }
    EmulatedDevices(const EmulatedDevices&) = delete;
    EmulatedDevices& operator=(const EmulatedDevices&) = delete;
    ~EmulatedDevices() {
        using cuda_runtime::emulated::Emulator;
        cuda_runtime::emulated::emulator().setDevices(Emulator::defaultDevices());
    }

    static cuda_runtime::cudaDeviceProp device(int major, int minor, int processors,
                                               int clockRate) {
        return {"device under test", major, minor, processors, clockRate};
    }
};

/// Which call of the runtime fails, and how.
struct PlannedFailure {
    int nth;  ///< counted from 1
    cuda_runtime::cudaError_t status;
    /// Counts calls of this operation only.
    std::optional<cuda_runtime::emulated::Operation> operation = std::nullopt;
    bool fromThenOn = false;
};

/// Records the texts of all runtime calls for the length of a scope, and makes calls fail.
class RuntimeLog {
  public:
    explicit RuntimeLog(std::optional<PlannedFailure> plan = std::nullopt) : plan(plan) {
        cuda_runtime::emulated::emulator().setInterceptor(
            [this](const cuda_runtime::emulated::RuntimeCall& call) { return see(call); });
    }
    RuntimeLog(const RuntimeLog&) = delete;
    RuntimeLog& operator=(const RuntimeLog&) = delete;
    ~RuntimeLog() { cuda_runtime::emulated::emulator().setInterceptor(nullptr); }

    std::vector<std::string> calls;
    /// Whether the planned failure has come up.
    bool failed = false;

  private:
    cuda_runtime::cudaError_t see(const cuda_runtime::emulated::RuntimeCall& call) {
        calls.push_back(call.text);
        if (!plan || (plan->operation && *plan->operation != call.operation))
            return cuda_runtime::cudaSuccess;
        ++counted;
        const bool fails = counted == plan->nth || (plan->fromThenOn && counted > plan->nth);
        failed = failed || fails;
        return fails ? plan->status : cuda_runtime::cudaSuccess;
    }

    std::optional<PlannedFailure> plan;
    int counted = 0;
};
