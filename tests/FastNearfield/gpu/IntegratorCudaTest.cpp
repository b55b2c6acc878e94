// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/IntegratorCuda.h"
#include "lanes/InstructionSet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <vector>

#include "FastNearfield/PistonModules.h"
#include "cuda_runtime/emulated/Emulator.h"
#include "tests/FastNearfield/gpu/Transcript.h"
#include "tests/support/Captured.h"

namespace {

using namespace cuda_runtime;
using emulated::emulator;
using emulated::Operation;
using testing::ElementsAre;

constexpr const char* stem = "RectangularPiston";

/// The rule in one precision's constants.
template <class Real>
struct Rule {
    std::array<Real, 256> x;
    std::array<Real, 256> w;
    int N;

    bool operator==(const Rule&) const = default;
};

template <class Real, class Module>
Rule<Real> ruleOf(const Module& module) {
    Rule<Real> rule{};
    const auto& [x, w, N] = module.constants;
    std::copy_n(static_cast<const Real*>(x.symbol), 256, rule.x.begin());
    std::copy_n(static_cast<const Real*>(w.symbol), 256, rule.w.begin());
    rule.N = *static_cast<const int*>(N.symbol);
    return rule;
}

Rule<float> singleRule() { return ruleOf<float>(singlePistonModule()); }
Rule<double> doubleRule() { return ruleOf<double>(doublePistonModule()); }

/// The module of double-precision kernels is not there for the length of a scope.
class WithoutDoubleModule {
  public:
    WithoutDoubleModule() {
        forEachInstructionSet(
            [](const auto& constants) { emulator().unregisterModule({}, constants); });
    }
    WithoutDoubleModule(const WithoutDoubleModule&) = delete;
    WithoutDoubleModule& operator=(const WithoutDoubleModule&) = delete;
    ~WithoutDoubleModule() {
        forEachInstructionSet(
            [](const auto& constants) { emulator().registerModule({}, constants); });
    }

  private:
    /// The module was compiled for every set, and each copy has constants of its own.
    template <class Work>
    static void forEachInstructionSet(Work work) {
        const lanes::InstructionSet inUse = lanes::instructionSet();
        for (const auto set : lanes::instructionSets)
            if (set <= lanes::bestInstructionSet()) {
                lanes::useInstructionSet(set);
                work(doublePistonModule().constants);
            }
        lanes::useInstructionSet(inUse);
    }
};

/// The transcript without runtime calls.
Transcript withoutCalls(Transcript transcript) {
    transcript.erase(
        std::remove_if(transcript.begin(), transcript.end(),
                       [](const std::string& event) { return event.compare(0, 4, "cuda") == 0; }),
        transcript.end());
    return transcript;
}

std::string pending(const std::string& label, const std::string& text) {
    return "err: Cuda error: " + label +
           " in file 'FastNearfield/IntegratorCuda' in line # : " + text + ".";
}

std::string report(const std::string& text) {
    return "report: " + text + " (FastNearfield/IntegratorCuda)";
}

class Upload : public testing::Test {
  public:
    Upload() { static_cast<void>(cudaGetLastError()); }
    Upload(const Upload&) = delete;
    Upload& operator=(const Upload&) = delete;
    ~Upload() override {
        static_cast<void>(cudaThreadExit());
        static_cast<void>(cudaGetLastError());
    }

