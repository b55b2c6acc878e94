// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "tests/FastNearfield/gpu/Script.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <utility>

namespace script {

namespace {

using namespace cuda_runtime;

const char* textOf(cudaError_t status) {
    switch (status) {
        case cudaErrorInvalidValue:
            return "invalid argument";
        case cudaErrorMemoryAllocation:
            return "out of memory";
        case cudaErrorIllegalAddress:
            return "an illegal memory access was encountered";
        case cudaErrorUnknown:
            return "unknown error";
        default:
            return "a status that no script has";
    }
}

/// Thrown where a handler throws.
struct Ended {};

class Player {
  public:
    Player(std::string unit, AfterFailure after, std::optional<PlannedFailure> plan, bool timing)
        : unit(std::move(unit)), after(after), plan(plan), timing(timing) {}

    Performance play(const Script& script) {
        try {
            for (const Step& step : script)
                std::visit([this](const auto& taken) { take(taken); }, step);
        } catch (const Ended&) {
            // Nothing is rolled back.
        }
        for (const auto& [buffer, bytes] : buffers) performance.leftBytes += bytes;
        return std::move(performance);
    }

  private:
    void take(const Check& check) {
        cudaError_t status = call("cudaGetLastError()");
        if (status == cudaSuccess) status = std::exchange(performance.pendingError, cudaSuccess);
        if (status == cudaSuccess) return;
        add("err: Cuda error: ", check.label, " in file '", unit, "' in line # : ", textOf(status),
            ".");
        report(textOf(status));
    }

    void take(const Print& print) { add("out: ", print.line); }

    void take(const Allocate& allocation) {
        const cudaError_t status = remember(call("cudaMalloc(", allocation.bytes, ")"));
        buffers[allocation.buffer] = status == cudaSuccess ? allocation.bytes : 0;
        check(status, allocation.callText);
    }

    void take(const ToDevice& copy) {
        const std::string direction = "cudaMemcpyHostToDevice";
        transfer(copy.buffer, copy.bytes, direction, copy.callText);
    }

    void take(const ToHost& copy) {
        const std::string direction = "cudaMemcpyDeviceToHost";
        transfer(copy.buffer, copy.bytes, direction, copy.callText);
    }

    void take(const Free& release) {
        const cudaError_t status = remember(call("cudaFree()"));
        if (status == cudaSuccess) buffers.erase(release.buffer);
        check(status, release.callText);
    }

    void take(const Launch& launch) {
        start(launch);
        if (launch.timed && timing)
            check(remember(call("cudaThreadSynchronize()")), "cudaThreadSynchronize()");
    }

    /// What fails here is left to the check after the launch.
    void start(const Launch& launch) {
        if (remember(call("cudaConfigureCall((", launch.gridX, ", ", launch.gridY,
                          ", 1), (128, 1, 1), 0, 0)")) != cudaSuccess)
            return;
        for (const Arguments& run : launch.arguments)
            for (std::size_t i = 0; i < run.count; ++i)
                if (remember(call("cudaSetupArgument(", run.bytes, ", ", run.offset + i * run.bytes,
                                  ")")) != cudaSuccess)
                    return;
        if (remember(call("cudaLaunch()")) != cudaSuccess) return;
        if (std::any_of(launch.buffers.begin(), launch.buffers.end(),
                        [this](const std::string& buffer) { return isNull(buffer); }))
            remember(cudaErrorIllegalAddress);
    }

    void transfer(const std::string& buffer, std::size_t bytes, const std::string& direction,
                  const std::string& callText) {
        cudaError_t status = call("cudaMemcpy(", bytes, ", ", direction, ")");
        if (status == cudaSuccess && isNull(buffer)) status = cudaErrorInvalidValue;
        check(remember(status), callText);
    }

    /// A buffer that the launcher did not allocate is its caller's.
    bool isNull(const std::string& buffer) const {
        const auto found = buffers.find(buffer);
        return found != buffers.end() && found->second == 0;
    }

    template <class... Parts>
    cudaError_t call(const Parts&... text) {
        add(text...);
        return plan && ++calls == plan->nth ? plan->status : cudaSuccess;
    }

    cudaError_t remember(cudaError_t status) {
        if (status != cudaSuccess) performance.pendingError = status;
        return status;
    }

    void check(cudaError_t status, const std::string& callText) {
        if (status != cudaSuccess)
            report("Cuda error when calling ", callText, ": ", textOf(status));
    }

    template <class... Parts>
    void report(const Parts&... text) {
        add("report: ", text..., " (", unit, ")");
        if (after == AfterFailure::throws) throw Ended();
    }

    template <class... Parts>
    void add(const Parts&... event) {
        std::ostringstream text;
        (text << ... << event);
        performance.transcript.push_back(text.str());
    }

    std::string unit;
    AfterFailure after;
    std::optional<PlannedFailure> plan;
    bool timing;
    int calls = 0;
    std::map<std::string, std::size_t> buffers;  // bytes; 0 where the address is null
    Performance performance;
};

}  // namespace

Script inTurn(std::initializer_list<Script> parts) {
    Script whole;
    for (const Script& part : parts) whole.insert(whole.end(), part.begin(), part.end());
    return whole;
}

Performance perform(const Script& script, const std::string& unit, AfterFailure after,
                    std::optional<PlannedFailure> plan, bool timing) {
    return Player(unit, after, plan, timing).play(script);
}

}  // namespace script
