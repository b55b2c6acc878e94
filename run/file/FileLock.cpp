// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/FileLock.h"

#include <fcntl.h>

#include <cerrno>
#include <stdexcept>
#include <utility>

namespace run {

namespace {

/// A lock that belongs to an open file and not to the process, which may close others of it. It is
/// none of those by which HDF5's readers keep writers out.
struct flock place() {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    constexpr off_t beyondAllFiles = off_t{1} << 62;
    lock.l_start = beyondAllFiles;
    lock.l_len = 1;
    return lock;
}

/// @return whether nobody else has it
bool take(const Descriptor& file) noexcept {
    struct flock lock = place();
    return fcntl(file, F_OFD_SETLK, &lock) == 0 || (errno != EAGAIN && errno != EACCES);
}

}  // namespace

FileLock::FileLock(const std::filesystem::path& file) : descriptor(-1, file.string()) {
    const std::string name = file.string();
    do {
        const int number = open(file.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK);
        if (number < 0) failWith(name + " cannot be written", errno);
        descriptor = Descriptor(number, name);
        if (!take(descriptor)) throw std::runtime_error(name + ": another run is working on it");
        // A run that has just ended may have put another file in its place.
    } while (!descriptor.isAt(file));
}

FileLock::FileLock(Descriptor file) noexcept : descriptor(std::move(file)) {
    static_cast<void>(take(descriptor));
}

bool FileLock::isLocked(const Descriptor& file) noexcept {
    struct flock lock = place();
    return fcntl(file, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

}  // namespace run
