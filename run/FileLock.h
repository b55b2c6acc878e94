// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>

namespace run {

/// Keeps a second run from working on the same output, for as long as it lives. The lock is on the
/// file "<output>.lock" and ends with the process, however that ends. On file
/// systems without locks it does nothing.
class FileLock {
  public:
    /// @throws std::runtime_error where another run has the lock, or the folder cannot be written
    explicit FileLock(const std::filesystem::path& output);
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock();

  private:
    std::filesystem::path path;
    int descriptor = -1;
};

}  // namespace run
