// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The field of a box of a lattice, as RectangularPistonCuda2::computeBox has it.

#include <gtest/gtest.h>

#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <new>
#include <vector>

#include "CapturedStream.h"
#include "FastNearfield/RectangularPiston2.h"
#include "PointField.h"
#include "core/Grid3DR.h"
#include "tests/support/RandomPoints.h"

namespace {

using Transform = std::array<double, 16>;

constexpr Transform alongTheAxes{0.05, 0, 0, -0.9, 0, 0.07, 0, -0.4, 0, 0, 0.3, 0.1, 0, 0, 0, 1};
/// Around two axes, and divided by a last element.
constexpr Transform turned{0.06,  -0.03, 0.02, -0.8,  0.04, 0.05, -0.03, -0.7,
                           -0.01, 0.02,  0.09, 0.125, 9,    -8,   7,     1.75};
/// Parallel to the piston, then away from it.
constexpr Transform sheared{0.05, 0.02, 0,     -0.9, 0, 0.07, 0.11, -0.4,
                            0.01, 0,    -0.03, 0.6,  0, 0,    0,    -1.5};

template <class T>
class PistonBox : public testing::Test {
  protected:
    using Values = std::vector<std::complex<T>>;

    PistonBox() {
        piston.doubleRule.compute(12);
        piston.floatRule.compute(12);
    }

    Values box(const Transform& transform, const LatticeBox& box) const {
        Values values(static_cast<std::size_t>(box.points()));
        piston.computeBox(values.data(), transform.data(), box);
        return values;
    }

    /// The field of a whole lattice.
    Values whole(const Transform& transform, const std::array<unsigned, 3>& sizes) const {
        const Grid3DR<T> grid(transform.data(), sizes[0], sizes[1], sizes[2]);
        std::vector<T> re(grid.nbPositions());
        std::vector<T> im(grid.nbPositions());
        piston.computeCPU(re.data(), im.data(), grid);
        Values values;
        for (std::size_t i = 0; i < re.size(); ++i) values.emplace_back(re[i], im[i]);
        return values;
    }

    /// The field at one point, placed as the points of a `Grid3DR` are.
    std::complex<T> point(const Transform& transform, const std::array<std::int64_t, 3>& at) const {
        std::array<T, 16> m{};
        for (std::size_t i = 0; i < m.size(); ++i) m[i] = static_cast<T>(transform[i]);
        std::array<T, 3> p{};
        for (std::size_t r = 0; r < 3; ++r) {
            T sum = m[4 * r + 3];
            for (std::size_t c = 0; c < 3; ++c) sum += m[4 * r + c] * static_cast<T>(at[c]);
            p[r] = sum / m[15];
        }
        return PointField<T>::at(p[0], p[1], p[2], static_cast<T>(piston.s * 0.5),
                                 static_cast<T>(piston.l * 0.5), static_cast<T>(piston.k))
            .pressure(piston);
    }

    RectangularPistonCuda2 piston{1.3, 0.9, 7.1};
};

using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(PistonBox, Precisions);

LatticeBox randomBox(Random& random, const std::array<unsigned, 3>& sizes, bool onePoint) {
    LatticeBox box;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        const std::size_t first = random.below(sizes[i]);
        box.first[i] = static_cast<std::int64_t>(first);
        box.size[i] = onePoint ? 1 : static_cast<std::int64_t>(1 + random.below(sizes[i] - first));
    }
    return box;
}

TYPED_TEST(PistonBox, HasTheBitsOfTheWholeLatticeWhereverItIsCut) {
    constexpr std::array<unsigned, 3> sizes{37, 11, 5};
    Random random(1);
    for (const Transform& transform : {alongTheAxes, turned, sheared}) {
        const auto whole = this->whole(transform, sizes);
        for (int i = 0; i < 40; ++i) {
            const LatticeBox box = randomBox(random, sizes, /*onePoint=*/i % 4 == 0);
            const auto values = this->box(transform, box);
            std::size_t next = 0;
            for (auto z = box.first[2]; z < box.first[2] + box.size[2]; ++z)
                for (auto y = box.first[1]; y < box.first[1] + box.size[1]; ++y)
                    for (auto x = box.first[0]; x < box.first[0] + box.size[0]; ++x)
                        ASSERT_EQ(values[next++],
                                  whole[static_cast<std::size_t>((z * 11 + y) * 37 + x)])
                            << x << " " << y << " " << z;
        }
    }
}

