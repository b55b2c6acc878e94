// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/Positions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>

#include "tests/support/RandomPoints.h"

namespace {

using pistonfield::GroupPoints;
using pistonfield::groupSize;
using pistonfield::PointList;
using pistonfield::Positions;
using pistonfield::Request;
using Index = std::array<std::int64_t, 3>;

constexpr unsigned seed = 20261123;

/// A lattice whose rows cross the face's planes of symmetry, divided by 2.
Request requestOf(const Index& sizes) {
    Request request;
    request.lattice.transform = {0.05, 0.01, 0.003, -0.3, -0.02, 0.07, 0.004, -0.4,
                                 0.01, 0.02, 0.3,   0.1,  0,     0,    0,     2};
    request.lattice.sizes = sizes;
    request.wave.wavenumber = 7.1;
    return request;
}

Request listOf(std::size_t count) {
    Random random(seed);
    PointList list;
    for (std::size_t i = 0; i < count; ++i) {
        list.x.push_back(random.between(-3, 3));
        list.y.push_back(random.between(-3, 3));
        list.z.push_back(random.between(0, 9));
    }
    Request request;
    request.lattice.sizes = {static_cast<std::int64_t>(count), 1, 1};
    request.wave.wavenumber = 7.1;
    request.points = list;
    return request;
}

Index indexOf(std::int64_t number, const Index& sizes) {
    return {number % sizes[0], number / sizes[0] % sizes[1], number / sizes[0] / sizes[1]};
}

/// The least and the largest magnitude of a coordinate in a group.
struct Bounds {
    double least, most;
    bool crosses;
};

void expectSpan(const pistonfield::Span& span, Bounds bounds, double k) {
    bounds.least *= k;
    bounds.most *= k;
    EXPECT_LE(span.least, bounds.least);
    EXPECT_GE(span.most, bounds.most);
    // And is not much wider; a row that crosses 0 has all magnitudes from there on.
    EXPECT_GE(span.least, bounds.crosses ? 0 : bounds.least * (1 - 1e-6));
    EXPECT_LE(span.most, bounds.most * (1 + 1e-6));
}

/// Expects each group of a request to have the points that it is to have, and their place.
void expectGroups(const Request& request) {
    const Positions positions(request);
    const Index& sizes = request.lattice.sizes;
    const std::int64_t count = request.lattice.box().points();
    for (std::int64_t group = 0; group * groupSize < count; ++group) {
        SCOPED_TRACE(testing::Message() << "group " << group << " of rows of " << sizes[0]);
        GroupPoints points;
        positions.group(group, points);
        std::array<Bounds, 3> bounds;
        bounds.fill({std::numeric_limits<double>::infinity(), 0, false});
        std::array<double, 3> first{};
        double reach = 0;
        for (int i = 0; i < groupSize; ++i) {
            const auto at =
                positions.at(indexOf(std::min(group * groupSize + i, count - 1), sizes));
            if (i == 0) first = at;
            EXPECT_EQ(points.x[i], std::fabs(at[0]));
            EXPECT_EQ(points.y[i], std::fabs(at[1]));
            EXPECT_EQ(points.z[i], std::fabs(at[2]));
            for (std::size_t k = 0; k < at.size(); ++k) {
                bounds[k].least = std::min(bounds[k].least, std::fabs(at[k]));
                bounds[k].most = std::max(bounds[k].most, std::fabs(at[k]));
                if ((at[k] < 0) != (first[k] < 0)) bounds[k].crosses = true;
            }
            reach = std::max(reach, std::hypot(at[0], at[1], at[2]));
        }
        const auto& extent = points.place.extent;
        const double k = request.wave.wavenumber;
        expectSpan(extent.x, bounds[0], k);
        expectSpan(extent.y, bounds[1], k);
        EXPECT_LE(extent.z, k * bounds[2].least);
        EXPECT_GE(extent.z, bounds[2].crosses ? 0 : k * bounds[2].least * (1 - 1e-6));
        EXPECT_NEAR(points.place.reach, k * reach, 1e-15 * k * reach);
    }
}

TEST(Positions, OfAGroupAreThoseOfItsPointsInEveryLayoutOfRows) {
    for (const Index& sizes : {Index{1, 1, 1},
                               {16, 1, 1},
                               {15, 2, 1},
                               {17, 5, 3},
                               {5, 3, 4},
                               {40, 3, 2},
                               {1, 1, 37},
                               {1, 21, 1},
                               {33, 1, 1},
                               {32, 2, 2}})
        expectGroups(requestOf(sizes));
}

TEST(Positions, OfAGroupAreThoseOfALists) {
    for (const std::size_t count : {std::size_t{1}, std::size_t{16}, std::size_t{45}})
        expectGroups(listOf(count));
}

TEST(Positions, AreTheTransforms) {
    const Request request = requestOf({40, 30, 20});
    const auto& m = request.lattice.transform;
    const Positions positions(request);
    for (const Index& index : {Index{0, 0, 0}, {39, 0, 0}, {0, 29, 0}, {0, 0, 19}, {7, 11, 13}}) {
        const auto at = positions.at(index);
        for (std::size_t i = 0; i < 3; ++i) {
            long double sum = m[4 * i + 3];
            for (std::size_t k = 0; k < 3; ++k)
                sum += static_cast<long double>(m[4 * i + k]) * static_cast<long double>(index[k]);
            EXPECT_NEAR(at[i], static_cast<double>(sum / 2), 1e-14);
        }
    }
    const Request list = listOf(5);
    const auto at = Positions(list).at({3, 0, 0});
    EXPECT_EQ(at, (std::array{list.points->x[3], list.points->y[3], list.points->z[3]}));
}

TEST(Positions, ReachAsFarAsTheFarthestPoint) {
    for (const Request& request : {requestOf({17, 5, 3}), requestOf({1, 1, 1}), listOf(45)}) {
        const Positions positions(request);
        double farthest = 0;
        for (std::int64_t i = 0; i < request.lattice.box().points(); ++i) {
            const auto at = positions.at(indexOf(i, request.lattice.sizes));
            farthest =
                std::max(farthest, request.wave.wavenumber * std::hypot(at[0], at[1], at[2]));
        }
        EXPECT_DOUBLE_EQ(positions.reach(), farthest);
    }
}

TEST(Positions, OfAListReachBeyondAnyLimitWhereSquaresOverflow) {
    Request request = listOf(3);
    for (const double distance : {1e160, 1e300, -1e308}) {
        request.points->y[1] = distance;
        EXPECT_GT(Positions(request).reach(), 1e150);
    }
}

TEST(Positions, OfALatticeReachBeyondAnyLimitWhereAStepOverflows) {
    Request request = requestOf({1, 5, 3});
    request.lattice.transform[0] = 1e308;
    request.lattice.transform.back() = 0.1;
    EXPECT_GT(Positions(request).reach(), 1e150);
}

/// The first point behind the face, by looking at all of them.
std::optional<Index> firstBehind(const Request& request) {
    const Positions positions(request);
    for (std::int64_t i = 0; i < request.lattice.box().points(); ++i) {
        const Index index = indexOf(i, request.lattice.sizes);
        if (positions.at(index)[2] < -1e-9) return index;
    }
    return std::nullopt;
}

TEST(Positions, KnowTheFirstPointBehindTheFace) {
    Random random(seed);
    int found = 0;
    constexpr int trials = 20000;
    for (int i = 0; i < trials; ++i) {
        Request request = requestOf({});
        const auto small = [&] { return static_cast<double>(random.below(7)) - 3; };
        for (std::size_t k = 8; k < 11; ++k) request.lattice.transform[k] = small();
        request.lattice.transform[11] = 3 * small() + 4;
        if (i % 5 == 0) request.lattice.transform[15] = -2;
        for (auto& size : request.lattice.sizes)
            size = 1 + static_cast<std::int64_t>(random.below(6));
        const auto expected = firstBehind(request);
        ASSERT_EQ(Positions(request).firstBehind(), expected);
        found += expected ? 1 : 0;
    }
    EXPECT_GT(found, trials / 4);
    EXPECT_LT(found, 3 * trials / 4);
}

TEST(Positions, KnowTheFirstPointBehindTheFaceOfALargeLattice) {
    Request request = requestOf({1 << 20, 1 << 20, 1 << 20});
    constexpr double step = 0x1p-20;
    request.lattice.transform = {1, 0, 0, 0, 0, 1, 0, 0, -step, -step, -step, 2, 0, 0, 0, 1};
    // x + y + z > 2^21, for the first time where the plane is the first one that has such a point.
    EXPECT_EQ(Positions(request).firstBehind(), (Index{(1 << 20) - 1, (1 << 20) - 1, 3}));
}

TEST(Positions, KnowNoPointBehindTheFaceWhereRoundingAloneIsBehind) {
    Request request = requestOf({100, 1, 1});
    request.lattice.transform = {1, 0, 0, 0, 0, 1, 0, 0, -0.1, 0, 0, 9.9, 0, 0, 0, 3};
    EXPECT_EQ(Positions(request).firstBehind(), std::nullopt);
    request.lattice.transform[11] -= 1e-12;
    EXPECT_EQ(Positions(request).firstBehind(), (Index{99, 0, 0}));
}

TEST(Positions, KnowTheFirstPointOfAListBehindTheFace) {
    Request request = listOf(45);
    EXPECT_EQ(Positions(request).firstBehind(), std::nullopt);
    request.points->z[44] = -1;
    request.points->z[17] = -1e-300;
    request.points->z[3] = -0.0;
    EXPECT_EQ(Positions(request).firstBehind(), (Index{17, 0, 0}));
}

}  // namespace
