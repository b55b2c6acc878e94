// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/WriteBehind.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace run {

namespace {

[[noreturn]] void fail(const std::filesystem::path& path) {
    throw std::runtime_error(path.string() +
                             " cannot be written: " + std::generic_category().message(errno));
}

}  // namespace

WriteBehind::WriteBehind(const std::filesystem::path& path)
    : path(path), descriptor(open(path.c_str(), O_RDWR | O_CLOEXEC)) {
    if (descriptor < 0) fail(path);
}

WriteBehind::~WriteBehind() { close(descriptor); }

void WriteBehind::wrote(std::int64_t bytes) noexcept {
    constexpr std::int64_t atATime = 32'000'000;
    waiting += bytes;
    if (waiting < atATime) return;
    waiting = 0;
    // Hints for the whole file, of which these are the pages that the system has in memory: wait
    // for what went to the disk last time, free it, and send what has come since. A file system
    // that does not take them loses nothing, and errors wait for `finish`.
    static_cast<void>(sync_file_range(descriptor, 0, 0, SYNC_FILE_RANGE_WAIT_BEFORE));
    static_cast<void>(posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED));
    static_cast<void>(sync_file_range(descriptor, 0, 0, SYNC_FILE_RANGE_WRITE));
}

void WriteBehind::finish() const {
    if (fdatasync(descriptor) != 0) fail(path);
}

}  // namespace run
