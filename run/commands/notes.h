// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>

#include "run/file/FieldFile.h"

namespace run {

/// What somebody who asks for a field may not have meant, each in one line.
std::vector<std::string> notesOn(const Layout& layout);

/// Where the modes of a GPU compute, in a build in which that is the processor; else nothing.
std::string emulationNote();

}  // namespace run
