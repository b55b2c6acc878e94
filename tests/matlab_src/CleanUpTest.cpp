// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// However a call ends, it leaves nothing behind, and the next call works.
#include <new>
#include <string>

#include "cuda_runtime/emulated/Emulator.h"
#include "tests/matlab_src/GatewayTest.h"

using cuda_runtime::cudaErrorLaunchFailure;
using cuda_runtime::cudaSuccess;
using cuda_runtime::emulated::emulator;
using cuda_runtime::emulated::Operation;
using cuda_runtime::emulated::RuntimeCall;
using substitute::EventKind;
using substitute::RaiseMode;
using substitute::theHost;

namespace {

constexpr const char* exitReport =
    "ERROR: assertion failure in core/cudahelper at line 25\n"
    "       condition failed: (Cuda error when calling cudaThreadExit(): "
    "unspecified launch failure).\n\n";

class CleanUpTest : public GatewayTest {
  protected:
    /// Runtime calls of an answered request.
    int runtimeCalls() {
        call(Request());
        return static_cast<int>(theHost().textsOf(EventKind::runtime).size());
    }

    /// Makes the n-th call of the runtime fail, counting from 1.
    static void failRuntimeCall(int n, std::string& failed) {
        emulator().setInterceptor([n, count = 0, &failed](const RuntimeCall& call) mutable {
            theHost().log(EventKind::runtime, call.text);
            if (++count != n) return cudaSuccess;
            failed = call.text;
            return cudaErrorLaunchFailure;
        });
    }

    static void failThreadExit() {
        emulator().setInterceptor([](const RuntimeCall& call) {
            theHost().log(EventKind::runtime, call.text);
            return call.operation == Operation::ThreadExit ? cudaErrorLaunchFailure : cudaSuccess;
        });
    }
};

TEST_F(CleanUpTest, followsTheFailureOfAnyRuntimeCall) {
    const int calls = runtimeCalls();
    ASSERT_GE(calls, 10);
    for (const RaiseMode mode : {RaiseMode::throws, RaiseMode::returns})
        for (int n = 1; n <= calls; ++n) {
            std::string failed;
            theHost().raiseMode = mode;
            failRuntimeCall(n, failed);
            const Outcome outcome = call(Request());
            ASSERT_NE(failed, "");
            if (failed == "cudaThreadExit()")
                EXPECT_TRUE(emulator().hasContext());
            else
                expectNothingLeft(outcome);
            if (mode == RaiseMode::returns) {
                EXPECT_EQ(outcome.ending, Ending::answered) << failed;
            } else if (outcome.ending == Ending::refused) {
                EXPECT_THAT(outcome.error, testing::HasSubstr("unspecified launch failure"))
                    << failed;
            }
            expectNextCallWorks();
        }
}

TEST_F(CleanUpTest, followsTheFailuresThatAreReportedAndNoOthers) {
    std::vector<std::string> reported;
    for (int n = 1, calls = runtimeCalls(); n <= calls; ++n) {
        std::string failed;
        failRuntimeCall(n, failed);
        if (call(Request()).ending == Ending::refused) reported.push_back(failed);
        SetUp();
    }
    EXPECT_EQ(reported, (std::vector<std::string>{
                            "cudaGetLastError()", "cudaConfigureCall((1, 1, 1), (1, 1, 1), 0, 0)",
                            "cudaLaunch()", "cudaGetLastError()", "cudaThreadExit()"}));
}

TEST_F(CleanUpTest, followsTheFailureOfAllRuntimeCalls) {
    emulator().setInterceptor([](const RuntimeCall&) { return cudaErrorLaunchFailure; });
    EXPECT_EQ(call(Request()).ending, Ending::refused);
    expectNextCallWorks();
}

TEST_F(CleanUpTest, isReportedWhenTheContextCannotBeEnded) {
    failThreadExit();
    const Outcome outcome = call(Request());
    EXPECT_EQ(outcome.ending, Ending::refused);
    EXPECT_EQ(outcome.error, exitReport);
    EXPECT_EQ(outcome.standardError, "");
    EXPECT_EQ(theHost().textsOf(EventKind::print).back(), "double precision\n");
    expectNextCallWorks();
}

TEST_F(CleanUpTest, isReportedAfterTheFieldWhenTheContextCannotBeEndedAndErrorsReturn) {
    const std::vector<std::complex<double>> expected = call(Request()).values();
    failThreadExit();
    theHost().raiseMode = RaiseMode::returns;
    const Outcome outcome = call(Request());
    EXPECT_EQ(outcome.values(), expected);
    EXPECT_EQ(theHost().textsOf(EventKind::raise), std::vector<std::string>{exitReport});
    expectNextCallWorks();
}

TEST_F(CleanUpTest, letsTheFirstErrorThroughWhenTheContextCannotBeEndedEither) {
    failThreadExit();
    const Outcome outcome = call(Request().sizes({0, 1, 1}));
    EXPECT_EQ(outcome.ending, Ending::refused);
    EXPECT_EQ(outcome.error, "The given grid must have at least one data point");
    expectNextCallWorks();
}

TEST_F(CleanUpTest, followsAnExceptionFromAnyOperationOfTheHostInEveryMode) {
    for (const char* mode : {"cpu", "cpudp", "cpusp", "cuda", "cudadp"}) {
        const auto request = [mode] { return Request().mode(mode).abscissas(4); };
        const std::vector<std::complex<double>> expected = call(request()).values();
        const int operations = theHost().operations;
        ASSERT_GE(operations, 20);
        for (const bool isMemory : {true, false})
            for (int failing = 1; failing <= operations; ++failing) {
                theHost().interceptor = [failing, isMemory](const char*, int number) {
                    if (number == failing && isMemory) throw std::bad_alloc();
                    if (number == failing) throw 7;  // NOLINT: hosts throw types of their own
                };
                const Outcome outcome = call(request());
                EXPECT_EQ(outcome.ending,
                          isMemory ? Ending::outOfMemory : Ending::foreignException);
                expectNothingLeft(outcome);
                theHost().interceptor = nullptr;
                EXPECT_EQ(call(request()).values(), expected);
            }
    }
    expectNextCallWorks();
}

TEST_F(CleanUpTest, followsAResultThatCannotBeCreatedTheFirstOrTheSecondTime) {
    for (const int creation : {1, 2}) {
        theHost().interceptor = [creation, count = 0](const std::string& operation, int) mutable {
            if (operation == "createResult" && ++count == creation) throw std::bad_alloc();
        };
        const Outcome outcome = call(Request());
        EXPECT_EQ(outcome.ending, Ending::outOfMemory);
        EXPECT_EQ(theHost().textsOf(EventKind::creation).size(),
                  static_cast<std::size_t>(creation - 1));
        EXPECT_EQ(outcome.output != nullptr, creation == 2);
        expectNothingLeft(outcome);
        expectNextCallWorks();
    }
}

TEST_F(CleanUpTest, keepsNothingThroughAThousandRefusalsAndAnswers) {
    for (int i = 0; i < 1000; ++i) {
        theHost().reset();
        expectNothingLeft(call(Request().sizes({i % 2 == 0 ? 1.0 : 0.0, 1, 1})));
    }
    expectNextCallWorks();
}

}  // namespace
