// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/LatticePatches.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

#include "field/Request.h"
#include "tests/support/RandomPoints.h"

namespace {

using pistonfield::LatticePatches;
using pistonfield::Patch;
using pistonfield::Positions;
using pistonfield::Request;
using Index = std::array<std::int64_t, 3>;
using Vector = std::array<double, 3>;

constexpr unsigned seed = 20261128;
constexpr double wavelengths = 5;  ///< that a patch measures at the most

/// A request for an array of so many weightings on a lattice of any directions and divisor.
Request requestOf(Random& random, const Index& sizes, std::size_t weightings = 1) {
    Request request;
    request.wave.wavenumber = random.magnitude(-1, 1.5);
    request.tolerance.emplace();
    request.array.emplace();
    request.array->elements.push_back({{1, 1}, {}});
    request.array->weights.assign(weightings, 1);
    request.lattice.sizes = sizes;
    for (std::size_t i = 0; i < 12; ++i) request.lattice.transform[i] = random.between(-1, 1);
    request.lattice.transform[15] = random.sign() * random.between(0.5, 2);
    return request;
}

Index drawSizes(Random& random) {
    Index sizes{};
    for (std::int64_t& size : sizes)
        size = random.below(4) == 0 ? 1 : 1 + static_cast<std::int64_t>(random.below(90));
    while (sizes[0] * sizes[1] * sizes[2] > 60000)
        *std::max_element(sizes.begin(), sizes.end()) /= 2;
    return sizes;
}

LatticeBox drawBox(Random& random, const Index& sizes) {
    LatticeBox box{};
    for (std::size_t i = 0; i < 3; ++i) {
        box.first[i] = static_cast<std::int64_t>(random.below(static_cast<std::size_t>(sizes[i])));
        const auto left = static_cast<std::size_t>(sizes[i] - box.first[i]);
        box.size[i] = 1 + static_cast<std::int64_t>(random.below(left));
    }
    return box;
}

/// Where a point of a patch is, by its number in its row and its row.
Vector pointOf(const Patch& patch, int point, int row) {
    const double along = point - (patch.count[0] - 1) / 2.0;
    const double across = row - (patch.count[1] - 1) / 2.0;
    Vector at{};
    for (std::size_t axis = 0; axis < 3; ++axis)
        at[axis] = patch.middle[axis] + along * patch.step[0][axis] + across * patch.step[1][axis];
    return at;
}

double distance(const Vector& a, const Vector& b) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

/// Goes through the points of a box as its pieces have them, each with its number in the box, the
/// piece, and its number in the row and its row.
template <class Work>
void forEachPoint(const LatticePatches& patches, const LatticeBox& box, Work work) {
    const LatticePatches::InBox inBox(patches, box);
    for (std::int64_t i = 0; i < inBox.count(); ++i) {
        const LatticePatches::Piece piece = inBox.piece(i);
        for (int row = 0; row < piece.count[1]; ++row)
            for (int point = 0; point < piece.count[0]; ++point)
                work(piece.to + row * piece.toNext[1] + point * piece.toNext[0], piece,
                     piece.first[0] + point, piece.first[1] + row);
    }
}

void expectEveryPointOnce(const Request& request, const LatticeBox& box) {
    const LatticePatches patches(request, wavelengths);
    const Positions positions(request);
    std::vector<int> times(static_cast<std::size_t>(box.points()));
    forEachPoint(patches, box,
                 [&](std::int64_t number, const LatticePatches::Piece& piece, int point, int row) {
                     ASSERT_GE(number, 0);
                     ASSERT_LT(number, box.points());
                     ++times[static_cast<std::size_t>(number)];
                     ASSERT_GE(point, 0);
                     ASSERT_LT(point, piece.patch.count[0]);
                     ASSERT_GE(row, 0);
                     ASSERT_LT(row, piece.patch.count[1]);
                     const Index index{box.first[0] + number % box.size[0],
                                       box.first[1] + number / box.size[0] % box.size[1],
                                       box.first[2] + number / box.size[0] / box.size[1]};
                     const Vector expected = positions.at(index);
                     ASSERT_LE(distance(pointOf(piece.patch, point, row), expected),
                               1e-14 * (300 + distance(expected, {})))
                         << "point " << index[0] << ", " << index[1] << ", " << index[2];
                 });
    EXPECT_EQ(std::count(times.begin(), times.end(), 1), box.points());
}

TEST(LatticePatches, HaveEveryPointOfTheLatticeOnce) {
    Random random(seed);
    for (int i = 0; i < 60; ++i) {
        const Request request = requestOf(random, drawSizes(random));
        expectEveryPointOnce(request, request.lattice.box());
        if (testing::Test::HasFatalFailure()) return;
    }
}

TEST(LatticePatches, LieInTiles) {
    Random random(seed + 6);
    for (int i = 0; i < 100; ++i) {
        const Request request = requestOf(random, drawSizes(random));
        const LatticePatches patches(request, wavelengths);
        const Index tile = patches.tile();
        LatticeBox box;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const auto tiles =
                static_cast<std::size_t>((request.lattice.sizes[axis] - 1) / tile[axis]);
            box.first[axis] = static_cast<std::int64_t>(random.below(tiles + 1)) * tile[axis];
            box.size[axis] = std::min(tile[axis], request.lattice.sizes[axis] - box.first[axis]);
        }
        EXPECT_EQ(LatticePatches::InBox(patches, box).count(), 1);
    }
}

TEST(LatticePatches, HaveEveryPointOfABoxOnce) {
    Random random(seed + 1);
    for (int i = 0; i < 600; ++i) {
        const Request request = requestOf(random, drawSizes(random));
        expectEveryPointOnce(request, drawBox(random, request.lattice.sizes));
        if (testing::Test::HasFatalFailure()) return;
    }
}