  protected:
    static Transcript ofOrder(int order, AfterFailure after = AfterFailure::throws,
                              std::optional<PlannedFailure> plan = std::nullopt) {
        return transcriptOf([order] { setCudaIntegratorParameters(stem, order); }, after, plan);
    }
};

TEST_F(Upload, PrintsChecksAndCopiesInOrder) {
    EXPECT_THAT(ofOrder(8),
                ElementsAre("cudaGetLastError()", "out: setting order 8elements: 4",
                            // in double precision
                            "out: set weights double", "cudaGetLastError()", "out: -0.96029",
                            "cudaMemcpyToSymbol(global_dpRectangularPiston_double_x, 32)",
                            "cudaMemcpyToSymbol(global_dpRectangularPiston_double_w, 32)",
                            "cudaMemcpyToSymbol(global_dpRectangularPiston_double_N, 4)",
                            "cudaGetLastError()",
                            // in single precision
                            "out: set weights float", "cudaGetLastError()", "out: -0.96029",
                            "out: symbol: \"global_RectangularPiston_float_x\"",
                            "cudaMemcpyToSymbol(global_RectangularPiston_float_x, 16)",
                            "cudaMemcpyToSymbol(global_RectangularPiston_float_w, 16)",
                            "cudaMemcpyToSymbol(global_RectangularPiston_float_N, 4)",
                            "cudaGetLastError()",  //
                            "cudaGetLastError()"));
}

TEST_F(Upload, StoresHalfARuleOfEvenOrder) {
    static_cast<void>(ofOrder(4));
    const Rule<double> rule = doubleRule();
    EXPECT_EQ(rule.N, 4);
    // Abramowitz and Stegun, Handbook of Mathematical Functions (1964), table 25.4
    EXPECT_NEAR(rule.x[0], -0.861136311594053, 1e-15);
    EXPECT_NEAR(rule.x[1], -0.339981043584856, 1e-15);
    EXPECT_NEAR(rule.w[0], 0.347854845137454, 1e-15);
    EXPECT_NEAR(rule.w[1], 0.652145154862546, 1e-15);
    EXPECT_EQ(rule.x[2], 0);
    EXPECT_EQ(rule.w[2], 0);
}

TEST_F(Upload, StoresTheMiddleOfARuleOfOddOrder) {
    static_cast<void>(ofOrder(3));
    const Rule<double> rule = doubleRule();
    EXPECT_EQ(rule.N, 3);
    EXPECT_NEAR(rule.x[0], -std::sqrt(0.6), 1e-15);
    EXPECT_EQ(rule.x[1], 0);
    EXPECT_NEAR(rule.w[0], 5.0 / 9, 1e-15);
    EXPECT_NEAR(rule.w[1], 8.0 / 9, 1e-15);
    EXPECT_EQ(rule.w[2], 0);
}

TEST_F(Upload, RoundsTheDoubleRuleForTheSingleKernels) {
    static_cast<void>(ofOrder(77));
    const Rule<double> exact = doubleRule();
    const Rule<float> rounded = singleRule();
    EXPECT_EQ(rounded.N, 77);
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(rounded.x[i], static_cast<float>(exact.x[i]));
        EXPECT_EQ(rounded.w[i], static_cast<float>(exact.w[i]));
    }
    EXPECT_NE(rounded.w[38], 0);
    EXPECT_EQ(rounded.w[39], 0);
}

TEST_F(Upload, OfOrderOneIsOneElement) {
    EXPECT_THAT(ofOrder(1), testing::Contains("out: setting order 1elements: 1"));
    for (const double x : {doubleRule().x[0], double{singleRule().x[0]}}) EXPECT_EQ(x, 0);
    for (const double w : {doubleRule().w[0], double{singleRule().w[0]}}) EXPECT_EQ(w, 2);
    EXPECT_EQ(doubleRule().N, 1);
    EXPECT_EQ(singleRule().N, 1);
}

TEST_F(Upload, OfOrder512FillsTheConstants) {
    const Transcript transcript = ofOrder(512);
    EXPECT_THAT(transcript, testing::IsSupersetOf(
                                {"out: setting order 512elements: 256",
                                 "cudaMemcpyToSymbol(global_dpRectangularPiston_double_x, 2048)",
                                 "cudaMemcpyToSymbol(global_dpRectangularPiston_double_w, 2048)",
                                 "cudaMemcpyToSymbol(global_RectangularPiston_float_x, 1024)",
                                 "cudaMemcpyToSymbol(global_RectangularPiston_float_w, 1024)"}));
    EXPECT_THAT(withoutCalls(transcript), testing::SizeIs(6));  // no failure
    const Rule<double> rule = doubleRule();
    EXPECT_EQ(rule.N, 512);
    EXPECT_TRUE(std::is_sorted(rule.x.begin(), rule.x.end(), std::less_equal<>()));
    EXPECT_LT(rule.x[255], 0);
    EXPECT_GT(rule.x[255], -0.0031);  // the middle ones are about pi/512 apart
    // The other half has the same weights, and all together make the interval's length 2.
    EXPECT_NEAR(std::accumulate(rule.w.begin(), rule.w.end(), 0.0), 1, 1e-12);
    EXPECT_GT(*std::min_element(rule.w.begin(), rule.w.end()), 0);
}

