// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/processes/Progress.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <utility>

#include "run/formatting.h"

namespace run {

Progress::Progress(std::string work, std::int64_t total, std::int64_t done)
    : work(std::move(work)),
      total(total),
      before(done),
      done(done),
      terminal(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
    if (done == before) return;
    show(Clock::now());
    if (terminal) static_cast<void>(std::fputc('\n', stderr));
}

void Progress::add(std::int64_t points) {
    done += points;
    // A terminal is looked at, a log is kept.
    const auto interval = terminal ? std::chrono::milliseconds(500) : std::chrono::seconds(30);
    const Clock::time_point now = Clock::now();
    if (now - lastShown < interval) return;
    lastShown = now;
    show(now);
}

void Progress::show(Clock::time_point now) {
    const double seconds = std::chrono::duration<double>(now - begin).count();
    const double rate = static_cast<double>(done - before) / seconds;
    const double share = static_cast<double>(done) / static_cast<double>(total);
    // Rounded down: 100 % is the whole field.
    std::string line = "pistonfield-run: " + work + " " +
                       std::to_string(static_cast<int>(std::floor(100 * share))) + " %, " +
                       formatting::count(rate) + " points/s, ";
    line += done < total ? formatting::duration(static_cast<double>(total - done) / rate) + " left"
                         : formatting::duration(seconds);
    // Over what a longer line left.
    if (terminal)
        static_cast<void>(std::fprintf(stderr, "\r%-79s", line.c_str()));
    else
        static_cast<void>(std::fprintf(stderr, "%s\n", line.c_str()));
    static_cast<void>(std::fflush(stderr));
}

}  // namespace run
