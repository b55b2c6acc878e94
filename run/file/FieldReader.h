// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "run/file/FieldFile.h"
#include "run/file/PartFiles.h"

namespace run {

/// Reads a field's values from its file, or from its parts.
class FieldReader {
  public:
    /// @throws std::runtime_error naming the file, also where it is not complete
    explicit FieldReader(const std::filesystem::path& path);

    const Layout& layout() const noexcept { return file.layout(); }

    /// Moves the values of a box.
    void read(const LatticeBox& box, void* values);

    /// The file and those of its parts.
    std::vector<std::filesystem::path> files() const;

  private:
    std::filesystem::path name;
    FieldFile file;
    std::optional<PartFiles> parts;
};

}  // namespace run