TEST_F(Upload, KeepsTheElementsBeyondTheRule) {
    static_cast<void>(ofOrder(9));
    const Rule<double> longer = doubleRule();
    static_cast<void>(ofOrder(4));
    const Rule<double> rule = doubleRule();
    EXPECT_NE(rule.x[0], longer.x[0]);
    EXPECT_TRUE(std::equal(rule.x.begin() + 2, rule.x.end(), longer.x.begin() + 2));
    EXPECT_TRUE(std::equal(rule.w.begin() + 2, rule.w.end(), longer.w.begin() + 2));
    EXPECT_NE(rule.x[2], 0);
}

TEST_F(Upload, TakesAGivenRuleAsItIs) {
    const std::array<float, 3> xf{0.5F, -7, 11};
    const std::array<float, 3> wf{2, 3, 1.25F};
    const std::array<double, 3> x{0.1, -0.2, 0.3};
    const std::array<double, 3> w{1.1, 2.2, 3.3};
    EXPECT_THAT(transcriptOf([&] { setIntegratorWeightsSym(stem, xf.data(), wf.data(), 5); }),
                ElementsAre("out: set weights float", "cudaGetLastError()", "out: 0.5",
                            "out: symbol: \"global_RectangularPiston_float_x\"",
                            "cudaMemcpyToSymbol(global_RectangularPiston_float_x, 12)",
                            "cudaMemcpyToSymbol(global_RectangularPiston_float_w, 12)",
                            "cudaMemcpyToSymbol(global_RectangularPiston_float_N, 4)",
                            "cudaGetLastError()"));
    EXPECT_THAT(transcriptOf([&] { setIntegratorWeightsSym_d(stem, x.data(), w.data(), 6); }),
                ElementsAre("out: set weights double", "cudaGetLastError()", "out: 0.1",
                            "cudaMemcpyToSymbol(global_dpRectangularPiston_double_x, 24)",
                            "cudaMemcpyToSymbol(global_dpRectangularPiston_double_w, 24)",
                            "cudaMemcpyToSymbol(global_dpRectangularPiston_double_N, 4)",
                            "cudaGetLastError()"));
    EXPECT_TRUE(std::equal(xf.begin(), xf.end(), singleRule().x.begin()));
    EXPECT_TRUE(std::equal(wf.begin(), wf.end(), singleRule().w.begin()));
    EXPECT_EQ(singleRule().N, 5);
    EXPECT_TRUE(std::equal(x.begin(), x.end(), doubleRule().x.begin()));
    EXPECT_TRUE(std::equal(w.begin(), w.end(), doubleRule().w.begin()));
    EXPECT_EQ(doubleRule().N, 6);
}

TEST_F(Upload, OfAnOrderBelowOneIsRefused) {
    for (const int order : {0, -1, -2147483647 - 1})
        EXPECT_THAT(ofOrder(order), ElementsAre("cudaGetLastError()", report("order>0")));
}

TEST_F(Upload, OfOrder513IsRefusedOnceTheRuleIsComputed) {
    EXPECT_THAT(
        ofOrder(513),
        ElementsAre("cudaGetLastError()", "out: setting order 513elements: 257",
                    "out: set weights double", "cudaGetLastError()", report("N <= 512 && N>0")));
}

TEST_F(Upload, SinglePrecisionShowsTheFirstAbscissaOfARefusedOrder) {
    const float x = 0.25F;
    for (const int N : {513, 0, -3})
        EXPECT_THAT(transcriptOf([&] { setIntegratorWeightsSym(stem, &x, &x, N); }),
                    ElementsAre("out: set weights float", "cudaGetLastError()", "out: 0.25",
                                report("N <= 512 && N>0")));
}

