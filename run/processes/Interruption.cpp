// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/processes/Interruption.h"

#include <csignal>
#include <initializer_list>

namespace run {

namespace {

volatile std::sig_atomic_t lastSignal = 0;

extern "C" void keepSignal(int signal) { lastSignal = signal; }

}  // namespace

void listenForSignals() {
    struct sigaction action {};
    action.sa_handler = &keepSignal;
    // Reads and writes under way go on; the second signal has its usual effect.
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    for (const int signal : {SIGINT, SIGTERM})
        static_cast<void>(sigaction(signal, &action, nullptr));
}

int signalled() noexcept { return lastSignal; }

}  // namespace run
