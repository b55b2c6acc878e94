// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The module of the functions in inst/ for MATLAB, loaded and called as MATLAB does it.
#include <gmock/gmock.h>

#include <complex>
#include <optional>

#include "tests/matlab_host/Matlab.h"
#include "tests/matlab_src/SurfaceIntegral.h"

namespace {

constexpr const char* modulePath = PISTONFIELD_MATLAB_INTERNAL_MODULE;

class InternalModuleTest : public testing::TestWithParam<LeaveBy> {
  protected:
    void SetUp() override {
        matlab().leaveBy = GetParam();
        matlab().failingCreation = nullptr;
        matlab().hasTexts = true;
        module.emplace(modulePath);
    }

    /// Asks for the pressures of a box of the points (0.25*ix, 0.5*iy, 1 + iz).
    static std::vector<const mxArray*> request(const std::vector<double>& first,
                                               const std::vector<double>& count,
                                               const char* mode = "cpu") {
        return {matlab().text("field"),
                matlab().doubles({0.25, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, 1, 1, 0, 0, 0, 1}, {4, 4}),
                matlab().doubles({4, 3, 2}, {1, 3}),
                matlab().doubles({2}, {1, 1}),
                matlab().doubles({3}, {1, 1}),
                matlab().doubles({2.5}, {1, 1}),
                matlab().text(mode),
                matlab().doubles({40}, {1, 1}),
                matlab().doubles(first, {1, first.size()}),
                matlab().doubles(count, {1, count.size()}),
                matlab().doubles({2}, {1, 1})};
    }

    Matlab::Answer call(const std::vector<const mxArray*>& arguments) {
        return matlab().call(*module, 1, arguments);
    }

