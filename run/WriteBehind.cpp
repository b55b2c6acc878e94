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

void WriteBehind::wrote(std::int64_t offset, std::int64_t size) {
    constexpr std::size_t mostUnderWay = 4;
    // Hints: a file system that does not take them loses nothing, and errors wait for `finish`.
    static_cast<void>(sync_file_range(descriptor, offset, size, SYNC_FILE_RANGE_WRITE));
    underWay.push_back({offset, size});
    if (underWay.size() <= mostUnderWay) return;
    const Range oldest = underWay.front();
    underWay.pop_front();
    static_cast<void>(sync_file_range(
        descriptor, oldest.offset, oldest.size,
        SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER));
    static_cast<void>(posix_fadvise(descriptor, oldest.offset, oldest.size, POSIX_FADV_DONTNEED));
}

void WriteBehind::finish() const {
    if (fdatasync(descriptor) != 0) fail(path);
}

}  // namespace run
