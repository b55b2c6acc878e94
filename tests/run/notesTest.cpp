// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/notes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

using pistonfield::Mode;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// 7.5 mm by 5 mm at 1 MHz in water, five wavelengths, and points before it.
run::Layout usual() {
    run::Layout layout;
    layout.request.piston = {.width = 7.5e-3, .height = 5e-3};
    layout.request.wave.wavenumber = 4188.79;
    layout.request.lattice = {{1e-4, 0, 0, 0, 0, 1e-4, 0, 0, 0, 0, 1e-4, 1e-3, 0, 0, 0, 1},
                              {10, 20, 30}};
    layout.box = layout.request.lattice.box();
    return layout;
}

TEST(Notes, AreNoneOfAUsualRequest) { EXPECT_THAT(notesOn(usual()), IsEmpty()); }

TEST(Notes, TellPointsBehindThePiston) {
    run::Layout layout = usual();
    layout.request.lattice.transform[10] = -1e-4;
    EXPECT_THAT(notesOn(layout),
                ElementsAre("some points lie behind the piston, where values mean nothing"));
    // Those of this part lie before it.
    layout.box.size[2] = 10;
    EXPECT_THAT(notesOn(layout), IsEmpty());
}

TEST(Notes, TellPointsBehindAnElementWhereThoseAreAskedFor) {
    run::Layout layout = usual();
    layout.request.piston = {};
    layout.request.tolerance.emplace();
    const pistonfield::Element flat{{.width = 7.5e-3, .height = 5e-3}, {}};
    pistonfield::Element tilted = flat;
    tilted.pose = {{-10e-3, 0, 0}, {0.8, 0, -0.6}, {0, 1, 0}};
    layout.request.array = pistonfield::Array{{flat, tilted}, {1, 1}};
    layout.request.behind = true;
    EXPECT_THAT(notesOn(layout), IsEmpty());
    layout.request.array->elements[1].pose.centre = {10e-3, 0, 0};
    EXPECT_THAT(notesOn(layout), ElementsAre("some points lie behind elements, where values are "
                                             "those of the points before it"));
    layout.request.behind = false;
    EXPECT_THAT(notesOn(layout), IsEmpty());
}

TEST(Notes, TellElementsThatOverlap) {
    run::Layout layout = usual();
    layout.request.piston = {};
    layout.request.tolerance.emplace();
    const pistonfield::Element element{{.width = 7.5e-3, .height = 5e-3}, {}};
    pistonfield::Element other = element;
    other.pose.centre = {7.5e-3, 0, 0};
    layout.request.array = pistonfield::Array{{element, other}, {1, 1}};
    EXPECT_THAT(notesOn(layout), IsEmpty());
    layout.request.array->elements[1].pose.centre[0] = 7.4e-3;
    EXPECT_THAT(notesOn(layout), ElementsAre("1 pair of elements overlaps: 1 and 2"));
    layout.request.array = pistonfield::Array{std::vector(50, element), {}};
    EXPECT_THAT(notesOn(layout),
                ElementsAre("at least 1000 pairs of elements overlap, as 1 and 2"));
}

TEST(Notes, TellThatSlabsCutWhatIsComputedAsOne) {
    run::Layout layout = usual();
    layout.slabSizes = {10, 20, 2};
    EXPECT_THAT(notesOnCuts(layout, {1, 1, 1}), IsEmpty());
    EXPECT_THAT(notesOnCuts(layout, {10, 20, 1}), IsEmpty());
    EXPECT_THAT(notesOnCuts(layout, {10, 64, 2}), IsEmpty());
    layout.slabSizes = {10, 8, 2};
    EXPECT_THAT(notesOnCuts(layout, {10, 64, 1}),
                ElementsAre("slabs cut boxes of 10 x 20 x 1 points that share their work, which is "
                            "done up to 2.5 times: with more points, --slab, it takes less time "
                            "and more memory"));
}

TEST(Notes, TellThatPartsDo) {
    run::Layout layout = usual();
    layout.box.size = {10, 20, 3};
    layout.slabSizes = {10, 20, 3};
    EXPECT_THAT(notesOnCuts(layout, {10, 20, 1}), IsEmpty());
    EXPECT_THAT(notesOnCuts(layout, {10, 1, 30}),
                ElementsAre("parts cut boxes of 10 x 1 x 30 points that share their work, which is "
                            "done up to 10 times: one run of many processes takes less"));
}

