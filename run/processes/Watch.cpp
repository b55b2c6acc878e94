// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/processes/Watch.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "run/formatting.h"
#include "run/numbers.h"

namespace run {

namespace {

using Seconds = std::chrono::duration<double>;

enum Tag { present, leaving };

/// A few of the names, and how many others there are.
std::string list(const std::vector<std::string>& names) {
    constexpr std::size_t most = 5;
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), most); ++i)
        text += (i == 0 ? "" : ", ") + names[i];
    if (names.size() > most) text += " and " + std::to_string(names.size() - most) + " others";
    return text;
}

Seconds longestSilence() {
    constexpr double usual = 30;
    const char* text = std::getenv("PISTONFIELD_SILENCE");
    if (text == nullptr) return Seconds(usual);
    try {
        constexpr double most = 1e6;
        const double seconds = numbers::real(text);
        if (seconds > 0) return Seconds(std::min(seconds, most));
    } catch (const std::runtime_error&) {
        // Said below.
    }
    throw std::runtime_error("PISTONFIELD_SILENCE: '" + std::string(text) +
                             "' is no time above 0, in seconds");
}

void say(const std::string& text) {
    if (!text.empty()) std::cerr << "pistonfield-run: " + text + "\n" << std::flush;
}

}  // namespace

Silence::Silence(std::vector<std::string> names, Clock::duration longest, Clock::time_point now)
    : longest(longest) {
    for (std::string& name : names) others.push_back({std::move(name), now});
    if (!others.empty()) others.front().gone = true;
}

std::string Silence::heard(std::size_t process, Clock::time_point now) {
    Other& other = others[process];
    other.last = now;
    return std::exchange(other.told, false) ? other.name + " is heard of again" : "";
}

void Silence::gone(std::size_t process) { others[process].gone = true; }

std::string Silence::news(Clock::time_point now) {
    std::vector<std::string> silent;
    for (Other& other : others) {
        if (other.gone || other.told || now - other.last < longest) continue;
        other.told = true;
        silent.push_back(other.name);
    }
    if (silent.empty()) return "";
    return "nothing was heard for " + formatting::duration(Seconds(longest).count()) + " of " +
           list(silent) + "; the run waits for " + (silent.size() == 1 ? "it" : "them");
}

Watch::Watch(const Ranks& ranks, Seconds longest) : ranks(ranks), longest(longest) {
    MPI_Comm_dup(MPI_COMM_WORLD, &channel);
    thread = std::thread([this] { this->ranks.isFirst() ? listen() : tell(); });
}

Watch::~Watch() {
    {
        const std::lock_guard lock(mutex);
        ending = true;
    }
    end.notify_all();
    thread.join();
    MPI_Comm_free(&channel);
}

bool Watch::rest(Seconds time) {
    std::unique_lock lock(mutex);
    return !end.wait_for(lock, time, [this] { return ending; });
}

void Watch::tell() {
    // Some words may be late.
    constexpr double often = 6;
    do MPI_Send(nullptr, 0, MPI_BYTE, 0, present, channel);
    while (rest(longest / often));
    MPI_Send(nullptr, 0, MPI_BYTE, 0, leaving, channel);
}

void Watch::listen() {
    Silence silence(ranks.allNames(), std::chrono::duration_cast<Silence::Clock::duration>(longest),
                    Silence::Clock::now());
    int others = ranks.size() - 1;
    const auto hear = [&] {
        MPI_Status status;
        int arrived = 0;
        MPI_Iprobe(MPI_ANY_SOURCE, MPI_ANY_TAG, channel, &arrived, &status);
        if (arrived == 0) return false;
        MPI_Recv(nullptr, 0, MPI_BYTE, status.MPI_SOURCE, status.MPI_TAG, channel,
                 MPI_STATUS_IGNORE);
        const auto from = static_cast<std::size_t>(status.MPI_SOURCE);
        say(silence.heard(from, Silence::Clock::now()));
        if (status.MPI_TAG != leaving) return true;
        silence.gone(from);
        --others;
        return true;
    };
    // To the last word of each: those that have ended wait for nothing.
    constexpr Seconds pause{0.05};
    while (others > 0) {
        while (hear()) {
        }
        say(silence.news(Silence::Clock::now()));
        std::this_thread::sleep_for(pause);
    }
}

std::unique_ptr<Watch> watchOf(const Ranks& ranks) {
    if (ranks.size() == 1) return nullptr;
    Seconds longest{};
    ranks.together([&] { longest = longestSilence(); });
    return ranks.takesAll() ? std::make_unique<Watch>(ranks, longest) : nullptr;
}

}  // namespace run
