// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Each call of the runtime in turn fails, alone and with all that follow it.
#include <algorithm>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cuda_runtime/emulated/Emulator.h"
#include "tests/matlab_src/GatewayTest.h"
#include "tests/matlab_src/HeapAccount.h"
#include "tests/support/EmulatedDevices.h"

using cuda_runtime::cudaError_t;
using cuda_runtime::emulated::emulator;
using substitute::EventKind;
using substitute::RaiseMode;
using substitute::theHost;

namespace {

/// What becomes of a failure.
enum class Fate { ignored, leftToTheNextCheck, reported };

/// A call of the runtime, and how its failure is reported.
struct Step {
    std::string call;
    Fate fate;
    std::string unit{};
    std::string line{};
    std::string label{};  ///< of a check for a pending error
    std::string message{};

    [[nodiscard]] bool isCheck() const { return !label.empty(); }
};

using Steps = std::vector<Step>;

Step ignored(const std::string& call) { return {call, Fate::ignored}; }

Step left(const std::string& call) { return {call, Fate::leftToTheNextCheck}; }

Step check(const std::string& label, const std::string& unit, const std::string& line = "#") {
    return {"cudaGetLastError()", Fate::reported, unit, line, label};
}

Step checked(const std::string& call, const std::string& text, const std::string& unit,
             const std::string& line = "#") {
    return {call, Fate::reported, unit, line, "", "Cuda error when calling " + text + ": "};
}

void append(Steps& steps, const Steps& more) {
    steps.insert(steps.end(), more.begin(), more.end());
}

/// The device is chosen among one, and an empty kernel creates its context.
Steps bringUp() {
    const std::string unit = "core/cuda_init";
    return {ignored("cudaGetDeviceCount()"),
            ignored("cudaGetDeviceProperties(0)"),
            ignored("cudaGetDeviceProperties(0)"),
            ignored("cudaSetDevice(0)"),
            ignored("cudaGetLastError()"),
            check("pre cuda_init()", unit, "14"),
            left("cudaConfigureCall((1, 1, 1), (1, 1, 1), 0, 0)"),
            left("cudaLaunch()"),
            check("post cuda_init()", unit, "16"),
            ignored("cudaGetLastError()"),
            left("cudaThreadSynchronize()")};
}

/// The number of the call that makes the context.
constexpr int firstLaunch = 8;

/// Half a rule of order 4 in both precisions.
Steps upload() {
    const std::string unit = "FastNearfield/IntegratorCuda";
    const auto copy = [&unit](const std::string& symbol, int bytes, const std::string& text) {
        return checked("cudaMemcpyToSymbol(" + symbol + ", " + std::to_string(bytes) + ")", text,
                       unit);
    };
    const auto rule = [&](const std::string& stem, int bytes, const std::string& firstText) {
        return Steps{check("start setIntegratorWeightsSym", unit),
                     copy(stem + "_x", bytes, firstText),
                     copy(stem + "_w", bytes, "cudaMemcpyToSymbol( buf, data_w, datasize )"),
                     copy(stem + "_N", 4, "cudaMemcpyToSymbol( buf, (void*)&N, sizeof(int) )"),
                     check("end setIntegratorWeightsSym", unit)};
    };
    Steps steps{check("start setCudaIntegratorParameters", unit)};
    append(steps, rule("global_dpRectangularPiston_double", 16, "err"));
    append(steps, rule("global_RectangularPiston_float", 8,
                       "cudaMemcpyToSymbol( buf, data_x, datasize )"));
    steps.push_back(check("end setCudaIntegratorParameters", unit));
    return steps;
}

/// What the launchers of both precisions have in common, for 12 points.
class Launcher {
  public:
    Launcher(std::string unit, std::string real, int realBytes)
        : unit(std::move(unit)), real(std::move(real)), realBytes(realBytes) {}

    [[nodiscard]] Step allocate(const std::string& half) const {
        return checked("cudaMalloc(" + std::to_string(12 * realBytes) + ")",
                       "cudaMalloc((void**)&d_array" + half + ", datasize)", unit);
    }

    [[nodiscard]] Steps transform() const {
        const std::string bytes = std::to_string(16 * realBytes);
        return {checked("cudaMalloc(" + bytes + ")",
                        "cudaMalloc((void**)&d_transform, 16*sizeof(" + real + "))", unit),
                checked("cudaMemcpy(" + bytes + ", cudaMemcpyHostToDevice)",
                        "cudaMemcpy( d_transform, transform, 16*sizeof(" + real +
                            "), cudaMemcpyHostToDevice )",
                        unit)};
    }

