// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace run {

namespace {

/// Whether the file at the path is still the open one.
bool isAt(const std::filesystem::path& path, int descriptor) {
    struct stat there {};
    struct stat here {};
    return stat(path.c_str(), &there) == 0 && fstat(descriptor, &here) == 0 &&
           there.st_ino == here.st_ino && there.st_dev == here.st_dev;
}

}  // namespace

FileLock::FileLock(const std::filesystem::path& output) : path(output.string() + ".lock") {
    const std::string name = output.string();
    for (;;) {
        descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (descriptor < 0)
            throw std::runtime_error(
                name + " cannot be written: " + std::generic_category().message(errno));
        const bool taken = flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
        // A run that has just ended may have removed the file in between.
        if (!taken && isAt(path, descriptor)) return;
        close(descriptor);
        if (taken) throw std::runtime_error(name + ": another run is working on it");
    }
}

FileLock::~FileLock() {
    static_cast<void>(unlink(path.c_str()));
    close(descriptor);
}

}  // namespace run
