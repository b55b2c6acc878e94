// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <map>
#include <vector>

#include "run/file/FieldFile.h"

namespace run {

/// The files of a joined field, read by themselves: HDF5 would also look for them in the working
/// folder, and take whatever is there.
class PartFiles {
  public:
    /// @throws std::runtime_error naming every part that is not there, or not the one that was
    /// joined
    explicit PartFiles(const std::filesystem::path& joined);

    const FieldFile& whole() const noexcept { return joined; }

    /// The files, as paths from the working folder.
    std::vector<std::filesystem::path> paths() const;

    /// Copies the values of a box.
    void read(const LatticeBox& box, void* values);

  private:
    std::filesystem::path pathOf(const JoinedPart& part) const;
    const FieldFile& open(std::size_t part);

    std::filesystem::path folder;
    FieldFile joined;
    std::map<std::size_t, FieldFile> opened;
};

/// What is wrong with a file for it to be a part, in words that follow its name; none where it is
/// the one that was joined.
std::string complaintAbout(const JoinedPart& part, const FieldFile& file);

}  // namespace run
