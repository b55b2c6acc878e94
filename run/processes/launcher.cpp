// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/processes/launcher.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <string_view>

namespace run {

namespace {

std::optional<int> numberIn(const char* text) {
    if (text == nullptr) return std::nullopt;
    const std::string_view digits = text;
    int number = 0;
    const auto [stop, error] = std::from_chars(digits.begin(), digits.end(), number);
    if (error != std::errc{} || stop != digits.end()) return std::nullopt;
    return number;
}

}  // namespace

Launch launchOf(const Environment& variable) {
    // A launcher's own count comes first: mpirun inside of a job may have been started by srun.
    constexpr std::array counts{"OMPI_COMM_WORLD_SIZE", "PMI_SIZE", "MV2_COMM_WORLD_SIZE"};
    constexpr std::array others{"PMIX_RANK", "PMIX_NAMESPACE", "PMI_RANK", "PMI_FD",
                                "MPI_LOCALNRANKS"};
    const auto isThere = [&](const char* name) { return variable(name) != nullptr; };
    Launch launch;
    launch.byLauncher = std::any_of(counts.begin(), counts.end(), isThere) ||
                        std::any_of(others.begin(), others.end(), isThere);
    for (const char* name : counts)
        if (!launch.processes) launch.processes = numberIn(variable(name));
    // Of a step of srun. The script of a job is none, whatever tasks the job has.
    if (!launch.processes) launch.processes = numberIn(variable("SLURM_STEP_NUM_TASKS"));
    return launch;
}

bool isFirstOfStep(const Environment& variable) {
    for (const char* name : {"OMPI_COMM_WORLD_RANK", "PMI_RANK", "PMIX_RANK", "SLURM_PROCID"})
        if (const auto number = numberIn(variable(name))) return *number == 0;
    return true;
}

void requireAll(const Launch& launch, int processes) {
    if (launch.processes.value_or(processes) <= processes) return;
    throw Unconnected(
        std::to_string(*launch.processes) + " processes were started and MPI knows of " +
        std::to_string(processes) +
        ": take the launcher of the MPI that this program was built with, or srun --mpi=pmix");
}

}  // namespace run