    std::optional<LoadedModule> module;
};

INSTANTIATE_TEST_SUITE_P(Leaving, InternalModuleTest,
                         testing::Values(LeaveBy::longjmp, LeaveBy::exception),
                         [](const auto& info) {
                             return info.param == LeaveBy::longjmp ? "byLongjmp" : "byException";
                         });

TEST_P(InternalModuleTest, answersWithTheFieldInABoxAndPrintsNothing) {
    for (const char* mode : {"cpu", "cpudp", "cpusp", "cuda", "cudadp"}) {
        const double accuracy =
            std::string(mode).starts_with("cpu") && mode[3] != 's' ? 1e-11 : 3e-6;
        const Matlab::Answer answer = call(request({1, 1, 0}, {3, 2, 1}, mode));
        ASSERT_FALSE(answer.raised) << answer.error;
        EXPECT_EQ(answer.output->dimensions, (std::vector<std::size_t>{3, 2}));
        EXPECT_TRUE(answer.output->isComplex);
        std::size_t i = 0;
        for (int iy = 1; iy < 3; ++iy)
            for (int ix = 1; ix < 4; ++ix, ++i) {
                const std::complex<double> value(answer.output->real.at(i),
                                                 answer.output->imaginary.at(i));
                EXPECT_LT(std::abs(value - surfaceIntegral({3, 2}, 2.5, 0.25 * ix, 0.5 * iy, 1)),
                          accuracy)
                    << mode;
            }
        EXPECT_TRUE(matlab().console.empty());
    }
}

TEST_P(InternalModuleTest, answersWithLimits) {
    const Matlab::Answer answer = call({matlab().text("largest_order"), matlab().text("cuda")});
    ASSERT_FALSE(answer.raised) << answer.error;
    EXPECT_FALSE(answer.output->isComplex);
    EXPECT_EQ(answer.output->real, std::vector<double>{512});
    EXPECT_THAT(matlab().creations, testing::ElementsAre("1x1 class 6 complexity 0"));
}

TEST_P(InternalModuleTest, answersWithTheFieldAndTheAccuracyOfATolerance) {
    std::vector<const mxArray*> field = request({1, 1, 0}, {1, 1, 1});
    field[0] = matlab().text("field_within");
    field[7] = matlab().doubles({1e-6}, {1, 1});
    field.insert(field.begin() + 8, matlab().text("local"));
    std::vector<const mxArray*> accuracy = field;
    accuracy[0] = matlab().text("accuracy");
    accuracy.erase(accuracy.begin() + 9, accuracy.begin() + 11);

    const Matlab::Answer value = call(field);
    ASSERT_FALSE(value.raised) << value.error;
    EXPECT_LT(
        std::abs(std::complex<double>(value.output->real.at(0), value.output->imaginary.at(0)) -
                 surfaceIntegral({3, 2}, 2.5, 0.25, 0.5, 1)),
        1e-6);
    const Matlab::Answer row = call(accuracy);
    ASSERT_FALSE(row.raised) << row.error;
    EXPECT_FALSE(row.output->isComplex);
    EXPECT_EQ(row.output->dimensions, (std::vector<std::size_t>{1, 3}));
    EXPECT_LE(row.output->real.at(1), row.output->real.at(0));
    EXPECT_LE(row.output->real.at(0), 1e-6);
}

/// A pulse on a plane of so many points, whose progress a function is told.
std::vector<const mxArray*> pulse(double side, const mxArray* function) {
    const auto none = [] { return matlab().doubles({}, {0, 0}); };
    const auto number = [](double value) { return matlab().doubles({value}, {1, 1}); };
    const double step = 8 / side;
    return {matlab().text("pulse"),
            matlab().text("lattice"),
            matlab().doubles({step, 0, 0, 0, 0, step, 0, 0, 0, 0, 1, 4, 0, 0, 0, 1}, {4, 4}),
            matlab().doubles({side, side, 1}, {1, 3}),
            none(),
            matlab().text("disc"),
            number(5),
            none(),
            none(),
            none(),
            none(),
            none(),
            number(1),
            matlab().text("cpu"),
            number(1e-6),
            matlab().doubles({0, 1, 0, -1, 0.5, 0, 0.2, 0}, {8, 1}),
            none(),
            number(4),
            matlab().doubles({1.5, 0, 1}, {3, 1}),
            none(),
            number(1),
            function};
}

TEST_P(InternalModuleTest, endsAPulseWhereTheFunctionThatIsToldFails) {
    int calls = 0;
    matlab().function = [&calls](double done) {
        EXPECT_GT(done, 0);
        return ++calls < 2;
    };
    mxArray* const function = matlab().doubles({0}, {1, 1});
    function->className = "function_handle";
    const Matlab::Answer answer = call(pulse(450, function));
    EXPECT_TRUE(answer.raised);
    EXPECT_EQ(answer.identifier, "pistonfield:pistonfield_internal:stopped");
    EXPECT_EQ(calls, 2);
}

TEST_P(InternalModuleTest, raisesErrorsWithAnIdentifier) {
    const Matlab::Answer answer = call(request({1, 1, 0}, {3, 2, 1}, "gpu"));
    EXPECT_TRUE(answer.raised);
    EXPECT_EQ(answer.identifier, "pistonfield:pistonfield_internal:mode");
    EXPECT_EQ(answer.error, "mode: 'gpu' is none of cpu, cpudp, cpusp, cuda, cudadp");
    EXPECT_FALSE(call(request({1, 1, 0}, {3, 2, 1})).raised);
}

TEST_P(InternalModuleTest, reportsExhaustedMemory) {
    matlab().failingCreation = [] { return nullptr; };
    const Matlab::Answer answer = call(request({1, 1, 0}, {3, 2, 1}));
    matlab().failingCreation = nullptr;
    EXPECT_TRUE(answer.raised);
    EXPECT_EQ(answer.error, "Out of memory.");
    EXPECT_EQ(answer.identifier, "");
}

TEST(InternalModuleLoading, unloadsAfterAnswersAndRefusals) {
    matlab().leaveBy = LeaveBy::longjmp;
    for (int i = 0; i < 3; ++i) {
        const LoadedModule module(modulePath);
        EXPECT_FALSE(matlab().call(module, 1, {matlab().text("most_threads")}).raised);
        EXPECT_TRUE(matlab().call(module, 1, {}).raised);
    }
    EXPECT_FALSE(LoadedModule::isLoaded(modulePath));
}

}  // namespace
