// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/ReadingGuard.h"

#include <unistd.h>

#include <stdexcept>
#include <string_view>
#include <utility>

#include "run/formatting.h"

namespace run {

namespace {

/// How the line begins that is to be said, for the handler of the signals.
const std::string* theLine = nullptr;

/// Does nothing but what a handler of signals may.
void say(std::string_view text) {
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
}

/// `strsignal` is not for handlers.
const char* nameOf(int signal) noexcept {
    switch (signal) {
        case SIGSEGV:
            return "Segmentation fault";
        case SIGBUS:
            return "Bus error";
        case SIGFPE:
            return "Floating point exception";
        case SIGABRT:
            return "Aborted";
        default:
            return "a signal";
    }
}

/// For the handler, where the thread's own stack is used up.
std::array<char, std::size_t{1} << 16> handlersStack;

extern "C" void end(int signal) {
    say(*theLine);
    if (signal == SIGPROF) {
        say("does not end");
    } else {
        say("ended by ");
        say(nameOf(signal));
    }
    say("\n");
    _exit(1);
}

itimerval timeFor(std::int64_t bytes) {
    constexpr std::int64_t secondsToOpen = 3;
    constexpr std::int64_t slowest = 10'000'000;  // bytes a second, of what is compressed
    itimerval time{};
    time.it_value.tv_sec = secondsToOpen + bytes / slowest;
    return time;
}

}  // namespace

ReadingGuard::ReadingGuard(const std::string& file, std::optional<std::int64_t> bytes)
    : line(formatting::complaint(std::runtime_error(file + " is damaged: reading it "))),
      outerLine(std::exchange(theLine, &line)) {
    stack_t stack{};
    stack.ss_sp = handlersStack.data();
    stack.ss_size = handlersStack.size();
    static_cast<void>(sigaltstack(&stack, &outerStack));
    struct sigaction action {};
    action.sa_handler = &end;
    action.sa_flags = SA_ONSTACK;
    for (std::size_t i = 0; i < signals.size(); ++i)
        static_cast<void>(sigaction(signals[i], &action, &outerActions[i]));
    const itimerval time = bytes ? timeFor(*bytes) : itimerval{};
    static_cast<void>(setitimer(ITIMER_PROF, &time, &outerTime));
}

ReadingGuard::~ReadingGuard() {
    static_cast<void>(setitimer(ITIMER_PROF, &outerTime, nullptr));
    for (std::size_t i = 0; i < signals.size(); ++i)
        static_cast<void>(sigaction(signals[i], &outerActions[i], nullptr));
    static_cast<void>(sigaltstack(&outerStack, nullptr));
    theLine = outerLine;
}

}  // namespace run
