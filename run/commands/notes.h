// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "run/file/FieldFile.h"

namespace run {

/// What somebody who asks for a field may not have meant, each in one line.
std::vector<std::string> notesOn(const Layout& layout);

/// Whether slabs or parts cut the plan's tiles, so that much is computed several times, each in one
/// line.
/// @param tile of the plan
std::vector<std::string> notesOnCuts(const Layout& layout, const std::array<std::int64_t, 3>& tile);

/// Where the modes of a GPU compute, in a build in which that is the processor; else nothing.
std::string emulationNote();

}  // namespace run
