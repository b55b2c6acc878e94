// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/sizes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

#include "matlab_src/FieldRequest.h"
#include "tests/matlab_src/GatewayTest.h"

using substitute::EventKind;
using substitute::theHost;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double twoTo31 = 2147483648.0;
constexpr double twoTo32 = 4294967296.0;
constexpr double twoTo53 = 9007199254740992.0;
constexpr double twoTo63 = 9223372036854775808.0;
constexpr std::size_t largestSigned = PTRDIFF_MAX;
constexpr const char* emptyGrid = "The given grid must have at least one data point";

TEST(SizeTruncation, toA32BitIntegerGoesTowardZero) {
    EXPECT_EQ(truncateToInt32(0.0), 0);
    EXPECT_EQ(truncateToInt32(1.5), 1);
    EXPECT_EQ(truncateToInt32(-1.5), -1);
    EXPECT_EQ(truncateToInt32(0.999), 0);
    EXPECT_EQ(truncateToInt32(-0.999), 0);
    EXPECT_EQ(truncateToInt32(twoTo31 - 1), INT32_MAX);
    EXPECT_EQ(truncateToInt32(twoTo31 - 0.5), INT32_MAX);
    EXPECT_EQ(truncateToInt32(-twoTo31), INT32_MIN);
    EXPECT_EQ(truncateToInt32(std::numeric_limits<double>::denorm_min()), 0);
}

TEST(SizeTruncation, toA32BitIntegerStopsAtTheEndsOfTheRange) {
    for (const double value : {twoTo31, twoTo32, twoTo53, 1e300, infinity}) {
        EXPECT_EQ(truncateToInt32(value), INT32_MAX) << value;
        EXPECT_EQ(truncateToInt32(-value), INT32_MIN) << value;
    }
}

TEST(SizeTruncation, ofWhatIsNoNumberIsZero) {
    EXPECT_EQ(truncateToInt32(notANumber), 0);
    EXPECT_EQ(truncateToInt32(-notANumber), 0);
    EXPECT_EQ(truncateToDimension(notANumber), 0U);
}

TEST(SizeTruncation, toADimensionGoesTowardZero) {
    EXPECT_EQ(truncateToDimension(0.0), 0U);
    EXPECT_EQ(truncateToDimension(0.999), 0U);
    EXPECT_EQ(truncateToDimension(1.5), 1U);
    EXPECT_EQ(truncateToDimension(2.7), 2U);
    EXPECT_EQ(truncateToDimension(twoTo31), std::size_t{1} << 31U);
    EXPECT_EQ(truncateToDimension(twoTo32), std::size_t{1} << 32U);
    EXPECT_EQ(truncateToDimension(twoTo53), std::size_t{1} << 53U);
}

TEST(SizeTruncation, toADimensionMakesNegativeValuesZero) {
    for (const double value : {-0.5, -1.0, -1.5, -twoTo31, -twoTo32, -twoTo63, -1e300, -infinity})
        EXPECT_EQ(truncateToDimension(value), 0U) << value;
}

TEST(SizeTruncation, toADimensionStopsAtTheLargestSignedSize) {
    for (const double value : {twoTo63, 2 * twoTo63, 1e300, infinity})
        EXPECT_EQ(truncateToDimension(value), largestSigned) << value;
    EXPECT_EQ(truncateToDimension(twoTo63 - 1024), largestSigned - 1023);
}

TEST(WrappedProduct, multipliesInThirtyTwoBits) {
    EXPECT_EQ(wrappedProduct(2, 3, 4), 24);
    EXPECT_EQ(wrappedProduct(-2, 3, 4), -24);
    EXPECT_EQ(wrappedProduct(0, INT32_MAX, INT32_MAX), 0);
    EXPECT_EQ(wrappedProduct(65536, 65536, 1), 0);
    EXPECT_EQ(wrappedProduct(65537, 65537, 1), 131073);
    EXPECT_EQ(wrappedProduct(65536, 32768, 1), INT32_MIN);
    EXPECT_EQ(wrappedProduct(INT32_MAX, 2, 1), -2);
    EXPECT_EQ(wrappedProduct(INT32_MAX, INT32_MAX, INT32_MAX), INT32_MAX);
    EXPECT_EQ(wrappedProduct(INT32_MIN, INT32_MIN, INT32_MIN), 0);
    EXPECT_EQ(wrappedProduct(INT32_MIN, -1, 1), INT32_MIN);
}

