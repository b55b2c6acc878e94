// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/Request.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "tests/field/smallRequest.h"
#include "tests/support/Refused.h"

namespace {

using pistonfield::Mode;
using pistonfield::Request;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// What a request is refused with once something of it is changed.
std::string refusal(const std::function<void(Request&)>& change) {
    Request request = smallRequest();
    change(request);
    return refused([&] { check(request); });
}

TEST(Request, WithAFieldIsAccepted) {
    for (const char* mode : {"cpu", "cpudp", "cpusp", "cuda", "cudadp"})
        EXPECT_NO_THROW(check(smallRequest(mode)));
}

TEST(Request, KnowsThePrecisionOfItsMode) {
    EXPECT_EQ(smallRequest("cpu").valueBytes(), 16);
    EXPECT_EQ(smallRequest("cpudp").valueBytes(), 16);
    EXPECT_EQ(smallRequest("cpusp").valueBytes(), 8);
    EXPECT_EQ(smallRequest("cuda").valueBytes(), 8);
    EXPECT_EQ(smallRequest("cudadp").valueBytes(), 16);
}

TEST(Request, OfAModeThatIsNoneIsRefused) {
    EXPECT_EQ(refused([] { pistonfield::modeCalled("gpu"); }),
              "mode: 'gpu' is none of cpu, cpudp, cpusp, cuda, cudadp");
}

TEST(Request, OfATransformWithoutPositionsIsRefused) {
    for (const double odd : {nan, infinity, -infinity})
        EXPECT_EQ(refusal([=](Request& r) { r.lattice.transform[5] = odd; }),
                  "transform: every number must be finite");
    EXPECT_EQ(refusal([](Request& r) { r.lattice.transform[15] = 0; }),
              "transform: the last number must not be 0");
    EXPECT_EQ(refusal([](Request& r) { r.lattice.transform[15] = -1; }), "no failure");
    EXPECT_EQ(refusal([](Request& r) { r.lattice.transform[12] = 1e-3; }),
              "transform: the last row must be 0 0 0 and a number; is it the transpose?");
}

TEST(Request, OfAPistonWithoutAreaOrWavesIsRefused) {
    for (const double odd : {0.0, -1.0, nan, infinity}) {
        EXPECT_EQ(refusal([=](Request& r) { r.piston.height = odd; }),
                  "height: must be a length above 0");
        EXPECT_EQ(refusal([=](Request& r) { r.piston.width = odd; }),
                  "width: must be a length above 0");
        EXPECT_EQ(refusal([=](Request& r) { r.wave.wavenumber = odd; }),
                  "wavenumber: must be a wavenumber above 0");
    }
}

/// Where single precision overflows no point has a value.
TEST(Request, BeyondTheRangeOfItsModeIsRefused) {
    const auto with = [](Mode mode, auto change) {
        return refusal([&](Request& r) {
            r.mode = mode;
            change(r);
        });
    };
    constexpr double most = std::numeric_limits<float>::max();
    for (const Mode mode : pistonfield::modes) {
        const std::string beyond = std::string(" of the mode ") + nameOf(mode);
        const auto inSingle = [&](const std::string& refused) {
            return isInSingle(mode) ? refused + beyond : "no failure";
        };
        for (const std::size_t i : {0U, 7U, 15U})
            for (const double sign : {1, -1}) {
                EXPECT_EQ(with(mode, [=](Request& r) { r.lattice.transform.at(i) = sign * most; }),
                          "no failure");
                EXPECT_EQ(with(mode, [=](Request& r) { r.lattice.transform.at(i) = sign * 1e39; }),
                          inSingle("transform: every number must be within the range"));
            }
        EXPECT_EQ(with(mode, [](Request& r) { r.lattice.transform[15] = 1e-44; }), "no failure");
        EXPECT_EQ(with(mode, [](Request& r) { r.lattice.transform[15] = -1e-46; }),
                  inSingle("transform: the last number is 0 in the precision"));
        EXPECT_EQ(with(mode, [](Request& r) { r.wave.wavenumber = most; }), "no failure");
        EXPECT_EQ(with(mode, [](Request& r) { r.wave.wavenumber = 1e39; }),
                  inSingle("wavenumber: must be within the range"));
        const auto ofTable = [&](double abscissa, double weight) {
            return with(mode, [=](Request& r) {
                r.rule = {.order = 3, .table = {-abscissa, weight, 0, 1, abscissa, weight}};
            });
        };
        EXPECT_EQ(ofTable(0.5, most), "no failure");
        for (const double abscissa : {0.5, 1e39})
            EXPECT_EQ(ofTable(abscissa, 1e39),
                      inSingle("table: every number must be within the range"));
    }
}

/// The modes of a GPU take roots in single precision.
TEST(Request, OfSidesWhoseSquaresOverflowIsRefused) {
    const auto ofSides = [](Mode mode, double width, double height) {
        return refusal([=](Request& r) {
            r.mode = mode;
            r.piston = {.width = width, .height = height};
        });
    };
    EXPECT_EQ(ofSides(Mode::cpu, 2.6e154, 2.6e154), "no failure");
    EXPECT_EQ(ofSides(Mode::cpu, 2.7e154, 1), "width: must be within the range of the mode cpu");
    EXPECT_EQ(ofSides(Mode::cpu, 1, 2.7e154), "height: must be within the range of the mode cpu");
    for (const Mode mode : {Mode::cpusp, Mode::cuda, Mode::cudadp}) {
        const std::string range = std::string(": must be within the range of the mode ");
        EXPECT_EQ(ofSides(mode, 3.6e19, 3.6e19), "no failure");
        EXPECT_EQ(ofSides(mode, 3.7e19, 1), "width" + range + nameOf(mode));
        EXPECT_EQ(ofSides(mode, 1, 3.7e19), "height" + range + nameOf(mode));
    }
}

TEST(Request, WithoutPointsIsRefused) {
    for (std::size_t i = 0; i < 3; ++i)
        for (const std::int64_t size : {std::int64_t{0}, std::int64_t{-1}, INT64_MIN})
            EXPECT_EQ(refusal([=](Request& r) { r.lattice.sizes.at(i) = size; }),
                      "sizes: each must be 1 or more");
}

TEST(Request, OfCoordinatesThatThePrecisionDoesNotHaveIsRefused) {
    const auto ofSize = [](Mode mode, std::int64_t size) {
        return refusal([=](Request& r) {
            r.mode = mode;
            r.lattice.sizes = {1, size, 1};
        });
    };
    EXPECT_EQ(ofSize(Mode::cpusp, 1 << 24), "no failure");
    EXPECT_EQ(ofSize(Mode::cpusp, (1 << 24) + 1),
              "sizes: 16777217 points in a row are more than the 16777216 of the mode cpusp");
    EXPECT_EQ(ofSize(Mode::cuda, (1 << 24) + 1),
              "sizes: 16777217 points in a row are more than the 16777216 of the mode cuda");
    EXPECT_EQ(ofSize(Mode::cpu, std::int64_t{1} << 53), "no failure");
    EXPECT_EQ(ofSize(Mode::cpu, (std::int64_t{1} << 53) + 1),
              "sizes: 9007199254740993 points in a row are more than the 9007199254740992 of "
              "the mode cpu");
}

TEST(Request, OfAListIsOfMorePointsThanARowHasInSinglePrecision) {
    constexpr std::int64_t count = (1 << 24) + 1;
    EXPECT_EQ(refusal([](Request& r) {
                  r.mode = Mode::cpusp;
                  r.tolerance.emplace();
                  const std::vector<double> ones(count, 1);
                  r.points = pistonfield::PointList{ones, ones, ones};
                  r.lattice.sizes = {count, 1, 1};
              }),
              "no failure");
}

TEST(Request, OfMoreBytesThan63BitsCountIsRefused) {
    const char* refusalOfBytes = "sizes: the field has more than 2^63 bytes";
    constexpr std::int64_t many = std::int64_t{1} << 53;
    EXPECT_EQ(refusal([](Request& r) { r.lattice.sizes = {many, 64, 1}; }), refusalOfBytes);
    EXPECT_EQ(refusal([](Request& r) { r.lattice.sizes = {many, 63, 1}; }), "no failure");
    EXPECT_EQ(refusal([](Request& r) { r.lattice.sizes = {many, many, many}; }), refusalOfBytes);
}

TEST(Request, OfAnOrderThatTheModeDoesNotHaveIsRefused) {
    const auto ofOrder = [](Mode mode, int order) {
        return refusal([=](Request& r) {
            r.mode = mode;
            r.rule.order = order;
        });
    };
    EXPECT_EQ(ofOrder(Mode::cpu, 0), "order: 0 is not within 1 to 18000 of the mode cpu");
    EXPECT_EQ(ofOrder(Mode::cpu, -3), "order: -3 is not within 1 to 18000 of the mode cpu");
    EXPECT_EQ(ofOrder(Mode::cpu, 18000), "no failure");
    EXPECT_EQ(ofOrder(Mode::cpusp, 18001),
              "order: 18001 is not within 1 to 18000 of the mode cpusp");
    EXPECT_EQ(ofOrder(Mode::cuda, 512), "no failure");
    EXPECT_EQ(ofOrder(Mode::cuda, 513), "order: 513 is not within 1 to 512 of the mode cuda");
}

TEST(Request, OfATableThatIsNoRuleIsRefused) {
    EXPECT_EQ(refusal([](Request& r) {
                  r.rule.table = {0, nan};
                  r.rule.order = 1;
              }),
              "table: every number must be finite");
    EXPECT_EQ(refusal([](Request& r) {
                  r.rule.order = 2;
                  r.rule.table = {0, 1, 2};
              }),
              "table: 3 numbers are no pairs of a rule of order 2");
    EXPECT_EQ(refusal([](Request& r) {
                  r.mode = Mode::cuda;
                  r.rule.order = 513;
                  r.rule.table.assign(1026, 0.5);
              }),
              "table: an order of 513 is not within 1 to 512 of the mode cuda");
}

TEST(Request, OfATableThatIsNotSymmetricIsRefusedInTheModesOfAGpu) {
    const auto ofTable = [](Mode mode, const std::vector<double>& table) {
        return refusal([&](Request& r) {
            r.mode = mode;
            r.rule = {.order = static_cast<int>(table.size() / 2), .table = table};
        });
    };
    const std::vector<std::vector<double>> symmetric{
        {0, 2},
        {-0.5, 1, 0.5, 1},
        {-0.77, 0.55, 0, 0.9, 0.77, 0.55},
        // In another order, and as far off as rounding.
        {-0.8, 0.3, 0.2, 0.7, -0.2, 0.7, 0.8, 0.3},
        {-0.8, 0.3, 0.2, 0.7, 0.8, 0.3, -0.2, 0.7},
        {-0.5, 1, 1e-8, 0.3, 0.50000005, 1.00000005},
        {-0.5, 3e6, 0.5, 3000000.1}};
    const std::vector<std::vector<double>> others{{0.1, 2},
                                                  {-0.5, 1, 0.5, 1.1},
                                                  {-0.5, 1, 0.6, 1},
                                                  {-0.5, 1, -0.5, 1},
                                                  {-0.77, 0.55, 0.1, 0.9, 0.77, 0.55},
                                                  // The first two are not half of the rule.
                                                  {-0.8, 0.3, 0.8, 0.3, -0.2, 0.7, 0.2, 0.7},
                                                  {0, 0.9, -0.77, 0.55, 0.77, 0.55}};
    for (const Mode mode : pistonfield::modes) {
        for (const std::vector<double>& table : symmetric)
            EXPECT_EQ(ofTable(mode, table), "no failure");
        for (const std::vector<double>& table : others)
            EXPECT_EQ(ofTable(mode, table),
                      isOnGpu(mode) ? std::string("table: must be symmetric about 0 in the mode ") +
                                          nameOf(mode)
                                    : "no failure");
    }
}

}  // namespace
