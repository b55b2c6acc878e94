// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Preloaded into a program: lets some writes to files of fields happen, and then does what the
// environment says.
//   WRITES       how many happen
//   WRITES_THEN  "ENOSPC": all later ones fail, the disk being full; "SIGKILL": the process ends
//                "EIO": writes succeed, and what should bring them to the disk fails
//   WRITES_RANK  the process of an MPI run that it is about; all of them where it is not there

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

std::string_view variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/// Whether it is a file "*.h5", or one that is to become it.
bool isField(int file) {
    std::array<char, 4096> path{};
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    if (readlink(link.c_str(), path.data(), path.size() - 1) <= 0) return false;
    const std::string_view name(path.data());
    return name.find(".h5") != std::string_view::npos ||
           name.find("/.pistonfield-run-") != std::string_view::npos;
}

bool isAbout() {
    const std::string_view rank = variable("WRITES_RANK");
    return rank.empty() || rank == variable("OMPI_COMM_WORLD_RANK");
}

/// Whether a write is to fail.
bool fails(int file) {
    static const bool about = isAbout();
    static std::atomic<long> left = std::strtol(variable("WRITES").data(), nullptr, 10);
    if (!about || variable("WRITES_THEN") == "EIO" || !isField(file) || left-- > 0) return false;
    if (variable("WRITES_THEN") == "SIGKILL") static_cast<void>(raise(SIGKILL));
    errno = ENOSPC;
    return true;
}

template <class Function, class... Arguments>
ssize_t replaced(const char* name, int file, Arguments... arguments) {
    if (fails(file)) return -1;
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name))(file, arguments...);
}

}  // namespace

extern "C" {

int sync_file_range(int file, off64_t at, off64_t size, unsigned flags) {
    if (variable("WRITES_THEN") == "EIO") {
        errno = EIO;
        return -1;
    }
    return reinterpret_cast<decltype(&sync_file_range)>(dlsym(RTLD_NEXT, "sync_file_range"))(
        file, at, size, flags);
}

ssize_t write(int file, const void* data, size_t size) {
    return replaced<decltype(&write)>("write", file, data, size);
}

ssize_t writev(int file, const iovec* pieces, int count) {
    return replaced<decltype(&writev)>("writev", file, pieces, count);
}

ssize_t pwrite(int file, const void* data, size_t size, off_t at) {
    return replaced<decltype(&pwrite)>("pwrite", file, data, size, at);
}

ssize_t pwrite64(int file, const void* data, size_t size, off64_t at) {
    return replaced<decltype(&pwrite64)>("pwrite64", file, data, size, at);
}

ssize_t pwritev(int file, const iovec* pieces, int count, off_t at) {
    return replaced<decltype(&pwritev)>("pwritev", file, pieces, count, at);
}

ssize_t pwritev64(int file, const iovec* pieces, int count, off64_t at) {
    return replaced<decltype(&pwritev64)>("pwritev64", file, pieces, count, at);
}
}
