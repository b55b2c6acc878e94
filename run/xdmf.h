// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>

#include "run/FieldFile.h"

namespace run {

/// Writes "<file>.xdmf" beside a file, with which viewers open its magnitude in place: at its
/// positions where the lattice's directions are those of the axes, else in the lattice's own
/// frame, in which only the distances of points along its directions are true.
/// @throws std::runtime_error where it cannot be written
void writeXdmf(const std::filesystem::path& file, const Layout& layout);

}  // namespace run
