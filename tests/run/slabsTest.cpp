// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/slabs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <vector>

#include "run/file/SlabNumbers.h"
#include "tests/support/RandomPoints.h"
#include "tests/support/Refused.h"

namespace {

using run::boxOf;
using run::Part;
using run::Slabs;
using run::slabSizes;

using Sizes = std::array<std::int64_t, 3>;

/// How often each point of a box is in one of several.
std::vector<int> covered(const LatticeBox& whole, const std::vector<LatticeBox>& boxes) {
    std::vector<int> times(static_cast<std::size_t>(whole.points()));
    for (const LatticeBox& box : boxes)
        for (std::int64_t z = 0; z < box.size[2]; ++z)
            for (std::int64_t y = 0; y < box.size[1]; ++y)
                for (std::int64_t x = 0; x < box.size[0]; ++x) {
                    const std::int64_t row = (box.first[2] - whole.first[2] + z) * whole.size[1] +
                                             box.first[1] - whole.first[1] + y;
                    ++times.at(static_cast<std::size_t>(row * whole.size[0] + box.first[0] -
                                                        whole.first[0] + x));
                }
    return times;
}

std::vector<LatticeBox> all(const Slabs& slabs) {
    std::vector<LatticeBox> boxes;
    for (std::int64_t i = 0; i < slabs.count(); ++i) boxes.push_back(slabs.slab(i));
    return boxes;
}

TEST(Slabs, CoverEveryPointOfABoxOnce) {
    Random random(1);
    const auto number = [&](std::size_t most) {
        return static_cast<std::int64_t>(1 + random.below(most));
    };
    for (int i = 0; i < 300; ++i) {
        const LatticeBox whole{{number(9) - 5, number(1000), number(9)},
                               {number(20), number(20), number(20)}};
        const Slabs slabs(whole, {number(22), number(22), number(22)});
        EXPECT_EQ(covered(whole, all(slabs)),
                  std::vector<int>(static_cast<std::size_t>(whole.points()), 1));
    }
}

TEST(Slabs, AreCountedByTheirPoints) {
    const Slabs slabs({{}, {5, 1, 3}}, {2, 1, 3});
    EXPECT_EQ(run::pointsOf(slabs, {}), 0);
    EXPECT_EQ(run::pointsOf(slabs, {0, 2}), 6 + 3);
}

TEST(Slabs, AreNumberedXFastestThenYThenZ) {
    const Slabs slabs({{10, 20, 30}, {5, 4, 3}}, {2, 3, 2});
    EXPECT_EQ(slabs.count(), 3 * 2 * 2);
    EXPECT_EQ(slabs.slab(0), (LatticeBox{{10, 20, 30}, {2, 3, 2}}));
    EXPECT_EQ(slabs.slab(2), (LatticeBox{{14, 20, 30}, {1, 3, 2}}));
    EXPECT_EQ(slabs.slab(3), (LatticeBox{{10, 23, 30}, {2, 1, 2}}));
    EXPECT_EQ(slabs.slab(11), (LatticeBox{{14, 23, 32}, {1, 1, 1}}));
}

TEST(Slabs, OfAHugeLatticeReachItsLastPoint) {
    // As many bytes as 63 bits count, nearly.
    const Sizes sizes{3'000'000'001, 190'000'000, 1};
    const Sizes slab = slabSizes(sizes, 1 << 18);
    const Slabs slabs({{}, sizes}, slab);
    const LatticeBox last = slabs.slab(slabs.count() - 1);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(last.first[i] + last.size[i], sizes[i]);
    EXPECT_GE(slabs.count(), sizes[0] * sizes[1] / (1 << 18));
}

TEST(SlabSizes, AreNeverMoreThanTheirPointsNorTheBox) {
    Random random(2);
    for (int i = 0; i < 10000; ++i) {
        Sizes sizes{};
        for (auto& size : sizes) size = static_cast<std::int64_t>(random.magnitude(0, 6));
        const auto points = static_cast<std::int64_t>(random.magnitude(0, 8));
        const auto [x, y, z] = slabSizes(sizes, points);
        ASSERT_LE(x * y * z, points);
        for (const auto& [part, whole] : {std::pair{x, sizes[0]}, {y, sizes[1]}, {z, sizes[2]}}) {
            ASSERT_GE(part, 1);
            ASSERT_LE(part, whole);
        }
    }
}

TEST(SlabSizes, DifferByNoMoreThanTheyMust) {
    // 100 = 34 + 34 + 32, rather than 45 + 45 + 10.
    EXPECT_EQ(slabSizes({10, 2, 100}, 1000), (Sizes{10, 2, 50}));
    EXPECT_EQ(slabSizes({100, 1, 1}, 45), (Sizes{34, 1, 1}));
    EXPECT_EQ(slabSizes({1, 100, 1}, 45), (Sizes{1, 34, 1}));
    EXPECT_EQ(slabSizes({1, 1, 100}, 45), (Sizes{1, 1, 34}));
}

TEST(SlabSizes, KeepRowsWholeUpTo4096Points) {
    EXPECT_EQ(slabSizes({4096, 1000, 1000}, 1 << 18)[0], 4096);
    EXPECT_EQ(slabSizes({4097, 1000, 1000}, 1 << 18)[0], 2049);
    EXPECT_EQ(slabSizes({1'000'000, 1000, 1000}, 1 << 18)[0], 4082);  // 245 pieces
}

TEST(SlabSizes, AreAboutThePointsThatWereAskedFor) {
    for (const Sizes& sizes : {Sizes{1000, 1000, 1000}, Sizes{3000, 7, 90000}, Sizes{100, 90, 70},
                               Sizes{5, 5, 1 << 20}}) {
        const auto [x, y, z] = slabSizes(sizes, 1 << 18);
        EXPECT_GE(x * y * z, (1 << 18) / 2) << x << " " << y << " " << z;
    }
}

TEST(SlabSizes, OfFewPointsAreTheWholeBox) {
    EXPECT_EQ(slabSizes({7, 5, 4}, 140), (Sizes{7, 5, 4}));
    EXPECT_EQ(slabSizes({1, 1, 1}, 1), (Sizes{1, 1, 1}));
}

// --- tiles

TEST(SlabSizes, AreOfWholeTiles) {
    // Planes across z, of which 6 fit, and 5 are as even as they can be.
    EXPECT_EQ(slabSizes({40, 50, 9}, 13000, {40, 50, 1}), (Sizes{40, 50, 5}));
    // Planes across x.
    EXPECT_EQ(slabSizes({9, 50, 40}, 13000, {1, 50, 40}), (Sizes{5, 50, 40}));
    // Some lines of a plane, the last tile being smaller.
    EXPECT_EQ(slabSizes({100, 1, 300}, 20000, {100, 1, 64}), (Sizes{100, 1, 192}));
    EXPECT_EQ(slabSizes({100, 1, 40}, 20000, {100, 1, 64}), (Sizes{100, 1, 40}));
    // In a part that is smaller than a tile that is all there is.
    EXPECT_EQ(slabSizes({40, 20, 3}, 2400, {40, 50, 1}), (Sizes{40, 20, 3}));
}

TEST(SlabSizes, CutTilesOfMorePoints) {
    EXPECT_EQ(slabSizes({40, 50, 9}, 2000, {40, 50, 1}), (Sizes{40, 50, 1}));
    EXPECT_EQ(slabSizes({40, 50, 9}, 1999, {40, 50, 1}), slabSizes({40, 50, 9}, 1999));
}

TEST(SlabSizes, OfTilesAreNeverMoreThanTheirPointsNorTheBox) {
    Random random(3);
    const auto drawn = [&](double most) {
        Sizes sizes{};
        for (auto& size : sizes) size = static_cast<std::int64_t>(random.magnitude(0, most));
        return sizes;
    };
    for (int i = 0; i < 10000; ++i) {
        const Sizes sizes = drawn(4);
        const Sizes tile = drawn(3);
        const auto points = static_cast<std::int64_t>(random.magnitude(0, 8));
        const Sizes slab = slabSizes(sizes, points, tile);
        ASSERT_LE(slab[0] * slab[1] * slab[2], points);
        std::int64_t pointsOfTile = 1;
        for (std::size_t axis = 0; axis < 3; ++axis)
            pointsOfTile *= std::min(sizes[axis], tile[axis]);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            ASSERT_GE(slab[axis], 1);
            ASSERT_LE(slab[axis], sizes[axis]);
            const bool isCut = pointsOfTile <= points && slab[axis] < sizes[axis];
            ASSERT_EQ(isCut ? slab[axis] % tile[axis] : 0, 0);
        }
    }
}

TEST(Tiles, AreCountedFromTheLatticesFirstPoint) {
    const Sizes tile{4, 1, 10};
    EXPECT_EQ(run::tilesIn({{0, 0, 0}, {4, 1, 10}}, tile), 1);
    EXPECT_EQ(run::tilesIn({{3, 7, 9}, {1, 1, 1}}, tile), 1);
    EXPECT_EQ(run::tilesIn({{3, 7, 9}, {2, 1, 2}}, tile), 4);
    EXPECT_EQ(run::tilesIn({{4, 0, 0}, {9, 5, 21}}, tile), 3 * 5 * 3);
}

// --- parts

std::vector<LatticeBox> parts(std::int64_t of, const Sizes& sizes) {
    std::vector<LatticeBox> boxes;
    for (std::int64_t i = 1; i <= of; ++i) boxes.push_back(boxOf({i, of}, sizes));
    return boxes;
}

TEST(Parts, CoverEveryPointOfTheLatticeOnce) {
    const Sizes sizes{13, 9, 7};
    for (std::int64_t of = 1; of <= 13; ++of)
        EXPECT_EQ(covered({{}, sizes}, parts(of, sizes)), std::vector<int>(13 * 9 * 7, 1)) << of;
}

TEST(Parts, AreLayersThatDifferByOneAtMost) {
    const std::vector<LatticeBox> boxes = parts(4, {5, 6, 10});
    EXPECT_EQ(boxes, (std::vector<LatticeBox>{{{0, 0, 0}, {5, 6, 3}},
                                              {{0, 0, 3}, {5, 6, 3}},
                                              {{0, 0, 6}, {5, 6, 2}},
                                              {{0, 0, 8}, {5, 6, 2}}}));
}

TEST(Parts, CutAcrossYOrXWhereZIsTooShort) {
    EXPECT_EQ(boxOf({2, 3}, {9, 6, 2}), (LatticeBox{{0, 2, 0}, {9, 2, 2}}));
    EXPECT_EQ(boxOf({3, 3}, {9, 2, 1}), (LatticeBox{{6, 0, 0}, {3, 2, 1}}));
}

TEST(Parts, MoreThanAnyDirectionHasPointsAreRefused) {
    EXPECT_EQ(refused([] {
                  boxOf({1, 10}, {9, 9, 9});
              }),
              "--part: no direction of the grid has 10 points or more");
}

}  // namespace
