// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/openFiles.h"

#include <sys/resource.h>

#include <csignal>
#include <stdexcept>
#include <vector>

#include "run/file/Descriptor.h"

namespace run {

void prepareForFiles() noexcept {
    rlimit files{};
    if (getrlimit(RLIMIT_NOFILE, &files) == 0) {
        files.rlim_cur = files.rlim_max;
        static_cast<void>(setrlimit(RLIMIT_NOFILE, &files));
    }
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
}

bool mayOpen(std::size_t files) {
    std::vector<Descriptor> opened;
    try {
        while (opened.size() < files) opened.emplace_back("/dev/null", O_RDONLY);
    } catch (const std::runtime_error&) {
        return false;
    }
    return true;
}

}  // namespace run
