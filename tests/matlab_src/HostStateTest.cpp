// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// A call leaves the host's process as it found it, however it ends and however that process is set.
#ifdef __x86_64__
#include <immintrin.h>
#else
#include <fpu_control.h>
#endif

#include <algorithm>
#include <cfenv>
#include <locale>
#include <string>

#include "cuda_runtime/emulated/Emulator.h"
#include "tests/matlab_src/GatewayTest.h"
#include "tests/support/ProcessState.h"

using cuda_runtime::cudaErrorMemoryAllocation;
using cuda_runtime::cudaSuccess;
using cuda_runtime::emulated::emulator;
using cuda_runtime::emulated::RuntimeCall;
using substitute::EventKind;
using substitute::theHost;

namespace {

const std::vector<std::string> modes{"cuda", "cudadp", "cpu", "cpusp", "cpudp"};

/// A host that marks decimals with a comma and thousands with a point.
class DecimalComma : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

/// Has denormal numbers taken and left as zeros.
void flushDenormals() {
#ifdef __x86_64__
    constexpr unsigned denormalsAreZero = 0x40;
    _mm_setcsr(_mm_getcsr() | _MM_FLUSH_ZERO_ON | denormalsAreZero);
#else
    constexpr fpu_control_t flushToZero = 1U << 24U;
    fpu_control_t control = 0;
    _FPU_GETCW(control);
    control |= flushToZero;
    _FPU_SETCW(control);
#endif
}

/// Sets the floating-point units for the length of a scope: the rounding, and whether denormal
/// numbers are taken and left as zeros.
class FloatingPoint {
  public:
    FloatingPoint(int rounding, bool flushes) {
        std::fegetenv(&before);
        std::fesetround(rounding);
        if (flushes) flushDenormals();
    }
    FloatingPoint(const FloatingPoint&) = delete;
    FloatingPoint& operator=(const FloatingPoint&) = delete;
    ~FloatingPoint() { std::fesetenv(&before); }

  private:
    std::fenv_t before{};
};

class HostStateTest : public GatewayTest {
  protected:
    Outcome callThatLeavesTheState(const Request& request) {
        const auto before = processState();
        Outcome outcome = call(request);
        EXPECT_THAT(processState(), testing::ContainerEq(before));
        return outcome;
    }

    static std::vector<Request> refusedRequests() {
        return {Request().onlyFirst(0),
                Request().sizes({1, 1}),
                Request().sizes({0, 1, 1}),
                Request().mode("none"),
                Request().transform(substitute::text("0123456789abcdef")),
                Request().abscissas(substitute::doubles({}, {0, 0})),
                Request().mode("cuda").abscissas(513),
                Request().mode("cudadp").abscissas(-1)};
    }

    /// The largest distance of two fields over the largest magnitude.
    static double distance(const Outcome& one, const Outcome& other) {
        const auto values = one.values();
        const auto others = other.values();
        double largest = 0;
        double apart = 0;
        for (std::size_t i = 0; i < values.size(); ++i) {
            largest = std::max(largest, std::abs(others[i]));
            apart = std::max(apart, std::abs(values[i] - others[i]));
        }
        return apart / largest;
    }
};

TEST_F(HostStateTest, isLeftByAnAnsweredCallInEveryMode) {
    for (const std::string& mode : modes)
        EXPECT_EQ(callThatLeavesTheState(Request().mode(mode)).ending, Ending::answered) << mode;
}

TEST_F(HostStateTest, isLeftByARefusedCall) {
    for (const Request& request : refusedRequests())
        EXPECT_EQ(callThatLeavesTheState(request).ending, Ending::refused);
}

TEST_F(HostStateTest, isLeftByACallWithoutMemoryForItsResult) {
    EXPECT_EQ(callThatLeavesTheState(Request().sizes({1e6, 1e6, 1})).ending, Ending::outOfMemory);
}

TEST_F(HostStateTest, isLeftByACallInWhichAnyRuntimeCallFails) {
    for (const std::string& mode : modes) {
        call(Request().mode(mode));
        const std::size_t calls = theHost().textsOf(EventKind::runtime).size();
        for (std::size_t failing = 1; failing <= calls; ++failing) {
            emulator().setInterceptor(
                [failing, count = std::size_t{0}](const RuntimeCall&) mutable {
                    return ++count == failing ? cudaErrorMemoryAllocation : cudaSuccess;
                });
            callThatLeavesTheState(Request().mode(mode));
            SetUp();
        }
    }
}

TEST_F(HostStateTest, isLeftByACallInWhichAnyOperationOfTheHostFails) {
    call(Request());
    const int operations = theHost().operations;
    for (int failing = 1; failing <= operations; ++failing) {
        theHost().interceptor = [failing](const char*, int number) {
            if (number == failing) throw 7;  // NOLINT: hosts throw types of their own
        };
        EXPECT_EQ(callThatLeavesTheState(Request()).ending, Ending::foreignException);
    }
}

// Sine and cosine take an angle's nearest quadrant by rounding. Rounded otherwise, the rest is up
// to pi/2 where the polynomials are made for pi/4, and as inexact as the first term that the sine's
// lacks: of the 15th degree in double, of the 9th in single.
TEST_F(HostStateTest, ofAnyRoundingIsLeftAndCostsTheFieldDigitsOnly) {
    for (const std::string& mode : modes) {
        const Outcome usual = call(Request().mode(mode));
        const bool isDouble = mode == "cpu" || mode == "cpudp";
        const double tolerance = isDouble ? 6.7e-10 : 1.6e-4;
        for (const int rounding : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
            const FloatingPoint set(rounding, false);
            EXPECT_LT(distance(callThatLeavesTheState(Request().mode(mode)), usual), tolerance);
            for (const Request& request : refusedRequests()) callThatLeavesTheState(request);
        }
    }
}

TEST_F(HostStateTest, withoutDenormalNumbersIsLeftAndChangesNoField) {
    for (const std::string& mode : modes) {
        const Outcome usual = call(Request().mode(mode));
        const FloatingPoint set(FE_TONEAREST, true);
        EXPECT_EQ(callThatLeavesTheState(Request().mode(mode)).values(), usual.values());
    }
}

TEST_F(HostStateTest, ofADecimalCommaIsLeftAndChangesNeitherTheFieldNorTheConsole) {
    for (const std::string& mode : modes) {
        const Outcome usual = call(Request().mode(mode));
        const std::string console = theHost().console();
        const std::locale before =
            std::locale::global(std::locale(std::locale::classic(), new DecimalComma));
        const Outcome outcome = callThatLeavesTheState(Request().mode(mode));
        std::locale::global(before);
        EXPECT_EQ(outcome.values(), usual.values());
        EXPECT_EQ(theHost().console(), console);
    }
}

}  // namespace
