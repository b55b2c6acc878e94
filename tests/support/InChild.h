// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <sys/wait.h>
#include <unistd.h>

/// What a work returns in a forked child, from 0 to 99; 100 where it throws, and 200 where a signal
/// ends it, as after 20 s.
template <class Work>
int inChild(Work work) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);
        try {
            _exit(work());
        } catch (...) {
            _exit(100);
        }
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 200;
}