TEST(Notes, TellOfTheLargestElement) {
    run::Layout layout = usual();
    layout.request.tolerance.emplace();
    const pistonfield::Element small{{.width = 1e-7, .height = 2e-7}, {}};
    pistonfield::Element larger = small;
    larger.piston.height = 5e-7;
    larger.pose.centre = {1e-6, 0, 0};
    pistonfield::Element last = small;
    last.pose.centre = {2e-6, 0, 0};
    layout.request.array = pistonfield::Array{{small, larger, last}, {1, 1, 1}};
    EXPECT_THAT(notesOn(layout),
                ElementsAre(StartsWith("the largest element measures 0.000333333 wavelengths")));
}

/// The height of the lowest point, in numbers that nothing rounds.
TEST(Notes, TellPointsBehindThePistonWhereverTheyAre) {
    const auto noted = [](const std::array<double, 4>& height, double divisor,
                          const std::array<std::int64_t, 3>& sizes) {
        run::Layout layout = usual();
        auto& transform = layout.request.lattice.transform;
        std::copy(height.begin(), height.end(), &transform[8]);
        transform[15] = divisor;
        layout.box.size = sizes;
        return !notesOn(layout).empty();
    };
    EXPECT_FALSE(noted({0, 0, -0.125, 1}, 1, {1, 1, 9}));
    EXPECT_TRUE(noted({0, 0, -0.125, 1}, 1, {1, 1, 10}));
    EXPECT_TRUE(noted({-0.125, 0, 1, 1}, 1, {10, 1, 10}));
    EXPECT_TRUE(noted({0, -0.125, 1, 1}, 1, {1, 10, 10}));
    EXPECT_FALSE(noted({0, 0, -0.125, 1}, 0.5, {1, 1, 9}));
    EXPECT_TRUE(noted({0, 0, -0.125, 1}, 0.5, {1, 1, 10}));
    EXPECT_TRUE(noted({0, 0, 0.125, 1}, -2, {1, 1, 2}));
}

TEST(Notes, OfAFieldWithAToleranceKnowItsValuesBehindThePistonAndNoOrders) {
    run::Layout layout = usual();
    layout.request.tolerance = pistonfield::Tolerance{};
    layout.request.behind = true;
    layout.request.lattice.transform[10] = -1e-4;
    EXPECT_THAT(notesOn(layout), ElementsAre("some points lie behind the piston, where values are "
                                             "those of the points before it"));
    layout.request.lattice.transform[10] = 1e-4;
    layout.request.piston = {.width = 7.5, .height = 5};
    EXPECT_THAT(notesOn(layout), ElementsAre(StartsWith("the piston measures 5000 by 3333.33 "
                                                        "wavelengths: lengths are in m")));
}

TEST(Notes, TellFrequenciesInMHzAndLengthsInMm) {
    run::Layout layout = usual();
    layout.request.wave.wavenumber *= 1e-6;
    EXPECT_THAT(notesOn(layout),
                ElementsAre("the piston measures 5e-06 wavelengths: lengths are in m, the speed in "
                            "m/s, the frequency in Hz; k is in radians per unit of length"));
    layout = usual();
    layout.request.piston = {.width = 7.5, .height = 5};
    EXPECT_THAT(notesOn(layout),
                ElementsAre(StartsWith("the piston measures 5000 by 3333.33 wavelengths, more than "
                                       "orders up to 4096 can do: lengths are in m")));
}

/// The least and the most wavelengths that nothing is said of are those of the functions for
/// Octave: 1e-3, and what leaves an order of 4095 or less.
TEST(Notes, BeginWhereTheFunctionsWarn) {
    const auto noted = [](double sides) {
        run::Layout layout = usual();
        layout.request.wave.wavenumber = 2;
        layout.request.piston = {.width = sides / 2, .height = sides};
        return !notesOn(layout).empty();
    };
    constexpr double wavelength = 3.141592653589793;
    EXPECT_TRUE(noted(0.999e-3 * wavelength));
    EXPECT_FALSE(noted(1.001e-3 * wavelength));
    EXPECT_FALSE(noted(2 * 4087));
    EXPECT_TRUE(noted(2 * 4087.001));
}

TEST(Notes, TellWhereTheModesOfAGpuCompute) {
    for (const Mode mode : pistonfield::modes) {
        run::Layout layout = usual();
        layout.request.mode = mode;
        EXPECT_EQ(notesOn(layout).size(), isOnGpu(mode) && !run::emulationNote().empty() ? 1U : 0U);
    }
    EXPECT_EQ(run::emulationNote(),
              std::string_view(PISTONFIELD_BACKEND) == "emulated"
                  ? "the modes cuda and cudadp compute on the processor, which stands in for a "
                    "GPU here"
                  : "");
}

}  // namespace