TEST(PointCount, isTheWrappedProductOfTheTruncatedSizes) {
    FieldRequest request;
    request.sizes = {2.7, 3.9, 4.0};
    EXPECT_EQ(request.pointCount(), 24);
    request.sizes = {65537, 65537, 1};
    EXPECT_EQ(request.pointCount(), 131073);
    request.sizes = {notANumber, 5, 5};
    EXPECT_EQ(request.pointCount(), 0);
    request.sizes = {-2, 3, 1.5};
    EXPECT_EQ(request.pointCount(), -6);
    request.sizes = {infinity, 1, 1};
    EXPECT_EQ(request.pointCount(), INT32_MAX);
}

class SizesTest : public GatewayTest {
  protected:
    /// A call in a host where every result can be made, those beyond reason without memory.
    Outcome callInAHostOfEndlessMemory(const std::vector<double>& sizes, const std::string& mode) {
        theHost().pretendsToCreate = true;
        return call(Request().sizes(sizes).mode(mode));
    }
};

/// A host that makes results of so many elements, and refuses larger ones or pretends to make them.
struct Capacity {
    std::size_t elements;
    bool pretends;
};

/// How a call ends.
struct Expected {
    Ending ending;
    std::string error;
    substitute::Dimensions dimensions;
};

/// None for a field beyond the capacity that the host pretends to have made: no one can fill it.
std::optional<Expected> expectedOf(const std::array<double, 3>& sizes, const Capacity& capacity) {
    if (std::any_of(sizes.begin(), sizes.end(), [](double size) { return !(size >= 1); }))
        return Expected{Ending::refused, emptyGrid, {}};
    double points = 1;
    std::uint64_t wrapped = 1;
    substitute::Dimensions dimensions;
    for (const double size : sizes) {
        const double index = std::min(std::floor(size), twoTo31 - 1);
        points *= std::floor(size);
        wrapped = wrapped * static_cast<std::uint64_t>(index) % (std::uint64_t{1} << 32U);
        dimensions.push_back(static_cast<std::size_t>(index));
    }
    const bool isMade = points <= static_cast<double>(capacity.elements);
    // The first result is made before the points are counted.
    if (wrapped == 0 && (isMade || capacity.pretends))
        return Expected{Ending::refused, emptyGrid, {}};
    const bool isIndexable =
        std::all_of(sizes.begin(), sizes.end(), [](double size) { return size < twoTo31; });
    if (!isIndexable || (!isMade && !capacity.pretends))
        return Expected{Ending::outOfMemory, "", {}};
    if (!isMade) return std::nullopt;
    if (dimensions.back() == 1) dimensions.pop_back();
    return Expected{Ending::answered, "", dimensions};
}

/// Every combination of three sizes of these kinds.
std::vector<std::array<double, 3>> combinations() {
    constexpr std::array<double, 12> kinds{
        -1, 0, 1, 1.5, 46341, 65536, twoTo31 - 1, twoTo31, twoTo32, twoTo53, infinity, notANumber};
    std::vector<std::array<double, 3>> all;
    for (const double sx : kinds)
        for (const double sy : kinds)
            for (const double sz : kinds) all.push_back({sx, sy, sz});
    return all;
}

