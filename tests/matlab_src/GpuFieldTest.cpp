// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The fields that the GPU modes give on the emulation device, against the surface integral. On the
// device square roots, sines and cosines are single, in the mode cudadp too.

#include <gmock/gmock.h>

#include "tests/matlab_src/FieldTest.h"

using substitute::EventKind;
using substitute::theHost;
using testing::Contains;

namespace {

class GpuFieldTest : public FieldTest {};

TEST_F(GpuFieldTest, isThePressureOfThePiston) {
    for (const char* mode : {"cuda", "cudadp"})
        EXPECT_LT(largestDifference(fieldOf(grid().mode(mode)), reference()), singleAccuracy)
            << mode;
}

TEST_F(GpuFieldTest, holdsSinglePrecisionValuesInTheModeCudaAlone) {
    const auto isSingle = [](std::complex<double> value) {
        return std::complex<double>(std::complex<float>(value)) == value;
    };
    EXPECT_THAT(fieldOf(grid().mode("cuda")), testing::Each(testing::Truly(isSingle)));
    EXPECT_THAT(fieldOf(grid().mode("cudadp")), Contains(testing::Not(testing::Truly(isSingle))));
}

TEST_F(GpuFieldTest, isAnnouncedOnStandardOutputByItsPrecisionAndItsRule) {
    const host::Array* const table = substitute::doubles({-0.5, 1, 0.5, 1}, {2, 2});
    const auto announced = [&](const Request& request) {
        fieldOf(request);
        return theHost().textsOf(EventKind::standardOutput);
    };
    EXPECT_THAT(announced(grid().mode("cudadp").abscissas(table)), Contains("1\n"));
    EXPECT_THAT(announced(grid().mode("cudadp")), Contains("2\n"));
    EXPECT_THAT(announced(grid().mode("cudadp")), Contains("computeCudaDouble 2\n"));
    EXPECT_THAT(announced(grid().mode("cuda").abscissas(table)), Contains("3\n"));
    EXPECT_THAT(announced(grid().mode("cuda")), Contains("4\n"));
}

}  // namespace
