// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/pieces.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

/// The linear indices, in a lattice of 9 by 9 by 9, of a box's points in order.
std::vector<std::int64_t> pointsOf(const LatticeBox& box) {
    std::vector<std::int64_t> points;
    for (auto z = box.first[2]; z < box.first[2] + box.size[2]; ++z)
        for (auto y = box.first[1]; y < box.first[1] + box.size[1]; ++y)
            for (auto x = box.first[0]; x < box.first[0] + box.size[0]; ++x)
                points.push_back((z * 9 + y) * 9 + x);
    return points;
}

TEST(Pieces, AreRunsOfTheWholeBoxInOrder) {
    for (const LatticeBox& box :
         {LatticeBox{{1, 2, 3}, {5, 4, 3}}, LatticeBox{{0, 0, 0}, {7, 1, 1}},
          LatticeBox{{0, 1, 0}, {1, 6, 1}}, LatticeBox{{2, 2, 2}, {1, 1, 1}}})
        for (std::int64_t most = 1; most <= box.points() + 1; ++most) {
            std::vector<std::int64_t> points;
            pistonfield::inPieces(box, most, [&](const LatticeBox& piece) {
                EXPECT_LE(piece.points(), most);
                const auto more = pointsOf(piece);
                points.insert(points.end(), more.begin(), more.end());
            });
            EXPECT_EQ(points, pointsOf(box));
        }
}

TEST(Pieces, AreAsFewAsWholeLayersAllow) {
    int count = 0;
    pistonfield::inPieces({{}, {4, 5, 6}}, 45, [&](const LatticeBox& /*piece*/) { ++count; });
    EXPECT_EQ(count, 3);
}

}  // namespace