TEST(LatticePatches, HaveEveryPointOfEveryOrderOfTheDirections) {
    Random random(seed + 2);
    for (const Index& shape : {Index{70, 23, 1}, Index{70, 3, 2}, Index{15, 9, 14}, Index{16, 1, 1},
                               Index{1, 1, 1}, Index{200, 17, 3}}) {
        Index order{0, 1, 2};
        do {
            const Index sizes{shape[static_cast<std::size_t>(order[0])],
                              shape[static_cast<std::size_t>(order[1])],
                              shape[static_cast<std::size_t>(order[2])]};
            const Request request = requestOf(random, sizes);
            expectEveryPointOnce(request, request.lattice.box());
            expectEveryPointOnce(request, drawBox(random, sizes));
            if (testing::Test::HasFatalFailure()) return;
        } while (std::next_permutation(order.begin(), order.end()));
    }
}

TEST(LatticePatches, OfAListAreItsPoints) {
    Random random(seed + 3);
    Request request = requestOf(random, {50, 1, 1});
    auto& list = request.points.emplace();
    for (auto* coordinates : {&list.x, &list.y, &list.z})
        for (int i = 0; i < 50; ++i) coordinates->push_back(random.between(-100, 100));
    const LatticePatches patches(request, wavelengths);
    EXPECT_EQ(patches.counts(), (std::array{1, 1}));
    expectEveryPointOnce(request, request.lattice.box());
    expectEveryPointOnce(request, {{17, 0, 0}, {20, 1, 1}});
    forEachPoint(
        patches, request.lattice.box(),
        [&](std::int64_t number, const LatticePatches::Piece& piece, int, int) {
            const auto i = static_cast<std::size_t>(number);
            EXPECT_EQ(pointOf(piece.patch, 0, 0), (Vector{list.x[i], list.y[i], list.z[i]}));
        });
}

using Bits = std::vector<double>;

Bits bitsOf(const LatticePatches::Piece& piece, int point, int row) {
    const Patch& p = piece.patch;
    Bits bits{p.middle[0], p.middle[1], p.middle[2]};
    for (const auto& step : p.step) bits.insert(bits.end(), step, step + 3);
    for (const int number : {p.count[0], p.count[1], point, row}) bits.push_back(number);
    return bits;
}

TEST(LatticePatches, DoNotDependOnTheBox) {
    Random random(seed + 4);
    for (int i = 0; i < 40; ++i) {
        const Request request = requestOf(random, drawSizes(random));
        const Index& sizes = request.lattice.sizes;
        const LatticePatches patches(request, wavelengths);
        std::vector<Bits> whole(static_cast<std::size_t>(request.lattice.box().points()));
        forEachPoint(patches, request.lattice.box(),
                     [&](std::int64_t number, const auto& piece, int point, int row) {
                         whole[static_cast<std::size_t>(number)] = bitsOf(piece, point, row);
                     });
        const LatticeBox box = drawBox(random, sizes);
        forEachPoint(patches, box, [&](std::int64_t number, const auto& piece, int point, int row) {
            const std::int64_t x = box.first[0] + number % box.size[0];
            const std::int64_t y = box.first[1] + number / box.size[0] % box.size[1];
            const std::int64_t z = box.first[2] + number / box.size[0] / box.size[1];
            ASSERT_EQ(bitsOf(piece, point, row),
                      whole[static_cast<std::size_t>((z * sizes[1] + y) * sizes[0] + x)]);
        });
    }
}

TEST(LatticePatches, AreOfFewWavelengthsAndNoMorePointsThanARowTakes) {
    Random random(seed + 5);
    for (int i = 0; i < 100; ++i) {
        const Request request = requestOf(random, drawSizes(random));
        const LatticePatches patches(request, wavelengths);
        const auto piece = LatticePatches::InBox(patches, request.lattice.box()).piece(0);
        const double wavelength = 2 * std::numbers::pi / request.wave.wavenumber;
        for (int k = 0; k < 2; ++k) {
            const int count = patches.counts()[static_cast<std::size_t>(k)];
            EXPECT_EQ(piece.patch.count[k], count);
            EXPECT_GE(count, 1);
            EXPECT_LE(count, pistonfield::mostInRow);
            const double most = count > 8 ? wavelengths * wavelength : HUGE_VAL;
            EXPECT_LE(2 * piece.patch.half(k), most);
        }
    }
}

// Sums take room for each point and weighting.
TEST(LatticePatches, AreSmallerOfManyWeightings) {
    Random random(seed + 6);
    for (const std::size_t weightings : {1U, 64U, 300U, 4096U}) {
        const Request request = requestOf(random, {300, 200, 2}, weightings);
        const auto counts = LatticePatches(request, wavelengths).counts();
        EXPECT_LE(static_cast<std::size_t>(counts[1]) * weightings,
                  std::max<std::size_t>(weightings, 4096));
        expectEveryPointOnce(request, {{100, 100, 0}, {90, 80, 2}});
    }
}

TEST(LatticePatches, AreWholeInLayersOfPoints) {
    Random random(seed + 7);
    for (int i = 0; i < 60; ++i) {
        const Request request = requestOf(random, drawSizes(random));
        const LatticePatches patches(request, wavelengths);
        const std::int64_t points = patches.pointsOfLayer();
        EXPECT_GE(points, patches.counts()[0] * patches.counts()[1]);
        EXPECT_LE(points, request.lattice.box().points());
    }
}

}  // namespace
