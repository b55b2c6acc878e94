// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <fcntl.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>

namespace run {

/// An open file, read and written at any place.
class Descriptor {
  public:
    /// @param flags those of open(2); the file is not handed on to other programs
    /// @throws std::runtime_error "<path> cannot be opened: <the system's reason>"
    Descriptor(const std::filesystem::path& path, int flags, unsigned mode = 0);
    /// Takes a file that is open.
    Descriptor(int number, std::string name) noexcept : number(number), name(std::move(name)) {}
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor();

    operator int() const noexcept { return number; }  // NOLINT(google-explicit-constructor)

    /// Whether a path leads to this file.
    bool isAt(const std::filesystem::path& path) const noexcept;

    /// @return whether the file has so many bytes there
    /// @throws std::runtime_error naming the file
    bool read(void* data, std::size_t size, std::int64_t at) const;
    /// @throws std::runtime_error naming the file
    void write(const void* data, std::size_t size, std::int64_t at) const;

  private:
    int number;
    std::string name;  ///< in messages
};

/// @throws std::runtime_error "<what>: <the system's message of an error's number>"
[[noreturn]] void failWith(const std::string& what, int error);

}  // namespace run
