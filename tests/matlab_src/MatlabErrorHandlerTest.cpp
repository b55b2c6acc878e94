// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/MatlabErrorHandler.h"

#include "tests/matlab_src/GatewayTest.h"

using substitute::Event;
using substitute::EventKind;
using substitute::HostError;
using substitute::RaiseMode;
using substitute::theHost;

namespace {

using MatlabErrorHandlerTest = GatewayTest;

constexpr const char* report =
    "ERROR: assertion failure in core/Vector at line 48\n"
    "       condition failed: (i<N).\n\n";

TEST_F(MatlabErrorHandlerTest, turnsAFailureIntoAnErrorOfTheHostWithTheReportAsItsText) {
    try {
        MatlabErrorHandler().fail("i<N", 48, "core/Vector");
        FAIL() << "no error";
    } catch (const HostError& error) {
        EXPECT_EQ(error.text, report);
    }
}

TEST_F(MatlabErrorHandlerTest, returnsWhereTheHostsErrorOperationReturns) {
    theHost().raiseMode = RaiseMode::returns;
    MatlabErrorHandler().fail("i<N", 48, "core/Vector");
    EXPECT_EQ(theHost().events, (std::vector<Event>{{EventKind::raise, report}}));
}

TEST_F(MatlabErrorHandlerTest, writesNothingOnTheStandardStreams) {
    theHost().raiseMode = RaiseMode::returns;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    MatlabErrorHandler().fail("i<N", 48, "core/Vector");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(MatlabErrorHandlerTest, reportsNegativeLinesAndEmptyTexts) {
    theHost().raiseMode = RaiseMode::returns;
    MatlabErrorHandler().fail("", -1, "");
    EXPECT_EQ(theHost().textsOf(EventKind::raise),
              (std::vector<std::string>{"ERROR: assertion failure in  at line -1\n"
                                        "       condition failed: ().\n\n"}));
}

TEST_F(MatlabErrorHandlerTest, servesFailuresOfTheLibraryWhileItIsInstalled) {
    ErrorHandler::setErrorHandler(new MatlabErrorHandler);
    EXPECT_THROW(ErrorHandler::getErrorHandler()->fail("i>=0", 1, "file"), HostError);
    ErrorHandler::setErrorHandler(nullptr);
}

TEST_F(MatlabErrorHandlerTest, ofACallThatNeverEndedIsReplacedByTheNextCall) {
    ErrorHandler::setErrorHandler(new MatlabErrorHandler);
    const Outcome outcome = call(Request());
    EXPECT_EQ(outcome.ending, Ending::answered);
    expectNothingLeft(outcome);
}

}  // namespace
