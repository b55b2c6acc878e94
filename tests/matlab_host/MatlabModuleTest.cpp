// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The module for MATLAB, loaded and called as MATLAB does it.
#include <gmock/gmock.h>

#include <complex>
#include <optional>

#include "tests/matlab_host/Matlab.h"
#include "tests/matlab_src/SurfaceIntegral.h"

namespace {

constexpr const char* modulePath = PISTONFIELD_MATLAB_MODULE;

class MatlabModuleTest : public testing::TestWithParam<LeaveBy> {
  protected:
    void SetUp() override {
        matlab().leaveBy = GetParam();
        matlab().failingCreation = nullptr;
        matlab().hasTexts = true;
        module.emplace(modulePath);
    }
    void TearDown() override {
        matlab().failingCreation = nullptr;
        matlab().hasTexts = true;
    }

    /// A request for the pressures at (0.25*ix, 0.5*iy, 1 + iz).
    static std::vector<const mxArray*> request(const std::vector<double>& sizes,
                                               const char* mode = "cpu") {
        return {matlab().doubles({0.25, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, 1, 1, 0, 0, 0, 1}, {4, 4}),
                matlab().doubles(sizes, {1, sizes.size()}),
                matlab().doubles({3}, {1, 1}),
                matlab().doubles({2}, {1, 1}),
                matlab().doubles({2.5}, {1, 1}),
                matlab().text(mode),
                matlab().doubles({40}, {1, 1})};
    }

    Matlab::Answer call(const std::vector<const mxArray*>& arguments, int outputs = 1) {
        return matlab().call(*module, outputs, arguments);
    }

    /// That the request is refused with this text, and a good one answered afterwards.
    void expectRefusal(const std::vector<const mxArray*>& arguments, const char* message,
                       int outputs = 1) {
        const Matlab::Answer answer = call(arguments, outputs);
        EXPECT_TRUE(answer.raised) << message;
        EXPECT_EQ(answer.error, message);
        EXPECT_FALSE(call(request({1, 1, 1})).raised);
    }

