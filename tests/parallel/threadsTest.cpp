// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "parallel/threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "parallel/usableCores.h"

namespace {

using pistonfield::inParallel;
using pistonfield::threadCount;
using pistonfield::useThreads;

constexpr const char* variable = "PISTONFIELD_THREADS";

/// Whether that many have come here within a minute.
bool haveMet(std::atomic<int>& waiting, int count) {
    ++waiting;
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (waiting < count && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    return waiting >= count;
}

struct ThreadsTest : testing::Test {
    ThreadsTest() { unsetenv(variable); }
    ~ThreadsTest() override {
        useThreads(0);
        unsetenv(variable);
    }
};

TEST_F(ThreadsTest, AreOneForEachCoreThatMayBeUsed) {
    EXPECT_EQ(threadCount(), pistonfield::usableCores());
    setenv(variable, "", 1);
    EXPECT_EQ(threadCount(), pistonfield::usableCores());
}

TEST_F(ThreadsTest, AreAsManyAsTheVariableSays) {
    setenv(variable, "7", 1);
    EXPECT_EQ(threadCount(), 7U);
}

TEST_F(ThreadsTest, AreAsManyAsTheProgramSaysWhateverTheVariable) {
    setenv(variable, "7", 1);
    useThreads(3);
    EXPECT_EQ(threadCount(), 3U);
    useThreads(0);
    EXPECT_EQ(threadCount(), 7U);
    useThreads(100000);
    EXPECT_EQ(threadCount(), pistonfield::mostThreads);
}

TEST_F(ThreadsTest, AreChosenByTheProgramOrTheVariable) {
    EXPECT_FALSE(pistonfield::threadsAreChosen());
    setenv(variable, "", 1);
    EXPECT_FALSE(pistonfield::threadsAreChosen());
    setenv(variable, "2", 1);
    EXPECT_TRUE(pistonfield::threadsAreChosen());
    unsetenv(variable);
    useThreads(4);
    EXPECT_TRUE(pistonfield::threadsAreChosen());
}

TEST_F(ThreadsTest, AreRefusedWhereTheVariableIsNoCount) {
    for (const char* text : {"0", "-1", "+1", " 1", "1 ", "1.5", "two", "1025", "4294967296"}) {
        setenv(variable, text, 1);
        try {
            threadCount();
            ADD_FAILURE() << text;
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(error.what(), "PISTONFIELD_THREADS: '" + std::string(text) +
                                        "' is no whole number from 1 to 1024");
        }
    }
}

TEST_F(ThreadsTest, DoEveryNumberOnce) {
    for (const std::int64_t count : {0, 1, 9, 10, 11, 1000})
        for (const std::int64_t piece : {1, 10, 2000})
            for (const unsigned threads : {1U, 2U, 5U}) {
                std::vector<std::atomic<int>> done(static_cast<std::size_t>(count));
                inParallel(count, piece, threads, [&](std::int64_t first, std::int64_t last) {
                    ASSERT_LT(first, last);
                    for (std::int64_t i = first; i < last; ++i) ++done[static_cast<std::size_t>(i)];
                });
                EXPECT_TRUE(std::all_of(done.begin(), done.end(),
                                        [](const auto& times) { return times == 1; }));
            }
}

TEST_F(ThreadsTest, WorkBesideEachOther) {
    std::atomic<int> waiting{0};
    inParallel(3, 1, 3, [&](std::int64_t, std::int64_t) { EXPECT_TRUE(haveMet(waiting, 3)); });
}

TEST_F(ThreadsTest, EndWithTheFirstFailure) {
    for (const std::int64_t bad : {0, 500, 999}) {
        std::atomic<int> running{0};
        EXPECT_THROW(inParallel(1000, 1, 4,
                                [&](std::int64_t first, std::int64_t) {
                                    ++running;
                                    if (first == bad) {
                                        --running;
                                        throw std::length_error("bad");
                                    }
                                    --running;
                                }),
                     std::length_error);
        EXPECT_EQ(running, 0);
    }
}

TEST_F(ThreadsTest, LeaveSignalsToTheCaller) {
    const auto blocked = [] {
        sigset_t set{};
        pthread_sigmask(SIG_SETMASK, nullptr, &set);
        return sigismember(&set, SIGINT) == 1;
    };
    ASSERT_FALSE(blocked());
    const std::thread::id caller = std::this_thread::get_id();
    std::atomic<int> waiting{0};
    inParallel(2, 1, 2, [&](std::int64_t, std::int64_t) {
        EXPECT_EQ(blocked(), std::this_thread::get_id() != caller);
        EXPECT_TRUE(haveMet(waiting, 2));
    });
    EXPECT_FALSE(blocked());
}

}  // namespace
