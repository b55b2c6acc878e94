// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <system_error>
#include <utility>

namespace run {

/// A path beside a file, for what is to take its place all at once. Where it does not come to that,
/// nothing stays.
class FileBeside {
  public:
    explicit FileBeside(std::filesystem::path file, const char* suffix = ".new")
        : file(std::move(file)), beside(this->file.string() + suffix) {}
    FileBeside(const FileBeside&) = delete;
    FileBeside& operator=(const FileBeside&) = delete;
    ~FileBeside() {
        std::error_code ignored;
        std::filesystem::remove(beside, ignored);
    }

    const std::filesystem::path& path() const noexcept { return beside; }
    void takePlace() const { std::filesystem::rename(beside, file); }

  private:
    std::filesystem::path file;
    std::filesystem::path beside;
};

}  // namespace run
