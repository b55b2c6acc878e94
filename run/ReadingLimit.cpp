// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/ReadingLimit.h"

#include <unistd.h>

#include <stdexcept>
#include <utility>

#include "run/texts.h"

namespace run {

namespace {

/// What is to be said, for the handler of the signal.
const std::string* theLine = nullptr;

extern "C" void end(int /*signal*/) {
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, theLine->data(), theLine->size());
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

ReadingLimit::ReadingLimit(const std::string& file, std::int64_t bytes)
    : line(texts::complaint(std::runtime_error(file + " is damaged: reading it does not end")) +
           "\n"),
      outerLine(std::exchange(theLine, &line)) {
    struct sigaction action {};
    action.sa_handler = &end;
    static_cast<void>(sigaction(SIGPROF, &action, &outerAction));
    const itimerval time = timeFor(bytes);
    static_cast<void>(setitimer(ITIMER_PROF, &time, &outerTime));
}

ReadingLimit::~ReadingLimit() {
    static_cast<void>(setitimer(ITIMER_PROF, &outerTime, nullptr));
    static_cast<void>(sigaction(SIGPROF, &outerAction, nullptr));
    theLine = outerLine;
}

}  // namespace run
