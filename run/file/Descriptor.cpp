// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/Descriptor.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace run {

void failWith(const std::string& what, int error) {
    throw std::runtime_error(what + ": " + std::generic_category().message(error));
}

Descriptor::Descriptor(const std::filesystem::path& path, int flags, unsigned mode)
    : number(open(path.c_str(), flags | O_CLOEXEC, mode)), name(path.string()) {
    if (number < 0) failWith(name + " cannot be opened", errno);
}

Descriptor::Descriptor(Descriptor&& other) noexcept
    : number(std::exchange(other.number, -1)), name(std::move(other.name)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(number, other.number);
    std::swap(name, other.name);
    return *this;
}

Descriptor::~Descriptor() {
    if (number >= 0) close(number);
}

bool Descriptor::isAt(const std::filesystem::path& path) const noexcept {
    struct stat there {};
    struct stat here {};
    return stat(path.c_str(), &there) == 0 && fstat(number, &here) == 0 &&
           there.st_ino == here.st_ino && there.st_dev == here.st_dev;
}

bool Descriptor::read(void* data, std::size_t size, std::int64_t at) const {
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = pread(number, static_cast<char*>(data) + done, size - done,
                                    at + static_cast<off_t>(done));
        if (count == 0) return false;
        if (count < 0 && errno != EINTR) failWith(name + " cannot be read", errno);
        if (count > 0) done += static_cast<std::size_t>(count);
    }
    return true;
}

void Descriptor::write(const void* data, std::size_t size, std::int64_t at) const {
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = pwrite(number, static_cast<const char*>(data) + done, size - done,
                                     at + static_cast<off_t>(done));
        if (count < 0 && errno != EINTR) failWith(name + " cannot be written", errno);
        if (count > 0) done += static_cast<std::size_t>(count);
    }
}

}  // namespace run
