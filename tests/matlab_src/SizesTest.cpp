// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/sizes.h"

#include <cmath>
#include <cstdint>
#include <limits>

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
