// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>

namespace run {

/// Removes what runs that were killed have left beside an output: files that were to become it, and
/// those by which Open MPI's processes on several machines would share a place in it. Nobody else
/// may be at work on the output.
void removeLeftovers(const std::filesystem::path& output);

}  // namespace run
