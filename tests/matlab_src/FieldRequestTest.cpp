// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/FieldRequest.h"

#include <algorithm>
#include <functional>

#include "tests/matlab_src/GatewayTest.h"

using substitute::Event;
using substitute::EventKind;
using substitute::theHost;

namespace {

using pistonfield::findMode;
using pistonfield::Mode;

using FieldRequestTest = GatewayTest;

constexpr const char* usage =
    "Must have five or six input arguments: ([4x4 transform], [sx, sy, sz], l, s, k, "
    "['cuda'|'cudadp'|'cpu'|'cpusp'|'cpudp'], [nabscissas])";

// Each message in the order of the checks, with a way to deserve it.

void giveEightArguments(Request& request) { request.arguments.resize(8, substitute::number(1)); }

void askForTwoOutputs(Request& request) { request.outputs = 2; }

void giveComplexTransform(Request& request) {
    request.transform(substitute::complexOf(std::vector<double>(16, 1.0), {4, 4}));
}

void giveAbscissaVector(Request& request) {
    request.abscissas(substitute::doubles({1, 2, 3}, {3, 1}));
}

void giveSingleTable(Request& request) { request.abscissas(substitute::arrayOf("single", {5, 2})); }

void giveCellOrder(Request& request) { request.abscissas(substitute::arrayOf("cell", {1, 1})); }

void giveEmptyL(Request& request) { request.at(2, substitute::arrayOf("double", {0, 0})); }

void giveCellS(Request& request) { request.at(3, substitute::arrayOf("cell", {1, 1})); }

void giveStructK(Request& request) { request.at(4, substitute::arrayOf("struct", {1, 1})); }

void giveTwoSizes(Request& request) { request.sizes({2, 3}); }

void giveFifteenValues(Request& request) {
    request.transform(substitute::arrayOf("double", {3, 5}));
}

void giveSingleSizes(Request& request) { request.sizes(substitute::arrayOf("single", {1, 3})); }

void giveSingleTransform(Request& request) {
    request.transform(substitute::arrayOf("single", {4, 4}));
}

void giveEmptyGrid(Request& request) { request.sizes({0, 5, 5}); }

void giveNumericMode(Request& request) { request.mode(substitute::number(1)); }

void giveUnknownMode(Request& request) { request.mode("gpu"); }

struct Mistake {
    const char* message;
    void (*make)(Request&);
    /// Mistakes of one group are about the same argument and exclude each other.
    int group;
};

const std::vector<Mistake>& mistakes() {
    static const std::vector<Mistake> all{
        {usage, giveEightArguments, 0},
        {"Must have one output arguments", askForTwoOutputs, 1},
        {"Input must be real, full, and nonstring", giveComplexTransform, 2},
        {"abscissas must be a number or a 2D matrix containing abscissas and weights.",
         giveAbscissaVector, 3},
        {"abscissas and weights must be a full matrix of class double.", giveSingleTable, 3},
        {"abscissas must be a number or a matrix of class double.", giveCellOrder, 3},
        {"l must be a number.", giveEmptyL, 4},
        {"s must be a number.", giveCellS, 5},
        {"k must be a number.", giveStructK, 6},
        {"Size information (argument 2) must be three dimensional.", giveTwoSizes, 7},
        {"Size information (argument 1) must contain sixteen values.", giveFifteenValues, 2},
        {"Size information (argument 2) must be full and of class double.", giveSingleSizes, 7},
        {"The transform (argument 1) must be full and of class double.", giveSingleTransform, 2},
        {"The given grid must have at least one data point", giveEmptyGrid, 7},
        {"Input 5 must be a character string and either be 'cuda' or 'cpu'", giveNumericMode, 8},
        {"Input 5 must either be 'cuda' or 'cpu[sp,dp]'", giveUnknownMode, 8},
    };
    return all;
}

TEST_F(FieldRequestTest, refusesEachMistakeWithItsMessageOnce) {
    for (const Mistake& mistake : mistakes()) {
        Request request;
        mistake.make(request);
        const Outcome outcome = call(request);
        EXPECT_EQ(outcome.ending, Ending::refused) << mistake.message;
        EXPECT_EQ(outcome.error, mistake.message);
        EXPECT_EQ(theHost().textsOf(EventKind::raise).size(), 1U) << mistake.message;
        expectNothingLeft(outcome);
    }
}

TEST_F(FieldRequestTest, refusesARequestWithTwoMistakesForTheEarlierOne) {
    for (std::size_t later = 0; later < mistakes().size(); ++later)
        for (std::size_t earlier = 0; earlier < later; ++earlier) {
            const Mistake& first = mistakes()[earlier];
            const Mistake& second = mistakes()[later];
            if (first.group == second.group) continue;
            Request request;
            second.make(request);
            first.make(request);
            EXPECT_EQ(call(request).error, first.message) << "also: " << second.message;
        }
}

TEST_F(FieldRequestTest, refusesAComplexTransformOfAWrongCountAndClassForBeingComplex) {
    Request request;
    host::Array* transform = substitute::arrayOf("single", {1, 2});
    transform->complex = true;
    request.transform(transform).sizes({2, 3});
    EXPECT_EQ(call(request).error, "Input must be real, full, and nonstring");
}

TEST_F(FieldRequestTest, asksTheTransformWhetherItIsComplexThenSparseThenText) {
    call(Request());
    std::vector<std::string> queries = theHost().textsOf(EventKind::query);
    queries.resize(3);
    EXPECT_EQ(queries, (std::vector<std::string>{"isComplex", "isClass sparse", "isChar"}));
}

TEST_F(FieldRequestTest, refusesSparseAndTextTransforms) {
    for (const host::Array* transform :
         {substitute::sparseOf("double", {4, 4}), substitute::sparseOf("logical", {4, 4}),
          substitute::text("sixteen letters!"), substitute::text("")}) {
        Request request;
        EXPECT_EQ(call(request.transform(transform)).error,
                  "Input must be real, full, and nonstring");
    }
}

TEST_F(FieldRequestTest, takesFiveToSevenArguments) {
    for (std::size_t count = 0; count <= 9; ++count) {
        Request request;
        request.abscissas(4).more(substitute::number(1)).more(substitute::number(1));
        // An unusable mode: whatever is complained about, it is not the count.
        request.mode("none").onlyFirst(count);
        if (count == 5) request.sizes({0, 1, 1});
        const Outcome outcome = call(request);
        EXPECT_EQ(outcome.error == usage, count < 5 || count > 7) << count;
    }
}

TEST_F(FieldRequestTest, takesSevenArgumentsAlthoughTheMessageSaysFiveOrSix) {
    EXPECT_EQ(call(Request().abscissas(10)).ending, Ending::answered);
}

TEST_F(FieldRequestTest, needsExactlyOneOutput) {
    for (const int outputs : {0, 2, 3}) {
        Request request;
        request.outputs = outputs;
        EXPECT_EQ(call(request).error, "Must have one output arguments") << outputs;
    }
}

TEST_F(FieldRequestTest, takesTheSizesInAnyShapeOfThreeElements) {
    const std::vector<std::complex<double>> expected = call(Request()).values();
    for (const substitute::Dimensions& shape :
         std::vector<substitute::Dimensions>{{3, 1}, {1, 3}, {1, 1, 3}, {1, 3, 1}}) {
        Request request;
        EXPECT_EQ(call(request.sizes(substitute::doubles({2, 3, 2}, shape))).values(), expected);
    }
}

TEST_F(FieldRequestTest, takesTheTransformInAnyShapeOfSixteenElements) {
    const std::vector<std::complex<double>> expected = call(Request()).values();
    for (const substitute::Dimensions& shape :
         std::vector<substitute::Dimensions>{{1, 16}, {16, 1}, {2, 8}, {2, 2, 4}, {2, 2, 2, 2}}) {
        Request request;
        host::Array reshaped = *request.arguments[0];
        reshaped.dimensions = shape;
        EXPECT_EQ(call(request.transform(&reshaped)).values(), expected);
    }
}

TEST_F(FieldRequestTest, refusesOtherCountsOfSizesAndTransformValues) {
    for (const std::size_t count : {0U, 1U, 2U, 4U, 6U})
        EXPECT_EQ(call(Request().sizes(substitute::arrayOf("double", {1, count}))).error,
                  "Size information (argument 2) must be three dimensional.");
    for (const std::size_t count : {0U, 1U, 15U, 17U, 32U})
        EXPECT_EQ(call(Request().transform(substitute::arrayOf("double", {1, count}))).error,
                  "Size information (argument 1) must contain sixteen values.");
}

TEST_F(FieldRequestTest, printsTheParametersOnTheConsoleBeforeTheSizesAreRefused) {
    call(Request().piston(1.5, 2.25, 1e3).sizes({2, 3}));
    EXPECT_EQ(eventsOf({EventKind::print, EventKind::creation, EventKind::raise}),
              (std::vector<Event>{
                  {EventKind::print, "l=1.500000, s=2.250000, k=1000.000000\n"},
                  {EventKind::raise, "Size information (argument 2) must be three dimensional."}}));
}

TEST_F(FieldRequestTest, printsTheParametersBeforeAnEmptyGridIsRefused) {
    call(Request().sizes({0, 5, 5}));
    EXPECT_EQ(eventsOf({EventKind::print, EventKind::creation, EventKind::raise}),
              (std::vector<Event>{
                  {EventKind::print, "l=3.000000, s=2.000000, k=2.500000\n"},
                  {EventKind::creation, "0x5x5"},
                  {EventKind::raise, "The given grid must have at least one data point"}}));
}

TEST_F(FieldRequestTest, printsNothingWhenTheCountsOrTheTransformOrTheTableAreRefused) {
    for (const auto make :
         {giveEightArguments, askForTwoOutputs, giveComplexTransform, giveAbscissaVector}) {
        Request request;
        make(request);
        call(request);
        EXPECT_EQ(theHost().console(), "");
        EXPECT_TRUE(theHost().textsOf(EventKind::standardOutput).empty());
    }
}

TEST_F(FieldRequestTest, printsTheCountOfATableBeforeTheParameters) {
    call(Request().abscissas(substitute::arrayOf("double", {5, 2})).sizes({2, 3}));
    EXPECT_EQ(eventsOf({EventKind::print, EventKind::standardOutput}),
              (std::vector<Event>{{EventKind::standardOutput, "using 5 abscissas.\n"},
                                  {EventKind::print, "l=3.000000, s=2.000000, k=2.500000\n"}}));
}

TEST_F(FieldRequestTest, createsTheResultBeforeTheModeIsRefused) {
    for (const auto make : {giveNumericMode, giveUnknownMode}) {
        Request request;
        make(request);
        const Outcome outcome = call(request);
        EXPECT_EQ(theHost().textsOf(EventKind::creation), std::vector<std::string>{"2x3x2"});
        ASSERT_NE(outcome.output, nullptr);
    }
}

TEST_F(FieldRequestTest, createsTheResultTwiceForAnAnswer) {
    const Outcome outcome = call(Request());
    EXPECT_EQ(eventsOf({EventKind::print, EventKind::standardOutput, EventKind::creation}),
              (std::vector<Event>{{EventKind::print, "l=3.000000, s=2.000000, k=2.500000\n"},
                                  {EventKind::creation, "2x3x2"},
                                  {EventKind::creation, "2x3x2"},
                                  {EventKind::standardOutput, "5\n"},
                                  {EventKind::print, "double precision\n"}}));
    expectNothingLeft(outcome);
}

TEST_F(FieldRequestTest, printsExtremeParametersInFull) {
    call(Request().piston(-1e308, 1e308, 0).sizes({0, 1, 1}));
    const std::string line = theHost().console();
    EXPECT_THAT(line, testing::StartsWith("l=-1000000000000000010979"));
    EXPECT_THAT(line, testing::EndsWith(".000000, k=0.000000\n"));
    EXPECT_EQ(line.size(), 641U + std::string("k=0.000000\n").size());
}

TEST_F(FieldRequestTest, keepsTheConsoleApartFromTheStandardStreams) {
    testing::internal::CaptureStdout();
    Request request;
    request.mode("cpusp").abscissas(substitute::arrayOf("double", {5, 2}));
    const Outcome outcome = call(request);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(outcome.standardError, "");
    EXPECT_EQ(theHost().textsOf(EventKind::standardOutput),
              (std::vector<std::string>{"using 5 abscissas.\n", "5\n"}));
    EXPECT_EQ(theHost().textsOf(EventKind::print),
              (std::vector<std::string>{"l=3.000000, s=2.000000, k=2.500000\n",
                                        "double precision forced to single precision\n"}));
}

TEST_F(FieldRequestTest, readsTheFirstElementOfLAndSAndKOfAnyNumericClass) {
    const std::vector<std::complex<double>> expected = call(Request().piston(3, 2, 1)).values();
    for (const char* name : {"double", "single", "int8", "uint8", "int16", "uint16", "int32",
                             "uint32", "int64", "uint64", "char"}) {
        Request request;
        request.at(2, substitute::arrayOf(name, {2, 2}, 3));
        request.at(3, substitute::arrayOf(name, {1, 1, 3}, 2));
        request.at(4, substitute::arrayOf("logical", {1, 1}));
        const Outcome outcome = call(request);
        ASSERT_EQ(outcome.ending, Ending::answered) << name;
        EXPECT_EQ(outcome.values(), expected) << name;
    }
}

TEST_F(FieldRequestTest, usesTheRealPartsOfComplexParametersSizesAndTables) {
    const std::vector<std::complex<double>> expected = call(Request().abscissas(4)).values();
    Request request;
    request.at(2, substitute::complexOf({3}, {1, 1}))
        .sizes(substitute::complexOf({2, 3, 2}, {1, 3}));
    request.abscissas(substitute::complexOf({4}, {1, 1}));
    EXPECT_EQ(call(request).values(), expected);
}

// The modes.

TEST_F(FieldRequestTest, knowsFiveModesByTheirExactNames) {
    EXPECT_EQ(findMode("cuda"), Mode::cuda);
    EXPECT_EQ(findMode("cudadp"), Mode::cudadp);
    EXPECT_EQ(findMode("cpu"), Mode::cpu);
    EXPECT_EQ(findMode("cpusp"), Mode::cpusp);
    EXPECT_EQ(findMode("cpudp"), Mode::cpu);
}

TEST_F(FieldRequestTest, knowsNoOtherMode) {
    for (const char* name :
         {"", "CPU", "Cuda", "cpu ", " cpu", "cp", "cpuspx", "cudasp", "gpu", "info"})
        EXPECT_FALSE(findMode(name)) << name;
    EXPECT_FALSE(findMode(std::string("cpu\0sp", 6)));
}

TEST_F(FieldRequestTest, refusesOtherModesInACall) {
    for (const char* name : {"", "CPU", "cpu ", "cudasp"})
        EXPECT_EQ(call(Request().mode(name)).error, "Input 5 must either be 'cuda' or 'cpu[sp,dp]'")
            << name;
}

TEST_F(FieldRequestTest, readsAModeOfAnyShape) {
    host::Array* column = substitute::text("cpudp");
    column->dimensions = {5, 1};
    EXPECT_EQ(call(Request().mode(column)).ending, Ending::answered);
}

TEST_F(FieldRequestTest, computesOnTheGpuInSinglePrecisionWithoutAMode) {
    EXPECT_EQ(readMode(Request().onlyFirst(5).arguments), Mode::cuda);
    EXPECT_TRUE(theHost().events.empty());
}

}  // namespace
