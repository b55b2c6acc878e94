// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "run/file/FileLock.h"

namespace run {

/// A file in the folder of an output, under a name that nobody else has, for what is to become the
/// output all at once. Where it does not come to that, nothing stays.
///
/// Until then its first bytes say what it is, and it is locked: so a later run can tell one whose
/// process was killed, and removes it.
class TemporaryFile {
  public:
    /// @param output the file itself, and no link to it
    /// @throws std::runtime_error naming the output
    explicit TemporaryFile(std::filesystem::path output);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    /// Bytes at the beginning that are written last.
    static constexpr std::size_t headBytes = 512;

    /// What the first bytes are until then.
    const std::string& head() const noexcept { return mark; }

    const FileLock& lock() const noexcept { return locked; }

    /// Does a work with the file's path. Failures name the output in place of it.
    void fill(const std::function<void(const std::filesystem::path&)>& work) const;

    /// Makes it the output, with these first bytes, and as many bytes as it is to have.
    /// @param replacing whether in place of what is there
    /// @return the lock on it
    FileLock takePlace(bool replacing, const std::string& firstBytes,
                       const std::optional<std::int64_t>& size = std::nullopt);

    /// Removes those that killed runs have left for an output.
    static void removeLeftovers(const std::filesystem::path& output);

  private:
    [[noreturn]] void fail(int error) const;
    void moveIn(bool replacing) const;
    /// Has a loss of power leave the output its name, on file systems that can promise that.
    void keepName() const noexcept;

    std::filesystem::path output;
    std::filesystem::path path;
    std::string mark;
    FileLock locked;
    bool placed = false;
};

}  // namespace run