TEST_F(Upload, DoublePrecisionDoesNot) {
    const double x = 0.25;
    for (const int N : {513, 0, -3})
        EXPECT_THAT(transcriptOf([&] { setIntegratorWeightsSym_d(stem, &x, &x, N); }),
                    ElementsAre("out: set weights double", "cudaGetLastError()",
                                report("N <= 512 && N>0")));
}

/// A handler that returns from the refusal does not let the copies write past the constants.
TEST_F(Upload, OfOrder513OverwritesNothing) {
    static_cast<void>(ofOrder(512));
    Rule<double> exact = doubleRule();
    Rule<float> rounded = singleRule();
    const std::string text = "invalid argument";
    const std::string refusedW =
        report("Cuda error when calling cudaMemcpyToSymbol( buf, data_w, datasize ): " + text);
    EXPECT_THAT(
        withoutCalls(ofOrder(513, AfterFailure::returns)),
        ElementsAre(
            "out: setting order 513elements: 257",
            // in double precision
            "out: set weights double", report("N <= 512 && N>0"), testing::StartsWith("out: -0.99"),
            report("Cuda error when calling err: " + text), refusedW,
            pending("end setIntegratorWeightsSym", text), report(text),
            // in single precision
            "out: set weights float", testing::StartsWith("out: -0.99"), report("N <= 512 && N>0"),
            "out: symbol: \"global_RectangularPiston_float_x\"",
            report("Cuda error when calling cudaMemcpyToSymbol( buf, data_x, datasize ): " + text),
            refusedW, pending("end setIntegratorWeightsSym", text), report(text)));
    exact.N = 513;
    rounded.N = 513;
    EXPECT_TRUE(doubleRule() == exact);
    EXPECT_TRUE(singleRule() == rounded);
}

/// Its size in bytes is not mistaken for a small one.
TEST_F(Upload, OfANegativeOrderOverwritesNothing) {
    static_cast<void>(ofOrder(512));
    Rule<float> rounded = singleRule();
    const float x = 0.25F;
    static_cast<void>(
        transcriptOf([&] { setIntegratorWeightsSym(stem, &x, &x, -3); }, AfterFailure::returns));
    rounded.N = -3;
    EXPECT_TRUE(singleRule() == rounded);
}

TEST_F(Upload, WithoutDoubleKernelsSaysSoAndGoesOnInSinglePrecision) {
    const WithoutDoubleModule none;
    const Rule<double> before = doubleRule();
    EXPECT_THAT(ofOrder(4),
                ElementsAre("cudaGetLastError()", "out: setting order 4elements: 2",
                            "out: set weights double", "cudaGetLastError()", "out: -0.861136",
                            "cudaMemcpyToSymbol(global_dpRectangularPiston_double_x, 16)",
                            "err: Support for double not found",
                            "cudaGetLastError()",  // clears the error; there is no end check
                            "out: set weights float", "cudaGetLastError()", "out: -0.861136",
                            "out: symbol: \"global_RectangularPiston_float_x\"",
                            "cudaMemcpyToSymbol(global_RectangularPiston_float_x, 8)",
                            "cudaMemcpyToSymbol(global_RectangularPiston_float_w, 8)",
                            "cudaMemcpyToSymbol(global_RectangularPiston_float_N, 4)",
                            "cudaGetLastError()", "cudaGetLastError()"));
    EXPECT_TRUE(doubleRule() == before);
    EXPECT_EQ(singleRule().N, 4);
    EXPECT_EQ(singleRule().x[0], -0.86113631F);
    EXPECT_EQ(cudaGetLastError(), cudaSuccess);
}