    std::optional<LoadedModule> module;
};

INSTANTIATE_TEST_SUITE_P(Leaving, MatlabModuleTest,
                         testing::Values(LeaveBy::longjmp, LeaveBy::exception),
                         [](const auto& info) {
                             return info.param == LeaveBy::longjmp ? "byLongjmp" : "byException";
                         });

TEST_P(MatlabModuleTest, answersWithTheFieldOfThePiston) {
    for (const char* mode : {"cpu", "cpudp", "cpusp"}) {
        const double accuracy = std::string(mode) == "cpusp" ? 3e-6 : 1e-11;
        const Matlab::Answer answer = call(request({4, 3, 2}, mode));
        ASSERT_FALSE(answer.raised) << answer.error;
        EXPECT_EQ(answer.output->dimensions, (std::vector<std::size_t>{4, 3, 2}));
        EXPECT_TRUE(answer.output->isComplex);
        std::size_t i = 0;
        for (int iz = 0; iz < 2; ++iz)
            for (int iy = 0; iy < 3; ++iy)
                for (int ix = 0; ix < 4; ++ix, ++i) {
                    const std::complex<double> value(answer.output->real.at(i),
                                                     answer.output->imaginary.at(i));
                    EXPECT_LT(
                        std::abs(value - surfaceIntegral({3, 2}, 2.5, 0.25 * ix, 0.5 * iy, 1 + iz)),
                        accuracy);
                }
    }
}

TEST_P(MatlabModuleTest, answersWithAMatrixWhenTheLastSizeIsOne) {
    const Matlab::Answer answer = call(request({4, 5, 1}));
    ASSERT_FALSE(answer.raised);
    EXPECT_EQ(answer.output->dimensions, (std::vector<std::size_t>{4, 5}));
}

TEST_P(MatlabModuleTest, createsTheResultTwiceAsComplexDoubleOfThreeDimensions) {
    call(request({4, 5, 1}));
    EXPECT_EQ(matlab().creations, (std::vector<std::string>{"4x5x1 class 6 complexity 1",
                                                            "4x5x1 class 6 complexity 1"}));
}

TEST_P(MatlabModuleTest, printsOnTheConsole) {
    call(request({1, 1, 1}));
    EXPECT_EQ(matlab().console, (std::vector<std::string>{"l=3.000000, s=2.000000, k=2.500000\n",
                                                          "double precision\n"}));
}

TEST_P(MatlabModuleTest, leavesTheTextsItReadToTheHost) {
    call(request({1, 1, 1}));
    EXPECT_EQ(matlab().textsKept, 1U);
}

TEST_P(MatlabModuleTest, refusesWhatItCannotUse) {
    const auto with = [&](std::size_t position, mxArray* array) {
        std::vector<const mxArray*> arguments = request({1, 1, 1});
        arguments[position] = array;
        return arguments;
    };
    const auto ofClass = [](const char* name, std::vector<std::size_t> dimensions,
                            std::size_t count) {
        mxArray* const array =
            matlab().doubles(std::vector<double>(count, 1), std::move(dimensions));
        array->className = name;
        return array;
    };
    expectRefusal({},
                  "Must have five or six input arguments: ([4x4 transform], [sx, sy, sz], l, s, k, "
                  "['cuda'|'cudadp'|'cpu'|'cpusp'|'cpudp'], [nabscissas])");
    expectRefusal(request({1, 1, 1}), "Must have one output arguments", 0);
    mxArray* const complex = ofClass("double", {4, 4}, 16);
    complex->isComplex = true;
    complex->imaginary = complex->real;
    expectRefusal(with(0, complex), "Input must be real, full, and nonstring");
    mxArray* const sparse = ofClass("double", {4, 4}, 1);
    sparse->isSparse = true;
    expectRefusal(with(0, sparse), "Input must be real, full, and nonstring");
    expectRefusal(with(0, matlab().text("sixteen letters!")),
                  "Input must be real, full, and nonstring");
    expectRefusal(with(6, ofClass("double", {3, 1}, 3)),
                  "abscissas must be a number or a 2D matrix containing abscissas and weights.");
    expectRefusal(with(6, ofClass("single", {3, 2}, 6)),
                  "abscissas and weights must be a full matrix of class double.");
    expectRefusal(with(6, ofClass("cell", {1, 1}, 1)),
                  "abscissas must be a number or a matrix of class double.");
    expectRefusal(with(2, ofClass("cell", {1, 1}, 1)), "l must be a number.");
    expectRefusal(with(3, ofClass("struct", {1, 1}, 1)), "s must be a number.");
    expectRefusal(with(4, ofClass("double", {0, 0}, 0)), "k must be a number.");
    expectRefusal(with(1, ofClass("double", {1, 2}, 2)),
                  "Size information (argument 2) must be three dimensional.");
    expectRefusal(with(0, ofClass("double", {3, 5}, 15)),
                  "Size information (argument 1) must contain sixteen values.");
    expectRefusal(with(1, ofClass("single", {1, 3}, 3)),
                  "Size information (argument 2) must be full and of class double.");
    expectRefusal(with(0, ofClass("single", {4, 4}, 16)),
                  "The transform (argument 1) must be full and of class double.");
    expectRefusal(request({0, 5, 5}), "The given grid must have at least one data point");
    expectRefusal(with(5, ofClass("double", {1, 1}, 1)),
                  "Input 5 must be a character string and either be 'cuda' or 'cpu'");
    expectRefusal(with(5, matlab().text("gpu")), "Input 5 must either be 'cuda' or 'cpu[sp,dp]'");
}

TEST_P(MatlabModuleTest, reportsExhaustedMemoryWhenTheHostCreatesNothing) {
    matlab().failingCreation = [] { return nullptr; };
    const Matlab::Answer answer = call(request({1, 1, 1}));
    EXPECT_TRUE(answer.raised);
    EXPECT_EQ(answer.error, "Out of memory.");
    EXPECT_EQ(matlab().creations.size(), 1U);
}

TEST_P(MatlabModuleTest, reportsExhaustedMemoryForSizesThatNoMemoryHas) {
    for (const std::vector<double>& sizes :
         {std::vector<double>{1e300, 1, 1},
          {4e9, 4e9, 4e9},
          {65537, 65537, 1e10},
          {65536, 65536, 1073741824}}) {  // a count that wraps around to 0
        const Matlab::Answer answer = call(request(sizes));
        EXPECT_TRUE(answer.raised);
        EXPECT_EQ(answer.error, "Out of memory.");
        EXPECT_TRUE(matlab().creations.empty());
    }
}

TEST_P(MatlabModuleTest, knowsNoModeOfWhichTheHostHasNoText) {
    matlab().hasTexts = false;
    const Matlab::Answer answer = call(request({1, 1, 1}));
    EXPECT_TRUE(answer.raised);
    EXPECT_EQ(answer.error, "Input 5 must either be 'cuda' or 'cpu[sp,dp]'");
}

TEST(MatlabModuleFailures, areReportedByTheirOwnTextsWhateverTheyAre) {
    matlab().leaveBy = LeaveBy::exception;
    const LoadedModule module(modulePath);
    try {
        module.entry()(0, nullptr, -1, nullptr);  // no list of arguments is that long
        FAIL() << "nothing was raised";
    } catch (const MatlabError& error) {
        EXPECT_THAT(error.message, testing::HasSubstr("vector"));
    }
}

TEST_P(MatlabModuleTest, letsTheHostsOwnExceptionsThrough) {
    matlab().failingCreation = []() -> mxArray* {
        throw MatlabError{"", "Requested array is too large."};
    };
    const Matlab::Answer answer = call(request({1, 1, 1}));
    EXPECT_TRUE(answer.raised);
    EXPECT_EQ(answer.error, "Requested array is too large.");
    matlab().failingCreation = nullptr;
    EXPECT_FALSE(call(request({1, 1, 1})).raised);
}

TEST_P(MatlabModuleTest, printsItsBuildInformationInFourLines) {
    const Matlab::Answer answer = call({matlab().text("info")}, 0);
    EXPECT_FALSE(answer.raised);
    EXPECT_EQ(answer.output, nullptr);
    EXPECT_THAT(
        matlab().console,
        testing::ElementsAre(testing::MatchesRegex("Compiled on [A-Z][a-z]{2} [ 0-9][0-9] [0-9]{4} "
                                                   "[0-9]{2}:[0-9]{2}:[0-9]{2}\n"),
                             testing::MatchesRegex("mercurial id:       .+\n"),
                             testing::MatchesRegex("mercurial datae:    .+\n"),
                             testing::MatchesRegex("mercurial revision: .+\n")));
}

TEST(MatlabModuleLoading, unloadsAndLoadsAgain) {
    ASSERT_FALSE(LoadedModule::isLoaded(modulePath));
    for (int i = 0; i < 3; ++i) {
        const LoadedModule module(modulePath);
        ASSERT_TRUE(LoadedModule::isLoaded(modulePath));
        matlab().call(module, 0, {matlab().text("info")});
        EXPECT_EQ(matlab().console.size(), 4U);
    }
    EXPECT_FALSE(LoadedModule::isLoaded(modulePath));
}

TEST_P(MatlabModuleTest, unloadsAfterAnswersAndRefusalsAndGivesTheSameFieldAgain) {
    const auto fieldAndRefusal = [&] {
        EXPECT_TRUE(call({}).raised);
        return call(request({2, 2, 2})).output->real;
    };
    const std::vector<double> first = fieldAndRefusal();
    for (int i = 0; i < 3; ++i) {
        module.reset();
        ASSERT_FALSE(LoadedModule::isLoaded(modulePath));
        module.emplace(modulePath);
        EXPECT_EQ(fieldAndRefusal(), first);
    }
}

}  // namespace
