// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/Request.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

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

}  // namespace
