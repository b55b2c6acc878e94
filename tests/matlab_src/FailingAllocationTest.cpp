// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Each allocation of a call in turn finds no memory, alone and with all that follow it.
#include <cstdio>

#include "cuda_runtime/emulated/Emulator.h"
#include "parallel/threads.h"
#include "tests/matlab_src/GatewayTest.h"
#include "tests/matlab_src/HeapAccount.h"
#include "tests/support/SilentOutput.h"

using cuda_runtime::emulated::emulator;
using heap::FailingAllocation;
using substitute::EventKind;
using substitute::RaiseMode;
using substitute::theHost;

namespace {

/// The report of a device allocation without memory, up to its line number and after it.
struct Report {
    std::string before;
    std::string after;
};

/// The device allocations of a mode, in order.
std::vector<Report> deviceReports(const std::string& mode) {
    const auto reportOf = [](const std::string& unit, const std::string& call) {
        return Report{"ERROR: assertion failure in FastNearfield/" + unit + " at line ",
                      "\n       condition failed: (Cuda error when calling cudaMalloc((void**)&" +
                          call + "): out of memory).\n\n"};
    };
    const auto allIn = [&](const std::string& unit, const std::string& real) {
        return std::vector<Report>{reportOf(unit, "d_arrayr, datasize"),
                                   reportOf(unit, "d_arrayi, datasize"),
                                   reportOf(unit, "d_transform, 16*sizeof(" + real + ")")};
    };
    if (mode == "cuda") return allIn("RectangularPistonCuda", "float");
    if (mode == "cudadp") return allIn("RectangularPistonCuda.dp", "double");
    return {};
}

class FailingAllocationTest : public GatewayTest, public testing::WithParamInterface<const char*> {
  protected:
    void SetUp() override {
        GatewayTest::SetUp();
        // The texts that an interceptor sees are allocations that no module makes.
        emulator().setInterceptor(nullptr);
        pistonfield::useThreads(3);
        testing::internal::CaptureStderr();
        expected = bareCall(request()).values();
        expectNextCallIsRight();
        bytesBefore = liveBytes();
    }

    void TearDown() override {
        testing::internal::GetCapturedStderr();
        pistonfield::useThreads(0);
        GatewayTest::TearDown();
    }

    /// Of more points than two threads take at a time.
    static Request request() { return Request().sizes({64, 32, 17}).mode(GetParam()).abscissas(4); }

    static std::size_t liveBytes() {
        theHost().reset();
        theHost().events = {};
        return heap::liveBytes();
    }

    void expectNextCallIsRight() {
        theHost().reset();
        const Outcome next = bareCall(request());
        ASSERT_EQ(next.ending, Ending::answered);
        EXPECT_EQ(next.values(), expected);
    }

    /// That a call ended as the failure of an allocation of this form makes it end.
    void expectEnd(const Outcome& outcome, heap::Form form, bool fromThenOn) {
        if (form.throwing || (form.aligned && fromThenOn)) {
            // Where nothing can be allocated, neither can the text of a report.
            EXPECT_EQ(outcome.ending, Ending::outOfMemory);
        } else if (!form.aligned) {
            // The handler between calls; one that needs no memory stands in for it.
            ASSERT_EQ(outcome.ending, Ending::answered);
            EXPECT_EQ(outcome.values(), expected);
        } else {
            expectReport(outcome);
        }
    }

    void expectReport(const Outcome& outcome) {
        const std::vector<Report> reports = deviceReports(GetParam());
        ASSERT_LT(reported, reports.size());
        const Report& report = reports[reported++];
        const std::vector<std::string> raised = theHost().textsOf(EventKind::raise);
        ASSERT_FALSE(raised.empty());
        EXPECT_THAT(raised.front(), testing::StartsWith(report.before));
        EXPECT_THAT(raised.front(), testing::EndsWith(report.after));
        const bool throws = theHost().raiseMode == RaiseMode::throws;
        EXPECT_EQ(outcome.ending, throws ? Ending::refused : Ending::answered);
        if (throws) {
            EXPECT_EQ(outcome.error, raised.front());
        }
    }

    /// A call whose n-th allocation fails. @return whether it has so many
    bool failNth(int nth, bool fromThenOn, RaiseMode raiseMode) {
        std::optional<heap::Form> failed;
        {
            theHost().reset();
            theHost().raiseMode = raiseMode;
            const Request made = request();
            Outcome outcome;
            {
                const FailingAllocation failing(nth, fromThenOn);
                outcome = bareCall(made);
                failed = FailingAllocation::firstFailed();
            }
            if (failed) expectEnd(outcome, *failed, fromThenOn);
        }
        EXPECT_FALSE(emulator().hasContext());
        EXPECT_EQ(emulator().liveBytes(), 0U);
        EXPECT_LE(liveBytes(), bytesBefore);
        expectNextCallIsRight();
        EXPECT_EQ(liveBytes(), bytesBefore);
        return failed.has_value();
    }

    SilentOutput silent;
    std::vector<std::complex<double>> expected;
    std::size_t bytesBefore = 0;
    std::size_t reported = 0;
};

TEST_P(FailingAllocationTest, EndsTheCallAndLeavesNothing) {
    int calls = 0;
    for (const RaiseMode raiseMode : {RaiseMode::throws, RaiseMode::returns})
        for (const bool fromThenOn : {false, true}) {
            reported = 0;
            int nth = 1;
            while (!HasFailure() && failNth(nth, fromThenOn, raiseMode)) ++nth;
            EXPECT_GT(nth, 20);
            EXPECT_EQ(reported, fromThenOn ? 0 : deviceReports(GetParam()).size());
            calls += nth - 1;
        }
    std::printf("%s: %d calls, each with a failing allocation\n", GetParam(), calls);
}

// In one thread, as it depends on the machine how many find something left to do.
TEST_P(FailingAllocationTest, AllocatesAsOftenForManyPointsAsForFew) {
    pistonfield::useThreads(1);
    const auto allocationsFor = [](const std::vector<double>& sizes) {
        theHost().reset();
        const Request made = Request().sizes(sizes).mode(GetParam()).abscissas(4);
        const std::size_t before = heap::allocations();
        EXPECT_EQ(bareCall(made).ending, Ending::answered);
        return heap::allocations() - before;
    };
    const std::size_t ofFew = allocationsFor({32, 16, 16});
    EXPECT_GT(ofFew, 0U);
    EXPECT_EQ(allocationsFor({64, 32, 32}), ofFew);
}

INSTANTIATE_TEST_SUITE_P(Of, FailingAllocationTest,
                         testing::Values("cpu", "cpudp", "cpusp", "cuda", "cudadp"),
                         [](const auto& info) { return std::string(info.param); });

}  // namespace
