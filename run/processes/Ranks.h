// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <mpi.h>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "run/processes/launcher.h"

namespace run {

/// What `Ranks::together` throws: all processes know of it.
class CollectiveFailure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The processes of a run: those of MPI, or this one alone.
class Ranks {
  public:
    /// Starts MPI where a launcher has started this process with others.
    /// @throws std::runtime_error where MPI knows of fewer processes than were started
    explicit Ranks(const Launch& launch);
    Ranks(const Ranks&) = delete;
    Ranks& operator=(const Ranks&) = delete;
    ~Ranks();

    int rank() const noexcept { return number; }
    int size() const noexcept { return count; }
    bool isFirst() const noexcept { return number == 0; }

    /// "process 3 on node7"; the first process knows all names, the others only theirs.
    const std::string& nameOf(int rank) const { return names[static_cast<std::size_t>(rank)]; }
    const std::vector<std::string>& allNames() const noexcept { return names; }

    /// Whether any one thread at a time may call MPI.
    bool takesTurns() const noexcept { return level >= MPI_THREAD_SERIALIZED; }
    /// Whether several threads may call MPI at the same time.
    bool takesAll() const noexcept { return level >= MPI_THREAD_MULTIPLE; }

    /// What opens a file together; none where there is nobody else to open it with.
    std::optional<MPI_Comm> communicator() const;

    /// Lets everyone do this and go on when all have.
    /// @throws CollectiveFailure in every process, with one failure's text, where any failed
    void together(const std::function<void()>& work) const;

    /// Lets the first do this, as `together`.
    void first(const std::function<void()>& work) const;

    /// A text that the first makes, for everyone.
    /// @throws CollectiveFailure as `together`
    std::string shared(const std::function<std::string()>& text) const;

    /// Ends every process where it is, when all have come here: after a failure, in which HDF5 may
    /// be left with a file that it cannot close, and would end the process by a signal.
    [[noreturn]] void abandon(int status) const;

    /// Ends every process where it is, whatever the others do.
    [[noreturn]] void abort(int status) const;

    double sum(double value) const;
    std::int64_t largest(std::int64_t value) const;

  private:
    void agree(const std::optional<std::string>& failure) const;
    void broadcast(std::string& text, int from) const;
    void gatherNames();

    bool alone;
    int level = MPI_THREAD_MULTIPLE;
    int number = 0;
    int count = 1;
    std::vector<std::string> names;  ///< of all processes
};

/// What the processes tell each other while each works on its slabs, without waiting: the first
/// hears of progress and failures, and stops the others.
class ProgressMessages {
  public:
    /// @param onPoints called in the first process with points that were computed
    ProgressMessages(const Ranks& ranks, std::function<void(std::int64_t)> onPoints);

    /// Points that this process has computed.
    void tellPoints(std::int64_t points);

    /// Everyone is to stop, because this process was told to.
    void tellStop();

    /// Everyone is to stop, because this process failed.
    void tellFailure(const std::string& text);

    /// Whether to stop; hears what has arrived.
    bool stopped();

    /// Waits until everyone has come here.
    /// @return in the first process: the first failure that it heard of
    std::optional<std::string> finish();

  private:
    enum class Kind : std::int32_t { points, stop, failure, done, end };
    struct News {
        Kind kind{};
        std::int64_t points = 0;
        std::array<char, 1000> text{};
    };

    void tell(const News& news);
    static void send(int to, const News& news);
    void hear();
    void heard(const News& news, int from);
    void stopOthers();

    const Ranks& ranks;
    std::function<void(std::int64_t)> onPoints;
    std::optional<std::string> failure;
    std::int64_t untold = 0;
    double lastTold = 0;
    bool stopping = false;
    bool ended = false;
    int working;
};

}  // namespace run