TEST_F(Upload, AnUnknownConstantIsOnlyUnderstoodAtTheDoubleAbscissas) {
    const std::string text = "invalid device symbol";
    const auto failing = [](int nth) {
        return withoutCalls(
            ofOrder(2, AfterFailure::throws,
                    PlannedFailure{nth, cudaErrorInvalidSymbol, Operation::MemcpyToSymbol}));
    };
    EXPECT_THAT(failing(1), testing::Contains("err: Support for double not found"));
    EXPECT_EQ(
        failing(2).back(),
        report("Cuda error when calling cudaMemcpyToSymbol( buf, data_w, datasize ): " + text));
    static_cast<void>(cudaGetLastError());
    EXPECT_EQ(
        failing(4).back(),
        report("Cuda error when calling cudaMemcpyToSymbol( buf, data_x, datasize ): " + text));
}

TEST_F(Upload, NamesTheConstantsAfterTheStem) {
    EXPECT_THAT(
        withoutCalls(transcriptOf([] { setCudaIntegratorParameters("Other", 2); })),
        ElementsAre("out: setting order 2elements: 1", "out: set weights double", "out: -0.57735",
                    "err: Support for double not found", "out: set weights float", "out: -0.57735",
                    "out: symbol: \"global_Other_float_x\"",
                    report("Cuda error when calling cudaMemcpyToSymbol( buf, data_x, datasize ): "
                           "invalid device symbol")));
}

TEST_F(Upload, ReportsAFailingCopyByItsText) {
    const std::array<const char*, 6> texts{"err",
                                           "cudaMemcpyToSymbol( buf, data_w, datasize )",
                                           "cudaMemcpyToSymbol( buf, (void*)&N, sizeof(int) )",
                                           "cudaMemcpyToSymbol( buf, data_x, datasize )",
                                           "cudaMemcpyToSymbol( buf, data_w, datasize )",
                                           "cudaMemcpyToSymbol( buf, (void*)&N, sizeof(int) )"};
    for (int nth = 1; nth <= 6; ++nth) {
        const PlannedFailure plan{nth, cudaErrorUnknown, Operation::MemcpyToSymbol};
        const std::string text = texts[static_cast<std::size_t>(nth - 1)];
        const std::string reported = report("Cuda error when calling " + text + ": unknown error");
        EXPECT_EQ(ofOrder(2, AfterFailure::throws, plan).back(), reported);
        EXPECT_EQ(cudaGetLastError(), cudaErrorUnknown);
        // Where the handler returns, the end check finds the error once more.
        Transcript failures = withoutCalls(ofOrder(2, AfterFailure::returns, plan));
        failures.erase(std::remove_if(failures.begin(), failures.end(),
                                      [](const std::string& event) { return event[0] == 'o'; }),
                       failures.end());
        EXPECT_THAT(failures,
                    ElementsAre(reported, pending("end setIntegratorWeightsSym", "unknown error"),
                                report("unknown error")));
        EXPECT_EQ(cudaGetLastError(), cudaSuccess);
    }
}

TEST_F(Upload, ReportsAPendingErrorWithTheCheckThatFindsIt) {
    const std::array<const char*, 6> labels{
        "start setCudaIntegratorParameters", "start setIntegratorWeightsSym",
        "end setIntegratorWeightsSym",       "start setIntegratorWeightsSym",
        "end setIntegratorWeightsSym",       "end setCudaIntegratorParameters"};
    for (int nth = 1; nth <= 6; ++nth) {
        const PlannedFailure plan{nth, cudaErrorLaunchFailure, Operation::GetLastError};
        const std::string text = "unspecified launch failure";
        const std::string label = labels[static_cast<std::size_t>(nth - 1)];
        const Transcript transcript = ofOrder(2, AfterFailure::throws, plan);
        EXPECT_THAT(std::vector<std::string>(transcript.end() - 2, transcript.end()),
                    ElementsAre(pending(label, text), report(text)));
        // Where the handler returns, the upload is the same but for the report.
        Transcript whole = ofOrder(2);
        const Transcript reported = ofOrder(2, AfterFailure::returns, plan);
        whole.insert(whole.begin() + static_cast<std::ptrdiff_t>(transcript.size() - 2),
                     {pending(label, text), report(text)});
        EXPECT_EQ(reported, whole);
    }
}

}  // namespace
