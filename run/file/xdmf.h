// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>

#include "run/file/FieldFile.h"

namespace run {

/// The file for viewers of a field: "<file>.xdmf".
std::filesystem::path xdmfPath(const std::filesystem::path& file);

/// Whether a path is free, or a file for viewers of this program is there, or one without a byte,
/// as a full disk leaves it.
/// @throws std::runtime_error naming a file that cannot be read
bool mayReplaceXdmf(const std::filesystem::path& path);

/// Writes "<file>.xdmf" beside a file, all at once, with which viewers open its magnitude in place:
/// at its positions where the lattice's directions are those of the axes, else in the lattice's own
/// frame, in which only the distances of points along its directions are true. A file that is not
/// of this program is left alone. Where the file's name has a colon, at which viewers would cut it,
/// nothing is written; that is said on standard output.
/// @throws std::runtime_error where it cannot be written
void writeXdmf(const std::filesystem::path& file, const Layout& layout, bool overwrite = false);

}  // namespace run
