// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/processes/streams.h"

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>

namespace run {

void openStandardStreams() {
    // Files take the lowest number that is free.
    int file = -1;
    do {
        file = open("/dev/null", O_RDWR);  // NOLINT(android-cloexec-open): as the streams are
        if (file < 0) throw std::runtime_error("/dev/null cannot be opened");
    } while (file <= STDERR_FILENO);
    static_cast<void>(close(file));
}

}  // namespace run
