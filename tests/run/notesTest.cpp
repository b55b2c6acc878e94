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