    /// Two arrays, three sizes, the transform; then a, b and k.
    [[nodiscard]] Steps launch(const std::string& label) const {
        Steps steps{left("cudaConfigureCall((1, 1, 1), (128, 1, 1), 0, 0)")};
        for (const char* argument : {"8, 0", "8, 8", "4, 16", "4, 20", "4, 24", "8, 32"})
            steps.push_back(left(std::string("cudaSetupArgument(") + argument + ")"));
        for (int i = 0; i < 3; ++i)
            steps.push_back(left("cudaSetupArgument(" + std::to_string(realBytes) + ", " +
                                 std::to_string(40 + i * realBytes) + ")"));
        append(steps, {left("cudaLaunch()"), check(label, unit)});
        return steps;
    }

    [[nodiscard]] Step fetch(const std::string& half) const {
        return checked("cudaMemcpy(" + std::to_string(12 * realBytes) + ", cudaMemcpyDeviceToHost)",
                       "cudaMemcpy( &data" + half + "[0], d_array" + half +
                           ", datasize, cudaMemcpyDeviceToHost )",
                       unit);
    }

    [[nodiscard]] Step release(const std::string& buffer) const {
        return checked("cudaFree()", "cudaFree(" + buffer + ")", unit);
    }

    [[nodiscard]] Step entry(const std::string& label) const { return check(label, unit); }

  private:
    std::string unit;
    std::string real;
    int realBytes;
};

Steps singleLauncher() {
    const Launcher launcher("FastNearfield/RectangularPistonCuda", "float", 4);
    Steps steps{launcher.entry("pre do_calculate_grid"), launcher.allocate("r"),
                launcher.allocate("i"), launcher.entry("pre RectangularPiston_func2_device")};
    append(steps, launcher.transform());
    append(steps, launcher.launch("RectangularPiston_func2_device"));
    append(steps, {launcher.release("d_transform"), launcher.fetch("r"), launcher.fetch("i"),
                   launcher.release("d_arrayr"), launcher.release("d_arrayi")});
    return steps;
}

Steps doubleLauncher() {
    const Launcher launcher("FastNearfield/RectangularPistonCuda.dp", "double", 8);
    Steps steps{launcher.entry("pre do_calculate_grid"), launcher.allocate("r"),
                launcher.allocate("i")};
    append(steps, launcher.transform());
    append(steps, launcher.launch("calculate_grid"));
    append(steps, {launcher.fetch("r"), launcher.fetch("i"), launcher.release("d_arrayr"),
                   launcher.release("d_arrayi"), launcher.release("d_transform")});
    return steps;
}

/// All calls of the runtime in a call of the module.
Steps stepsOf(const std::string& mode) {
    Steps steps = bringUp();
    if (mode == "cuda" || mode == "cudadp") append(steps, upload());
    if (mode == "cuda") append(steps, singleLauncher());
    if (mode == "cudadp") append(steps, doubleLauncher());
    steps.push_back(checked("cudaThreadExit()", "cudaThreadExit()", "core/cudahelper", "25"));
    return steps;
}

/// What the user and the standard error stream get to see.
struct Report {
    std::string error;
    std::string standardError;
};

Report reportOf(const Step& step, const std::string& status) {
    const std::string error = "ERROR: assertion failure in " + step.unit + " at line " + step.line +
                              "\n       condition failed: (" + step.message + status + ").\n\n";
    if (!step.isCheck()) return {error, ""};
    return {error, "Cuda error: " + step.label + " in file '" + step.unit + "' in line " +
                       step.line + " : " + status + ".\n"};
}

/// The first report of a call with a failure, if there is one.
std::optional<Report> firstReport(const Steps& steps, const PlannedFailure& plan,
                                  const std::string& status) {
    const auto failing = steps.begin() + plan.nth - 1;
    if (failing->fate == Fate::ignored && !plan.fromThenOn) return std::nullopt;
    const auto reporting = std::find_if(failing, steps.end(), [&](const Step& step) {
        return step.fate == Fate::reported &&
               (plan.fromThenOn || step.isCheck() || &step == &*failing);
    });
    if (reporting == steps.end()) return std::nullopt;
    return reportOf(*reporting, status);
}

/// The lines of FastNearfield are the implementation's own: "line 17" there reads "line #".
std::string withoutOwnLines(std::string text) {
    const std::string mark = " line ";
    std::size_t found = text.find(mark, text.find("FastNearfield/"));
    while (found != std::string::npos) {
        const std::size_t number = found + mark.size();
        text.erase(number, text.find_first_not_of("0123456789", number) - number);
        text.insert(number, 1, '#');
        found = text.find(mark, text.find("FastNearfield/", number));
    }
    return text;
}

class FailingRuntimeTest : public GatewayTest, public testing::WithParamInterface<const char*> {
  protected:
    void SetUp() override {
        GatewayTest::SetUp();
        expected = call(request()).values();
    }

