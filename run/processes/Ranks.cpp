// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/processes/Ranks.h"

#include <chrono>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <thread>
#include <utility>

#include "run/formatting.h"

namespace run {

namespace {

double now() {
    using Seconds = std::chrono::duration<double>;
    return Seconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

Ranks::Ranks(const Launch& launch) : alone(launch.alone()), names(1) {
    if (alone) return;
    MPI_Init_thread(nullptr, nullptr, MPI_THREAD_MULTIPLE, &level);
    MPI_Comm_rank(MPI_COMM_WORLD, &number);
    MPI_Comm_size(MPI_COMM_WORLD, &count);
    try {
        requireAll(launch, count);
    } catch (...) {
        MPI_Finalize();
        throw;
    }
    gatherNames();
}

Ranks::~Ranks() {
    if (!alone) MPI_Finalize();
}

void Ranks::gatherNames() {
    using Host = std::array<char, MPI_MAX_PROCESSOR_NAME>;
    Host here{};
    int length = 0;
    MPI_Get_processor_name(here.data(), &length);
    names.resize(static_cast<std::size_t>(count));
    std::vector<Host> hosts(names.size());
    MPI_Gather(here.data(), here.size(), MPI_CHAR, hosts.data(), here.size(), MPI_CHAR, 0,
               MPI_COMM_WORLD);
    hosts[static_cast<std::size_t>(number)] = here;
    for (std::size_t rank = 0; rank < hosts.size(); ++rank)
        names[rank] = "process " + std::to_string(rank) + " on " + hosts[rank].data();
}

std::optional<MPI_Comm> Ranks::communicator() const {
    if (count == 1) return std::nullopt;
    return MPI_COMM_WORLD;
}

void Ranks::agree(const std::optional<std::string>& failure) const {
    int failed = failure ? number : count;
    if (count > 1) MPI_Allreduce(MPI_IN_PLACE, &failed, 1, MPI_INT, MPI_MIN, MPI_COMM_WORLD);
    if (failed == count) return;
    std::string text = failure.value_or("");
    broadcast(text, failed);
    throw CollectiveFailure(text);
}

void Ranks::broadcast(std::string& text, int from) const {
    if (count == 1) return;
    auto length = static_cast<int>(text.size());
    MPI_Bcast(&length, 1, MPI_INT, from, MPI_COMM_WORLD);
    text.resize(static_cast<std::size_t>(length));
    MPI_Bcast(text.data(), length, MPI_CHAR, from, MPI_COMM_WORLD);
}

std::string Ranks::shared(const std::function<std::string()>& text) const {
    std::string result;
    first([&] { result = text(); });
    broadcast(result, 0);
    return result;
}

void Ranks::together(const std::function<void()>& work) const {
    std::optional<std::string> failure;
    try {
        work();
    } catch (const std::exception& error) {
        failure = formatting::reason(error);
    }
    agree(failure);
}

void Ranks::first(const std::function<void()>& work) const {
    together([&] {
        if (isFirst()) work();
    });
}

void Ranks::abandon(int status) const {
    std::cout.flush();
    if (count > 1) MPI_Barrier(MPI_COMM_WORLD);
    std::_Exit(status);
}

void Ranks::abort(int status) const {
    std::cout.flush();
    if (count > 1) MPI_Abort(MPI_COMM_WORLD, status);
    std::_Exit(status);
}

double Ranks::sum(double value) const {
    if (count > 1) MPI_Allreduce(MPI_IN_PLACE, &value, 1, MPI_DOUBLE, MPI_SUM, MPI_COMM_WORLD);
    return value;
}

std::int64_t Ranks::largest(std::int64_t value) const {
    if (count > 1) MPI_Allreduce(MPI_IN_PLACE, &value, 1, MPI_INT64_T, MPI_MAX, MPI_COMM_WORLD);
    return value;
}

ProgressMessages::ProgressMessages(const Ranks& ranks, std::function<void(std::int64_t)> onPoints)
    : ranks(ranks), onPoints(std::move(onPoints)), lastTold(now()), working(ranks.size()) {}

void ProgressMessages::tellPoints(std::int64_t points) {
    // Often enough for people, seldom enough for a first process with thousands of others.
    constexpr double interval = 0.5;
    untold += points;
    if (!ranks.isFirst() && now() - lastTold < interval) return;
    lastTold = now();
    tell({Kind::points, std::exchange(untold, 0)});
}

void ProgressMessages::tellStop() { tell({Kind::stop}); }

void ProgressMessages::tellFailure(const std::string& text) {
    News news{Kind::failure};
    text.copy(news.text.data(), news.text.size() - 1);
    tell(news);
}

bool ProgressMessages::stopped() {
    hear();
    return stopping;
}

std::optional<std::string> ProgressMessages::finish() {
    tell({Kind::done, std::exchange(untold, 0)});
    while (!ended) {
        hear();
        // Others may need the core.
        if (!ended) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return failure;
}

void ProgressMessages::tell(const News& news) {
    if (ranks.isFirst())
        heard(news, 0);
    else
        send(0, news);
}

void ProgressMessages::send(int to, const News& news) {
    MPI_Send(&news, sizeof news, MPI_BYTE, to, 0, MPI_COMM_WORLD);
}

void ProgressMessages::hear() {
    if (ranks.size() == 1) return;
    for (int arrived = 1; arrived != 0;) {
        MPI_Status status;
        MPI_Iprobe(MPI_ANY_SOURCE, 0, MPI_COMM_WORLD, &arrived, &status);
        if (arrived == 0) return;
        News news;
        MPI_Recv(&news, sizeof news, MPI_BYTE, status.MPI_SOURCE, 0, MPI_COMM_WORLD,
                 MPI_STATUS_IGNORE);
        heard(news, status.MPI_SOURCE);
    }
}

void ProgressMessages::heard(const News& news, int from) {
    if (ranks.isFirst() && news.points > 0) onPoints(news.points);
    switch (news.kind) {
        case Kind::points:
            break;
        case Kind::failure:
            if (!failure)
                failure = ranks.size() == 1 ? std::string(news.text.data())
                                            : ranks.nameOf(from) + ": " + news.text.data();
            stopOthers();
            break;
        case Kind::stop:
            stopOthers();
            break;
        case Kind::done:
            if (--working > 0) break;
            for (int rank = 1; rank < ranks.size(); ++rank) send(rank, {Kind::end});
            ended = true;
            break;
        case Kind::end:
            ended = true;
            break;
    }
}

void ProgressMessages::stopOthers() {
    if (stopping) return;
    stopping = true;
    if (!ranks.isFirst()) return;
    for (int rank = 1; rank < ranks.size(); ++rank) send(rank, {Kind::stop});
}

}  // namespace run
