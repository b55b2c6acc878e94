// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>

namespace pistonfield {

/// The number of an order in `OrderLadder`.
using Rung = std::uint8_t;

/// The integrals that a pressure is the sum of.
enum class Formula : std::uint8_t {
    edges,        ///< along the edges, of (exp(-jR) - exp(-jz))/D
    edgesBeside,  ///< along the edges, of (exp(-jR) - exp(-jQ))/D, where Q is the distance of the
                  ///< face's centre: for points beside the face, whose edges would cancel otherwise
    lines         ///< along lines on a thin face, of exp(-jR)/R: for points beside it
};

/// How an edge, or a line on the face, is integrated: about the foot of a point in `gradings` pairs
/// of panels, each a quarter as long as the one outside of it, and between them an inner panel.
/// Without gradings the inner panel is the whole edge.
struct Panels {
    static constexpr int mostGradings = 40;

    std::uint8_t gradings = 0;
    Rung inner = 0;                 ///< of the inner panel
    Rung outer[mostGradings] = {};  ///< of the outer ones, from the outermost on
};

/// How the pressure of some points is integrated.
struct PointOrders {
    Formula formula;
    Panels edges[4];  ///< the nearer and the farther one along x, and along y; of `lines` the
                      ///< first one is that of all lines
    Rung across;      ///< across the lines
};

}  // namespace pistonfield