TEST_F(SizesTest, ofEveryKindInEveryPlaceEndAsTheyMust) {
    const std::vector<std::string> modes{"cpu", "cpudp", "cpusp", "cuda", "cudadp"};
    std::size_t turn = 0;
    int answered = 0;
    for (const Capacity capacity : {Capacity{70000, false}, Capacity{1000, true}})
        for (const std::array<double, 3>& sizes : combinations()) {
            const std::optional<Expected> expected = expectedOf(sizes, capacity);
            if (!expected) continue;
            // What is refused is so before the mode matters: one mode in turn stands for all.
            const bool isAnswered = expected->ending == Ending::answered;
            for (std::size_t i = 0; i < (isAnswered ? modes.size() : 1); ++i) {
                const std::string& mode = modes[turn++ % modes.size()];
                SCOPED_TRACE(mode + " " + testing::PrintToString(sizes));
                theHost().reset();
                theHost().resultLimit = capacity.elements;
                theHost().pretendsToCreate = capacity.pretends;
                const Outcome outcome =
                    call(Request().sizes({sizes.begin(), sizes.end()}).mode(mode).abscissas(1));
                ASSERT_EQ(outcome.ending, expected->ending);
                EXPECT_EQ(outcome.error, expected->error);
                expectNothingLeft(outcome);
                if (!isAnswered) continue;
                EXPECT_EQ(outcome.output->dimensions, expected->dimensions);
                ++answered;
            }
        }
    // 1 and 1.5 in all three places, in both hosts; one of the two large ones in the first.
    EXPECT_EQ(answered, 5 * (2 * 8 + 3 * 2 * 4));
    expectNextCallWorks();
}

/// The device allocations and all that came after them.
std::vector<std::string> sinceTheAllocation() {
    std::vector<std::string> calls = theHost().textsOf(EventKind::runtime);
    calls.erase(calls.begin(), std::find_if(calls.begin(), calls.end(), [](const auto& text) {
                    return text.rfind("cudaMalloc", 0) == 0;
                }));
    return calls;
}

TEST_F(SizesTest, ofMoreBytesThanALauncherCountsEndInTheRuntimesReportAndNothingElse) {
    struct Case {
        std::string mode;
        std::string unit;
        std::vector<double> sizes;
    };
    const std::string single = "RectangularPistonCuda";
    const std::string twin = "RectangularPistonCuda.dp";
    for (const Case& c : std::vector<Case>{{"cuda", single, {65537, 65537, 1}},
                                           {"cuda", single, {1, 65537, 65537}},
                                           {"cuda", single, {46341, 92682, 1}},
                                           {"cuda", single, {16777217, 1, 256}},
                                           {"cudadp", twin, {65537, 65537, 1}},
                                           {"cudadp", twin, {46341, 46341, 1}},
                                           {"cudadp", twin, {twoTo31 - 1, 1, 1}},
                                           {"cudadp", twin, {1, twoTo31 - 1, 1}},
                                           {"cudadp", twin, {1024, 1024, 256}},
                                           {"cudadp", twin, {twoTo31 - 1, twoTo31 - 1, 1}}}) {
        const Outcome outcome = callInAHostOfEndlessMemory(c.sizes, c.mode);
        EXPECT_EQ(outcome.ending, Ending::refused);
        EXPECT_THAT(outcome.error,
                    testing::StartsWith("ERROR: assertion failure in FastNearfield/" + c.unit +
                                        " at line "));
        EXPECT_THAT(outcome.error,
                    testing::EndsWith("\n       condition failed: (Cuda error when calling "
                                      "cudaMalloc((void**)&d_arrayr, datasize): "
                                      "out of memory).\n\n"));
        EXPECT_EQ(outcome.standardError, "");
        // Of 2^60 bytes, which no device has.
        EXPECT_EQ(sinceTheAllocation(), (std::vector<std::string>{"cudaMalloc(1152921504606846976)",
                                                                  "cudaThreadExit()"}));
        expectNothingLeft(outcome);
    }
    expectNextCallWorks();
}

TEST_F(SizesTest, areTruncatedTowardZero) {
    const Outcome outcome = call(Request().sizes({2.7, 1, 1}));
    ASSERT_EQ(outcome.ending, Ending::answered);
    EXPECT_EQ(outcome.output->dimensions, (substitute::Dimensions{2, 1}));
    EXPECT_EQ(outcome.values(), call(Request().sizes({2, 1, 1})).values());
    EXPECT_EQ(call(Request().sizes({1.5, 2.999, 1.001})).output->dimensions,
              (substitute::Dimensions{1, 2}));
}

TEST_F(SizesTest, areTheDimensionsOfTheResult) {
    for (const char* mode : {"cpu", "cpudp", "cpusp"}) {
        const Outcome outcome = call(Request().sizes({4, 5, 3}).mode(mode));
        EXPECT_EQ(outcome.output->dimensions, (substitute::Dimensions{4, 5, 3}));
        EXPECT_EQ(outcome.output->className, "double");
        EXPECT_TRUE(outcome.output->complex);
    }
}