TYPED_TEST(PistonBox, ThatIsTheWholeLatticeHasAllOfIt) {
    EXPECT_EQ(this->box(turned, {{}, {9, 6, 4}}), this->whole(turned, {9, 6, 4}));
}

TYPED_TEST(PistonBox, MayBeginBeforeTheLattice) {
    EXPECT_EQ(this->box(turned, {{-3, -2, -1}, {1, 1, 1}})[0], this->point(turned, {-3, -2, -1}));
}

/// Coordinates that only just are exact, on a lattice so fine that it still is before the piston.
TYPED_TEST(PistonBox, FarOutLiesWhereTheTransformPutsIt) {
    const std::int64_t far =
        std::is_same_v<TypeParam, float> ? (1 << 24) - 8 : std::int64_t{1} << 40;
    const double step = 1 / static_cast<double>(far);
    const Transform fine{step, 0, 0,        -0.7, 0, 3 * step, 0, -2.6,
                         0,    0, 2 * step, -1.9, 0, 0,        0, 1.5};
    const auto values = this->box(fine, {{far, far, far}, {5, 1, 1}});
    for (std::int64_t i = 0; i < 5; ++i)
        EXPECT_EQ(values[static_cast<std::size_t>(i)], this->point(fine, {far + i, far, far}));
    EXPECT_EQ(this->box(fine, {{0, far, 0}, {1, 1, 1}})[0], this->point(fine, {0, far, 0}));
    EXPECT_EQ(this->box(fine, {{0, 0, far}, {1, 1, 1}})[0], this->point(fine, {0, 0, far}));
}

TEST(PistonBoxInDouble, TellsNeighboursFarOutFromEachOther) {
    const RectangularPistonCuda2 piston(1.3, 0.9, 7.1);
    constexpr std::int64_t far = std::int64_t{1} << 40;
    constexpr double step = 1 / static_cast<double>(far);
    const Transform fine{step, 0, 0, -0.7, 0, step, 0, 0.1, 0, 0, step, 0.5, 0, 0, 0, 1};
    std::array<std::complex<double>, 2> values;
    piston.computeBox(values.data(), fine.data(), {{far, 0, 0}, {2, 1, 1}});
    EXPECT_NE(values[0], values[1]);
}

TYPED_TEST(PistonBox, WritesNothingBeyondItsPointsAndPrintsNothing) {
    const CapturedStream output(std::cout);
    std::vector<std::complex<TypeParam>> values(7, 42);
    this->piston.computeBox(values.data(), turned.data(), {{1, 2, 3}, {3, 1, 2}});
    EXPECT_NE(values[5], std::complex<TypeParam>(42));
    EXPECT_EQ(values[6], std::complex<TypeParam>(42));
    EXPECT_EQ(output.text(), "");
}

TYPED_TEST(PistonBox, WithASizeBeyond31BitsIsRefused) {
    constexpr std::int64_t most = INT32_MAX;
    for (std::size_t i = 0; i < 3; ++i) {
        LatticeBox box;
        box.size[i] = most;  // and none along the others
        EXPECT_NO_THROW(this->piston.template computeBox<TypeParam>(nullptr, turned.data(), box));
        for (const std::int64_t size : {most + 1, std::int64_t{1} << 40}) {
            box.size[i] = size;
            EXPECT_THROW(this->piston.template computeBox<TypeParam>(nullptr, turned.data(), box),
                         std::bad_array_new_length);
        }
    }
}

}  // namespace
