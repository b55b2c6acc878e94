// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Preloaded into a program: every file system is NFS, as far as the system says. Says on standard
// error how many threads there are when the program sets a variable of its MPI in the environment.

#include <dlfcn.h>
#include <sys/vfs.h>

#include <cstdio>
#include <filesystem>
#include <iterator>
#include <string_view>

namespace {

template <class Status>
int askAsNfs(const char* function, const char* path, Status* status) {
    const auto ask = reinterpret_cast<int (*)(const char*, Status*)>(dlsym(RTLD_NEXT, function));
    const int failed = ask(path, status);
    constexpr decltype(status->f_type) nfs = 0x6969;
    status->f_type = nfs;
    return failed;
}

std::ptrdiff_t threads() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

}  // namespace

extern "C" {

int statfs(const char* path, struct statfs* status) noexcept {
    return askAsNfs("statfs", path, status);
}

int statfs64(const char* path, struct statfs64* status) noexcept {
    return askAsNfs("statfs64", path, status);
}

int setenv(const char* name, const char* value, int replace) noexcept {
    if (std::string_view(name) == "OMPI_MCA_fs_ufs_lock_algorithm")
        static_cast<void>(std::fprintf(stderr, "threads: %td\n", threads()));
    return reinterpret_cast<decltype(&setenv)>(dlsym(RTLD_NEXT, "setenv"))(name, value, replace);
}
}
