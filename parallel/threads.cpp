// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "parallel/threads.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "parallel/usableCores.h"

namespace pistonfield {

namespace {

std::atomic<unsigned> chosen{0};

constexpr const char* variable = "PISTONFIELD_THREADS";

/// 0 where the variable is not set, or empty.
unsigned askedByVariable() {
    const char* const text = std::getenv(variable);
    if (text == nullptr || *text == '\0') return 0;
    const char* const end = text + std::strlen(text);
    unsigned count = 0;
    const auto [stop, error] = std::from_chars(text, end, count);
    if (error != std::errc() || stop != end || count == 0)
        throw std::runtime_error(std::string(variable) + ": '" + text +
                                 "' is no whole number above 0");
    return count;
}

/// A scope in which new threads have all signals blocked: those of the process are for threads that
/// know what to do with them.
class SignalsBlocked {
  public:
    SignalsBlocked() noexcept {
        sigset_t all{};
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
    }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }

  private:
    sigset_t before{};
};

/// The pieces of a work that are left, and its first failure.
class Pieces {
  public:
    Pieces(std::int64_t count, std::int64_t size) : count(count), size(size) {}

    void workOn(const std::function<void(std::int64_t, std::int64_t)>& work) noexcept {
        try {
            for (std::int64_t first = next.fetch_add(size); first < count;
                 first = next.fetch_add(size))
                work(first, std::min(size, count - first) + first);
        } catch (...) {
            next = count;
            if (!failed.exchange(true)) failure = std::current_exception();
        }
    }

    void rethrow() const {
        if (failure) std::rethrow_exception(failure);
    }

  private:
    std::int64_t count;
    std::int64_t size;
    std::atomic<std::int64_t> next{0};
    std::atomic<bool> failed{false};
    std::exception_ptr failure;
};

}  // namespace

void useThreads(unsigned count) noexcept { chosen = count; }

unsigned threadCount() {
    if (const unsigned count = chosen; count > 0) return count;
    if (const unsigned count = askedByVariable(); count > 0) return count;
    return usableCores();
}

void inParallel(std::int64_t count, std::int64_t piece, unsigned threads,
                const std::function<void(std::int64_t, std::int64_t)>& work) {
    const std::int64_t all = count / piece + (count % piece != 0 ? 1 : 0);
    if (threads <= 1 || all <= 1) {
        if (count > 0) work(0, count);
        return;
    }
    Pieces pieces(count, piece);
    {
        std::vector<std::jthread> helpers;
        try {
            const SignalsBlocked blocked;
            const std::int64_t wanted = std::min<std::int64_t>(threads, all) - 1;
            while (static_cast<std::int64_t>(helpers.size()) < wanted)
                helpers.emplace_back([&] { pieces.workOn(work); });
        } catch (const std::system_error&) {
            // Without more threads the ones at hand do the work.
        }
        pieces.workOn(work);
    }
    pieces.rethrow();
}

}  // namespace pistonfield
