// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/limits.h"

#include <sys/resource.h>

#include <csignal>

namespace run {

void prepareForFiles() noexcept {
    rlimit files{};
    if (getrlimit(RLIMIT_NOFILE, &files) == 0) {
        files.rlim_cur = files.rlim_max;
        static_cast<void>(setrlimit(RLIMIT_NOFILE, &files));
    }
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
}

}  // namespace run
