// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/readText.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <stdexcept>
#include <system_error>

namespace run {

std::string readText(const std::filesystem::path& path) {
    constexpr std::size_t most = 64'000'000;
    const auto refuse = [&](const std::string& reason) {
        throw std::runtime_error(path.string() + ": " + reason);
    };
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) refuse(std::generic_category().message(errno));
    std::string text;
    std::array<char, 65536> piece{};
    ssize_t size = 0;
    do {
        size = read(file, piece.data(), piece.size());
        if (size > 0) text.append(piece.data(), static_cast<std::size_t>(size));
    } while ((size > 0 && text.size() <= most) || (size < 0 && errno == EINTR));
    const int error = size < 0 ? errno : 0;
    static_cast<void>(close(file));
    if (error != 0) refuse(std::generic_category().message(error));
    if (text.size() > most) refuse("more than 64 MB are no text of this program");
    return text;
}

}  // namespace run
