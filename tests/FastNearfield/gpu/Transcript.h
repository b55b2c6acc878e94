// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/EmulatedDevices.h"
#include "tests/support/FailureHandlers.h"

/// What the outside sees of a piece of work, in the order in which it happens:
///
///   "cudaMalloc(64)"        a call of the runtime, when it is made
///   "out: set weights"      a line on standard output
///   "err: Cuda error: ..."  a line on standard error; "in line 17" reads "in line #"
///   "report: text (unit)"   a failure handed to the error handler
///
/// A line counts from when it has reached the channel's file, and one that is not ended is marked.
using Transcript = std::vector<std::string>;

/// Runs the work on the emulation device. Where the handler throws, its exception ends the work.
/// @param plan which call of the runtime fails, counted over all operations or over one
Transcript transcriptOf(const std::function<void()>& work,
                        AfterFailure after = AfterFailure::throws,
                        std::optional<PlannedFailure> plan = std::nullopt);
