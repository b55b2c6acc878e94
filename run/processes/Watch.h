// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "run/processes/Ranks.h"

namespace run {

/// Which of others have not been heard of for a while.
class Silence {
  public:
    using Clock = std::chrono::steady_clock;

    /// @param names of all processes; the first is not one of the others
    Silence(std::vector<std::string> names, Clock::duration longest, Clock::time_point now);

    /// Something was heard of a process.
    /// @return what is to be said, where its silence was told before
    std::string heard(std::size_t process, Clock::time_point now);

    /// A process has nothing more to say.
    void gone(std::size_t process);

    /// @return what is to be said of those whose silence has become too long since the last call
    std::string news(Clock::time_point now);

  private:
    struct Other {
        std::string name;
        Clock::time_point last;
        bool told = false;
        bool gone = false;
    };
    std::vector<Other> others;
    Clock::duration longest;
};

/// In every process, a thread that lets the first know that the process is there, however long
/// a slab takes. The first says on standard error which others it has not heard of: without that a
/// run that waits for a lost machine would wait without a word.
///
/// Needs an MPI that takes calls of several threads. All processes create and end theirs together.
class Watch {
  public:
    /// @param longest silence that is not worth a word
    Watch(const Ranks& ranks, std::chrono::duration<double> longest);
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    ~Watch();

  private:
    void tell();
    void listen();
    /// Whether to go on; waits for some time.
    bool rest(std::chrono::duration<double> time);

    const Ranks& ranks;
    std::chrono::duration<double> longest;
    MPI_Comm channel = MPI_COMM_NULL;
    std::mutex mutex;
    std::condition_variable end;
    bool ending = false;
    std::thread thread;
};

/// A watch where there is more than one process and MPI can do it, or nothing. The environment
/// variable PISTONFIELD_SILENCE says how many seconds are too long; 30 are, where it does not.
/// @throws CollectiveFailure where it is no time
std::unique_ptr<Watch> watchOf(const Ranks& ranks);

}  // namespace run