    static Request request() { return Request().mode(GetParam()).abscissas(4); }

    static std::size_t liveBytes() {
        theHost().reset();
        theHost().events = {};
        return heap::liveBytes();
    }

    void expectNextCallIsRight() {
        theHost().reset();
        const Outcome next = call(request());
        ASSERT_EQ(next.ending, Ending::answered);
        EXPECT_EQ(next.values(), expected);
        expectNothingLeft(next);
    }

    void expectEnd(const Outcome& outcome, const std::optional<Report>& report) const {
        const std::vector<std::string> raised = theHost().textsOf(EventKind::raise);
        const bool throws = theHost().raiseMode == RaiseMode::throws;
        ASSERT_EQ(outcome.ending, report && throws ? Ending::refused : Ending::answered);
        if (!report) {
            EXPECT_TRUE(raised.empty());
            EXPECT_EQ(outcome.standardError, "");
            EXPECT_EQ(outcome.values(), expected);
            return;
        }
        ASSERT_FALSE(raised.empty());
        EXPECT_EQ(withoutOwnLines(raised.front()), report->error);
        const std::string standardError = withoutOwnLines(outcome.standardError);
        if (throws)
            EXPECT_EQ(standardError, report->standardError);
        else
            EXPECT_THAT(standardError, testing::StartsWith(report->standardError));
    }

    void fail(const PlannedFailure& plan, const std::string& status, RaiseMode raiseMode) {
        const std::size_t bytesBefore = liveBytes();
        {
            theHost().reset();
            theHost().raiseMode = raiseMode;
            const Request made = request();
            const RuntimeLog log(plan);
            testing::internal::CaptureStdout();
            const Outcome outcome = call(made);
            testing::internal::GetCapturedStdout();
            ASSERT_TRUE(log.failed);
            expectEnd(outcome, firstReport(steps, plan, status));
            // What cannot be taken down stays until the next call.
            if (plan.fromThenOn || plan.nth == static_cast<int>(steps.size()))
                EXPECT_EQ(emulator().hasContext(), plan.nth > firstLaunch);
            else
                expectNothingLeft(outcome);
        }
        expectNextCallIsRight();
        EXPECT_EQ(liveBytes(), bytesBefore);
    }

    const Steps steps = stepsOf(GetParam());
    std::vector<std::complex<double>> expected;
};

TEST_P(FailingRuntimeTest, HasTheseCallsToFail) {
    call(request());
    std::vector<std::string> calls;
    for (const Step& step : steps) calls.push_back(step.call);
    EXPECT_EQ(theHost().textsOf(EventKind::runtime), calls);
}

TEST_P(FailingRuntimeTest, EndsTheCallWithItsReportAndLeavesNothing) {
    struct Status {
        cudaError_t code;
        const char* text;
    };
    int calls = 0;
    for (const Status& status : {Status{cuda_runtime::cudaErrorUnknown, "unknown error"},
                                 Status{cuda_runtime::cudaErrorMemoryAllocation, "out of memory"}})
        for (const RaiseMode raiseMode : {RaiseMode::throws, RaiseMode::returns})
            for (const bool fromThenOn : {false, true})
                for (std::size_t i = 0; i < steps.size(); ++i, ++calls) {
                    SCOPED_TRACE(testing::Message() << "call " << i + 1 << ": " << steps[i].call
                                                    << (fromThenOn ? " and all that follow" : ""));
                    const int nth = static_cast<int>(i) + 1;
                    fail({nth, status.code, std::nullopt, fromThenOn}, status.text, raiseMode);
                    if (HasFailure()) return;
                }
    std::cout << GetParam() << ": " << calls << " calls, each with a failing call of the runtime\n";
}

INSTANTIATE_TEST_SUITE_P(Of, FailingRuntimeTest,
                         testing::Values("cpu", "cpudp", "cpusp", "cuda", "cudadp"),
                         [](const auto& info) { return std::string(info.param); });

}  // namespace
