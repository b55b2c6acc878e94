// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "parallel/threads.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include "parallel/SignalsBlocked.h"
#include "parallel/usableCores.h"

namespace pistonfield {

namespace {

std::atomic<unsigned> chosen{0};

constexpr const char* variable = "PISTONFIELD_THREADS";

/// What the environment says; empty where that is nothing.
std::string_view givenByVariable() noexcept {
    const char* const text = std::getenv(variable);
    return text == nullptr ? "" : text;
}

unsigned countIn(std::string_view text) {
    const char* const end = text.data() + text.size();
    unsigned count = 0;
    const auto [stop, error] = std::from_chars(text.data(), end, count);
    if (error != std::errc() || stop != end || count == 0 || count > mostThreads)
        throw std::runtime_error(std::string(variable) + ": '" + std::string(text) +
                                 "' is no whole number from 1 to " + std::to_string(mostThreads));
    return count;
}

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
            takeAll();
            if (!failed.exchange(true)) failure = std::current_exception();
        }
    }

    bool areLeft() const noexcept { return next < count; }

    void takeAll() noexcept { next = count; }

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

/// Starts as many as there can be, as long as there is something left for them.
void startHelpers(std::vector<std::jthread>& helpers, std::int64_t wanted, Pieces& pieces,
                  const std::function<void(std::int64_t, std::int64_t)>& work) {
    const SignalsBlocked blocked;
    try {
        while (static_cast<std::int64_t>(helpers.size()) < wanted && pieces.areLeft())
            helpers.emplace_back([&] { pieces.workOn(work); });
    } catch (const std::system_error&) {
        // Without more threads the ones at hand do the work.
    } catch (...) {
        pieces.takeAll();
        throw;
    }
}

}  // namespace

void useThreads(unsigned count) noexcept { chosen = std::min(count, mostThreads); }

bool threadsAreChosen() noexcept { return chosen > 0 || !givenByVariable().empty(); }

unsigned threadCount() {
    if (const unsigned count = chosen; count > 0) return count;
    if (const std::string_view text = givenByVariable(); !text.empty()) return countIn(text);
    return std::min(usableCores(), mostThreads);
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
        startHelpers(helpers, std::min<std::int64_t>(threads, all) - 1, pieces, work);
        pieces.workOn(work);
    }
    pieces.rethrow();
}

}  // namespace pistonfield
