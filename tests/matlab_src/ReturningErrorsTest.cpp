// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// In a host whose error operation returns, a refused call stays defined.
#include <algorithm>

#include "matlab_src/FieldRequest.h"
#include "tests/matlab_src/GatewayTest.h"

using substitute::Event;
using substitute::EventKind;
using substitute::RaiseMode;
using substitute::theHost;

namespace {

class ReturningErrorsTest : public GatewayTest {
  protected:
    void SetUp() override {
        GatewayTest::SetUp();
        theHost().raiseMode = RaiseMode::returns;
    }

    /// That the call raised this one error and was over with it.
    void expectEndAt(const Request& request, const char* message) {
        const Outcome outcome = call(request);
        EXPECT_EQ(outcome.ending, Ending::answered);
        EXPECT_EQ(theHost().textsOf(EventKind::raise), std::vector<std::string>{message});
        const auto raised =
            std::find_if(theHost().events.begin(), theHost().events.end(),
                         [](const Event& event) { return event.kind == EventKind::raise; });
        EXPECT_EQ(std::vector<Event>(raised + 1, theHost().events.end()),
                  (std::vector<Event>{{EventKind::runtime, "cudaThreadExit()"}}))
            << message;
        expectNothingLeft(outcome);
    }
};

TEST_F(ReturningErrorsTest, endTheCallAtARefusedCountOrKind) {
    const host::Array* const cell = substitute::arrayOf("cell", {1, 1});
    expectEndAt(Request().onlyFirst(0),
                "Must have five or six input arguments: ([4x4 transform], [sx, sy, sz], l, s, k, "
                "['cuda'|'cudadp'|'cpu'|'cpusp'|'cpudp'], [nabscissas])");
    Request outputs;
    outputs.outputs = 0;
    expectEndAt(outputs, "Must have one output arguments");
    expectEndAt(Request().transform(substitute::text("cpu")),
                "Input must be real, full, and nonstring");
    expectEndAt(Request().at(2, cell), "l must be a number.");
    expectEndAt(Request().at(3, cell), "s must be a number.");
    expectEndAt(Request().at(4, cell), "k must be a number.");
    expectEndAt(Request().sizes({1}), "Size information (argument 2) must be three dimensional.");
    expectEndAt(Request().transform(cell),
                "Size information (argument 1) must contain sixteen values.");
    expectEndAt(Request().sizes(substitute::arrayOf("int32", {1, 3})),
                "Size information (argument 2) must be full and of class double.");
    expectEndAt(Request().transform(substitute::arrayOf("int32", {4, 4})),
                "The transform (argument 1) must be full and of class double.");
    expectEndAt(Request().abscissas(cell),
                "abscissas must be a number or a matrix of class double.");
    expectEndAt(Request().abscissas(substitute::arrayOf("single", {4, 2})),
                "abscissas and weights must be a full matrix of class double.");
}

TEST_F(ReturningErrorsTest, takeAnEmptyGridStraightToTheCleanUp) {
    expectEndAt(Request().sizes({0, 5, 5}), "The given grid must have at least one data point");
}

TEST_F(ReturningErrorsTest, leaveTheFirstResultAsTheOutputOfAnEmptyGrid) {
    const Outcome outcome = call(Request().sizes({0, 5, 5}));
    ASSERT_NE(outcome.output, nullptr);
    EXPECT_EQ(outcome.output->dimensions, (substitute::Dimensions{0, 5, 5}));
    EXPECT_EQ(theHost().textsOf(EventKind::creation).size(), 1U);
}

TEST_F(ReturningErrorsTest, leaveTheOrderAtTenAfterAnUnusableShapeOfAbscissas) {
    const std::vector<std::complex<double>> expected = call(Request().abscissas(10)).values();
    const std::vector<std::complex<double>> otherwise = call(Request().abscissas(3)).values();
    ASSERT_NE(expected, otherwise);
    const Outcome outcome = call(Request().abscissas(substitute::doubles({3, 3, 3}, {3, 1})));
    EXPECT_EQ(theHost().textsOf(EventKind::raise),
              std::vector<std::string>{
                  "abscissas must be a number or a 2D matrix containing abscissas and weights."});
    EXPECT_EQ(outcome.values(), expected);
    expectNothingLeft(outcome);
}

TEST_F(ReturningErrorsTest, leaveNoTableAfterAnUnusableShapeOfAbscissas) {
    const std::optional<FieldRequest> request =
        readRequest(1, Request().abscissas(substitute::doubles({3, 3, 3}, {3, 1})).arguments);
    ASSERT_TRUE(request);
    EXPECT_EQ(request->nAbscissas, 10);
    EXPECT_EQ(request->abscissaTable, nullptr);
}

TEST_F(ReturningErrorsTest, leaveTheModeAtCudaAfterAnUnknownName) {
    EXPECT_EQ(readMode(Request().mode("gpu").arguments), pistonfield::Mode::cuda);
    EXPECT_EQ(theHost().textsOf(EventKind::raise),
              std::vector<std::string>{"Input 5 must either be 'cuda' or 'cpu[sp,dp]'"});
}

TEST_F(ReturningErrorsTest, leaveTheModeAtCudaAfterAModeThatIsNoText) {
    EXPECT_EQ(readMode(Request().mode(substitute::number(1)).arguments), pistonfield::Mode::cuda);
    EXPECT_EQ(theHost().textsOf(EventKind::raise),
              std::vector<std::string>{
                  "Input 5 must be a character string and either be 'cuda' or 'cpu'"});
}

}  // namespace
