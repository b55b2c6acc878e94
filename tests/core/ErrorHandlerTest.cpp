// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "core/ErrorHandler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

namespace {

/// Counts its destructions.
class CountedHandler : public ErrorHandler {
  public:
    explicit CountedHandler(int& destroyed) : destroyed(destroyed) {}
    CountedHandler(const CountedHandler&) = delete;
    CountedHandler& operator=(const CountedHandler&) = delete;
    ~CountedHandler() override { ++destroyed; }
    void fail(const char*, int, const char*) override {}

  private:
    int& destroyed;
};

const char* const exampleReport =
    "ERROR: assertion failure in core/Vector at line 48\n"
    "       condition failed: (i<N).\n\n";

TEST(ErrorHandler, ServesTheStaticDefaultHandlerUntilOneIsInstalled) {
    // Nothing has been installed in a fresh process, which this style of death test runs in.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const bool isStatic =
                ErrorHandler::getErrorHandler() == &DefaultErrorHandler::theDefaultErrorHandler;
            std::exit(isStatic ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(ErrorHandler, ResettingInstallsAnotherDefaultHandlerFromTheHeap) {
    ErrorHandler::setErrorHandler(nullptr);
    ErrorHandler* const handler = ErrorHandler::getErrorHandler();
    EXPECT_NE(handler, &DefaultErrorHandler::theDefaultErrorHandler);
    EXPECT_NE(dynamic_cast<DefaultErrorHandler*>(handler), nullptr);
}

TEST(ErrorHandler, InstallingDeletesTheOneBefore) {
    int destroyedFirst = 0;
    int destroyedSecond = 0;
    auto* const first = new CountedHandler(destroyedFirst);
    auto* const second = new CountedHandler(destroyedSecond);
    ErrorHandler::setErrorHandler(first);
    EXPECT_EQ(ErrorHandler::getErrorHandler(), first);
    EXPECT_EQ(destroyedFirst, 0);
    ErrorHandler::setErrorHandler(second);
    EXPECT_EQ(ErrorHandler::getErrorHandler(), second);
    EXPECT_EQ(destroyedFirst, 1);
    ErrorHandler::setErrorHandler(nullptr);
    EXPECT_EQ(destroyedSecond, 1);
}

TEST(ErrorHandler, ReportsTwoLinesAndAnEmptyOne) {
    EXPECT_EQ(failureReport("i<N", 48, "core/Vector"), exampleReport);
}

TEST(DefaultErrorHandlerDeathTest, PrintsTheReportOnStandardErrorAndAborts) {
    ErrorHandler::setErrorHandler(nullptr);
    EXPECT_EXIT(ErrorHandler::getErrorHandler()->fail("i<N", 48, "core/Vector"),
                testing::KilledBySignal(SIGABRT), testing::StrEq(exampleReport));
}

}  // namespace
