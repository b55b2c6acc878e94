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

/// Has all of a file that is in the system's memory written to the disk, and frees that memory.
/// Hints: a file system that does not take them loses nothing, and errors wait for `finish`.
void sendOn(int descriptor) {
    constexpr unsigned all =
        SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER;
    static_cast<void>(sync_file_range(descriptor, 0, 0, all));
    static_cast<void>(posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED));
}

}  // namespace

WriteBehind::WriteBehind(const std::filesystem::path& path)
    : path(path), descriptor(open(path.c_str(), O_RDWR | O_CLOEXEC)) {
    if (descriptor < 0) fail(path);
}

WriteBehind::~WriteBehind() {
    if (underWay.valid()) underWay.wait();
    close(descriptor);
}

void WriteBehind::wrote(std::int64_t bytes) {
    constexpr std::int64_t atATime = 32'000'000;
    waiting += bytes;
    if (waiting < atATime) return;
    waiting = 0;
    if (underWay.valid()) underWay.wait();
    // In a thread of its own, because a disk that is busy lets whoever sends it something wait.
    underWay = std::async(std::launch::async, &sendOn, descriptor);
}

void WriteBehind::finish() {
    if (underWay.valid()) underWay.wait();
    if (fdatasync(descriptor) != 0) fail(path);
}

}  // namespace run
