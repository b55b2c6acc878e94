// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>

namespace run {

/// Replaces a complete file by a compressed one, after every value has been compared with its
/// checksum. Until then the file stays as it is. A compressed one is left alone.
/// @throws std::runtime_error
void compress(const std::filesystem::path& path, int level);

}  // namespace run
