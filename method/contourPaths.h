// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "lanes/Pack.h"
#include "lanes/estimates.h"
#include "method/ContourSums.h"
#include "method/wavesAlong.h"

// What the sums along a piston's boundary have in common, for packs of doubles.

namespace pistonfield {
inline namespace PISTONFIELD_INSTRUCTION_SET {

inline constexpr int contourWidth = lanes::width<double>;
static_assert(groupSize % contourWidth == 0);

/// A pack of points at z >= 0.
struct ContourAt {
    DoublePack x, y, z, zz;
    DoublePack reference;  ///< Q
    DoublePack tiny;       ///< keeps quotients by D and R finite where these are 0, in products too

    static ContourAt of(const ContourPoints& points, int first) {
        constexpr double tinySquare = 1e-80;
        const DoublePack z = loadedPack(points.z + first);
        return {loadedPack(points.x + first),
                loadedPack(points.y + first),
                z,
                z * z,
                loadedPack(points.reference + first),
                lanes::broadcast<DoublePack>(tinySquare)};
    }
};

/// A node of the boundary as points see it.
struct ContourPath {
    DoublePack length;  ///< R - Q, formed without cancellation
    DoublePack angle;   ///< cross/D
    DoublePack cross;
    DoublePack R;
    DoublePack perR;
};

template <bool isBeside>
[[gnu::always_inline]] inline ContourPath pathTo(const ContourNode& node, const ContourAt& at) {
    const DoublePack toX = node.x - at.x;
    const DoublePack toY = node.y - at.y;
    const DoublePack D = lanes::multiplyAdd(toX, toX, lanes::multiplyAdd(toY, toY, at.tiny));
    const DoublePack R = lanes::nearSquareRoot(D + at.zz);
    const DoublePack total = R + at.reference;
    const DoublePack totalByR = total * R;
    const DoublePack all = lanes::nearReciprocal(totalByR * D);
    const DoublePack cross = toX * node.dy - toY * node.dx;
    const DoublePack difference =
        isBeside ? node.x * (toX - at.x) + node.y * (toY - at.y) : D;  // R^2 - Q^2
    return {difference * (all * (R * D)), cross * (all * totalByR), cross, R, all * (total * D)};
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace pistonfield
