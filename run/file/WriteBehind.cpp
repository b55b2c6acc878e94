// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/WriteBehind.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <initializer_list>

namespace run {

namespace {

[[noreturn]] void fail(const std::filesystem::path& path, int error) {
    failWith(path.string() + " cannot be written", error);
}

/// Has all of a file that is in the system's memory written to the disk, and frees that memory.
/// @return the number of the disk's error, which is told once, or 0
int sendOn(int descriptor) {
    constexpr unsigned all =
        SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER;
    if (sync_file_range(descriptor, 0, 0, all) != 0)
        for (const int error : {EIO, ENOSPC, EDQUOT})
            if (errno == error) return error;
    // Any other error says that the file system does not take the hint.
    static_cast<void>(posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED));
    return 0;
}

}  // namespace

WriteBehind::WriteBehind(const std::filesystem::path& path)
    : path(path), descriptor(path, O_RDWR) {}

void WriteBehind::wrote(std::int64_t bytes) {
    constexpr std::int64_t atATime = 32'000'000;
    waiting += bytes;
    if (waiting < atATime) return;
    waiting = 0;
    waitForDisk();
    // In a thread of its own, because a disk that is busy lets whoever sends it something wait.
    underWay = std::async(std::launch::async, &sendOn, static_cast<int>(descriptor));
}

void WriteBehind::finish() {
    waitForDisk();
    if (fdatasync(descriptor) != 0) fail(path, errno);
}

void WriteBehind::waitForDisk() {
    const int error = underWay.valid() ? underWay.get() : 0;
    if (error != 0) fail(path, error);
}

}  // namespace run
