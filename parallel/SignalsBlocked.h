// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <csignal>
#include <initializer_list>

namespace pistonfield {

/// A scope in which new threads have signals blocked: those that are sent to the process are for
/// the threads of the program, which know what to do with them. Faults of a thread are its own.
class SignalsBlocked {
  public:
    SignalsBlocked() noexcept {
        sigset_t sent{};
        sigfillset(&sent);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS})
            sigdelset(&sent, fault);
        pthread_sigmask(SIG_SETMASK, &sent, &before);
    }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }

  private:
    sigset_t before{};
};

}  // namespace pistonfield
