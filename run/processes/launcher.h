// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <functional>
#include <optional>
#include <stdexcept>

namespace run {

/// How this process came to be, as far as launchers of MPI say it in the environment.
struct Launch {
    /// Whether a launcher is there that MPI can talk to.
    bool byLauncher = false;
    /// The number of processes that were started together, where that is said.
    std::optional<int> processes;

    /// Whether the process is one of those that a launcher starts, one for each core unless it is
    /// told otherwise; also where MPI cannot talk to it.
    bool oneOfMany() const noexcept { return byLauncher || processes.has_value(); }

    /// Whether MPI has nobody to talk to.
    bool alone() const noexcept { return !byLauncher || processes == 1; }
};

/// The value of an environment variable, or null; as std::getenv.
using Environment = std::function<const char*(const char*)>;

/// Knows Open MPI's and MPICH's launchers, and Slurm's srun.
Launch launchOf(const Environment& variable);

/// Whether it is on this process to complain where processes cannot reach each other.
bool isFirstOfStep(const Environment& variable);

/// Every process of a step has this failure.
class Unconnected : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// @param launch    how this process was started
/// @param processes the number of processes that MPI knows of
/// @throws Unconnected where more were started: each would take itself for the only one, and
/// all would write the same file
void requireAll(const Launch& launch, int processes);

}  // namespace run
