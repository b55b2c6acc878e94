// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/readText.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <stdexcept>

#include "run/file/Descriptor.h"

namespace run {

std::string readText(const std::filesystem::path& path) {
    constexpr std::size_t most = 64'000'000;
    const std::string name = path.string();
    const int number = open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (number < 0) failWith(name, errno);
    const Descriptor file(number, name);
    std::string text;
    std::array<char, 65536> piece{};
    ssize_t size = 0;
    do {
        size = read(file, piece.data(), piece.size());
        if (size > 0) text.append(piece.data(), static_cast<std::size_t>(size));
    } while ((size > 0 && text.size() <= most) || (size < 0 && errno == EINTR));
    if (size < 0) failWith(name, errno);
    if (text.size() > most)
        throw std::runtime_error(name + ": more than 64 MB are no text of this program");
    return text;
}

}  // namespace run
