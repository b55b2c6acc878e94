// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/planarArrays.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/Refused.h"

namespace {

using pistonfield::Element;
using pistonfield::elementsOf;
using pistonfield::LineArray;
using pistonfield::MatrixArray;
using pistonfield::Pose;

template <class Array>
std::string refusal(const Array& array) {
    return refused([&] { elementsOf(array); });
}

TEST(LineArray, StandsCentredAlongX) {
    const auto elements = elementsOf(LineArray{.elements = 4, .width = 2, .height = 5, .pitch = 3});
    ASSERT_EQ(elements.size(), 4);
    for (std::size_t i = 0; i < 4; ++i) {
        const double x = std::array{-4.5, -1.5, 1.5, 4.5}[i];
        EXPECT_EQ(elements[i], (Element{{2, 5}, {{x, 0, 0}, {1, 0, 0}, {0, 1, 0}}}));
        EXPECT_EQ(elements[i].pose.normal(), (Pose::Vector{0, 0, 1}));
    }
}

TEST(LineArray, TakesAKerfInPlaceOfAPitch) {
    const LineArray byKerf{.elements = 7, .width = 2, .height = 5, .pitch = {}, .kerf = 0.5};
    const LineArray byPitch{.elements = 7, .width = 2, .height = 5, .pitch = 2.5, .kerf = {}};
    EXPECT_EQ(elementsOf(byKerf), elementsOf(byPitch));
}

TEST(LineArray, OfOneElementNeedsNeither) {
    const auto elements = elementsOf(LineArray{.elements = 1, .width = 2, .height = 5});
    ASSERT_EQ(elements.size(), 1);
    EXPECT_EQ(elements[0].pose, Pose{});
}

TEST(LineArray, RefusesWhatIsNone) {
    const LineArray good{.elements = 4, .width = 2, .height = 5, .pitch = 2, .kerf = {}};
    EXPECT_EQ(refusal(good), "no failure");
    const auto with = [&](auto change) {
        LineArray array = good;
        change(array);
        return refusal(array);
    };
    EXPECT_EQ(with([](auto& a) { a.elements = 0; }), "elements: 0 is not within 1 to 1000000");
    EXPECT_EQ(with([](auto& a) { a.elements = 1000001; }),
              "elements: 1000001 is not within 1 to 1000000");
    EXPECT_EQ(with([](auto& a) { a.width = 0; }), "width: must be a length above 0");
    EXPECT_EQ(with([](auto& a) { a.height = std::numeric_limits<double>::quiet_NaN(); }),
              "height: must be a length above 0");
    EXPECT_EQ(with([](auto& a) { a.pitch = 1.99; }),
              "pitch: elements overlap unless it is the width or more");
    EXPECT_EQ(with([](auto& a) { a.pitch = -3; }), "pitch: must be a length above 0");
    EXPECT_EQ(with([](auto& a) { a.kerf = 1; }),
              "pitch: one of pitch, kerf says how far the elements are apart, not several");
    EXPECT_EQ(with([](auto& a) { a.pitch.reset(); }),
              "pitch: one of pitch, kerf says how far the elements are apart, not none");
    EXPECT_EQ(with([](auto& a) {
                  a.pitch.reset();
                  a.kerf = -0.1;
              }),
              "kerf: must be a length, or 0");
}

TEST(MatrixArray, StandsRowByRow) {
    const auto elements = elementsOf(MatrixArray{
        .columns = 3, .rows = 2, .width = 1, .height = 2, .pitchX = 1.5, .kerfY = 0.25});
    ASSERT_EQ(elements.size(), 6);
    for (std::size_t i = 0; i < 6; ++i) {
        const double x = std::array{-1.5, 0.0, 1.5}[i % 3];
        const double y = i < 3 ? -1.125 : 1.125;
        EXPECT_EQ(elements[i], (Element{{1, 2}, {{x, y, 0}, {1, 0, 0}, {0, 1, 0}}}));
    }
}

TEST(MatrixArray, RefusesWhatIsNone) {
    const MatrixArray good{
        .columns = 3, .rows = 2, .width = 1, .height = 2, .pitchX = 1.5, .pitchY = 2};
    EXPECT_EQ(refusal(good), "no failure");
    const auto with = [&](auto change) {
        MatrixArray array = good;
        change(array);
        return refusal(array);
    };
    EXPECT_EQ(with([](auto& a) { a.columns = -1; }), "columns: -1 is not within 1 to 1000000");
    EXPECT_EQ(with([](auto& a) { a.rows = 0; }), "rows: 0 is not within 1 to 1000000");
    EXPECT_EQ(with([](auto& a) { a.columns = a.rows = 1001; }),
              "rows: 1002001 is not within 1 to 1000000");
    EXPECT_EQ(with([](auto& a) { a.pitchY = 1.9; }),
              "pitchY: elements overlap unless it is the height or more");
    EXPECT_EQ(with([](auto& a) { a.pitchX.reset(); }),
              "pitchX: one of pitchX, kerfX says how far the elements are apart, not none");
}

}  // namespace