TEST_F(SizesTest, withALastOneOfOneMakeAMatrix) {
    EXPECT_EQ(call(Request().sizes({4, 5, 1})).output->dimensions, (substitute::Dimensions{4, 5}));
}

TEST_F(SizesTest, belowOneAreAnEmptyGrid) {
    struct Case {
        std::vector<double> sizes;
        const char* created;
    };
    for (const Case& c :
         std::vector<Case>{{{0, 5, 5}, "0x5x5"},
                           {{5, 0, 5}, "5x0x5"},
                           {{5, 5, 0}, "5x5x0"},
                           {{0.5, 1, 1}, "0x1x1"},
                           {{-1, 1, 1}, "0x1x1"},
                           {{-1, -1, 1}, "0x0x1"},
                           {{-0.5, 1, 1}, "0x1x1"},
                           {{notANumber, 1, 1}, "0x1x1"},
                           {{1, notANumber, 1}, "1x0x1"},
                           {{-infinity, 1, 1}, "0x1x1"},
                           {{-1e300, 1, 1}, "0x1x1"},
                           {{-twoTo32 + 1, 1, 1}, "0x1x1"},
                           {{0, 1e300, infinity}, "0x9223372036854775807x9223372036854775807"}}) {
        const Outcome outcome = call(Request().sizes(c.sizes));
        EXPECT_EQ(outcome.error, emptyGrid) << c.created;
        EXPECT_EQ(theHost().textsOf(EventKind::creation), std::vector<std::string>{c.created});
        expectNothingLeft(outcome);
    }
}

TEST_F(SizesTest, beyondTheHostsMemoryEndInItsMemoryError) {
    for (const double size : {twoTo31 - 1, twoTo31, twoTo32, twoTo53, 1e300, infinity})
        for (const char* mode : {"cpu", "cpudp", "cpusp"})
            for (std::size_t position = 0; position < 3; ++position) {
                std::vector<double> sizes(3, 1.0);
                sizes[position] = size;
                const Outcome outcome = call(Request().sizes(sizes).mode(mode));
                EXPECT_EQ(outcome.ending, Ending::outOfMemory) << size;
                // A size beyond the grid's indices is refused before the host is asked.
                EXPECT_EQ(theHost().textsOf(EventKind::creation).size(), size < twoTo31 ? 1U : 0U);
                expectNothingLeft(outcome);
            }
    expectNextCallWorks();
}

TEST_F(SizesTest, whoseCountWrapsWriteNothingInSinglePrecision) {
    const Outcome outcome = callInAHostOfEndlessMemory({65537, 65537, 1}, "cpusp");
    EXPECT_EQ(outcome.ending, Ending::outOfMemory);
    expectNothingLeft(outcome);
    expectNextCallWorks();
}

TEST_F(SizesTest, beyondThirtyTwoBitsWriteNothingEvenInAHostOfEndlessMemory) {
    for (const double size : {twoTo31, twoTo32, twoTo32 + 2, twoTo53, 1e300, infinity})
        for (const char* mode : {"cpu", "cpudp", "cpusp"}) {
            const Outcome outcome = callInAHostOfEndlessMemory({size, 1, 1}, mode);
            EXPECT_EQ(outcome.ending, Ending::outOfMemory) << size;
            expectNothingLeft(outcome);
        }
}

TEST_F(SizesTest, whoseCountWrapsToZeroAreAnEmptyGrid) {
    EXPECT_EQ(callInAHostOfEndlessMemory({65536, 65536, 1}, "cpu").error, emptyGrid);
}

TEST_F(SizesTest, whoseCountExceedsEvenTheHostsOwnSizesWriteNothing) {
    // The product is 2^64 + 4: four points to whoever counts in 64 bits that wrap around.
    const Outcome outcome = callInAHostOfEndlessMemory({968973220, 49477, 384773}, "cpusp");
    EXPECT_EQ(outcome.ending, Ending::outOfMemory);
    expectNothingLeft(outcome);
}

}  // namespace
