// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <variant>
#include <vector>

#include "tests/FastNearfield/gpu/Transcript.h"

/// What a launcher has to do, step by step, and what the outside then sees of it.
namespace script {

/// The check for a pending error.
struct Check {
    std::string label;
};

/// A line on standard output.
struct Print {
    std::string line;
};

// A checked call of the runtime: the device buffer that it is about, the bytes, the text under
// which a failure is reported.

struct Allocate {
    std::string buffer;
    std::size_t bytes;
    std::string callText;
};

struct ToDevice {
    std::string buffer;
    std::size_t bytes;
    std::string callText;
};

struct ToHost {
    std::string buffer;
    std::size_t bytes;
    std::string callText;
};

struct Free {
    std::string buffer;
    std::string callText;
};

/// Neighbouring kernel arguments of one size.
struct Arguments {
    std::size_t bytes;
    std::size_t offset;  ///< of the first
    std::size_t count;
};

/// A kernel's launch with blocks of 128 threads, and the waiting of a timed launcher.
struct Launch {
    unsigned gridX;
    unsigned gridY;
    std::vector<Arguments> arguments;
    /// Those that the kernel uses.
    std::vector<std::string> buffers;
    bool timed;
};

using Step = std::variant<Check, Print, Allocate, ToDevice, ToHost, Free, Launch>;
using Script = std::vector<Step>;

/// The parts one after the other.
Script inTurn(std::initializer_list<Script> parts);

struct Performance {
    Transcript transcript;
    /// What the launcher leaves to the next check.
    cuda_runtime::cudaError_t pendingError = cuda_runtime::cudaSuccess;
    /// Bytes of its own that it leaves allocated on the device.
    std::size_t leftBytes = 0;
};

/// How the steps go on a device whose calls succeed but for the planned failure, whose copies
/// refuse address null and whose kernels fault on it. A planned failure of one operation is not
/// supported.
/// @param unit   the source unit of the checks
/// @param timing whether timed launchers wait
Performance perform(const Script& script, const std::string& unit, AfterFailure after,
                    std::optional<PlannedFailure> plan, bool timing);

}  // namespace script
