// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/FarSums.h"

#include <cmath>

#include "lanes/PerInstructionSet.h"

namespace pistonfield {

const FarSums& farSums() noexcept {
    static constexpr lanes::PerInstructionSet<const FarSums& (*)()> copies(
        []<lanes::InstructionSet set>() { return &farSumsOf<set>; });
    return copies.inUse()();
}

double Patch::half(int direction) const noexcept {
    const double(&along)[3] = step[direction];
    return std::hypot(along[0], along[1], along[2]) * (count[direction] - 1) / 2;
}

double Patch::halfDiagonal() const noexcept { return half(0) + half(1); }

int estimatedNodes(double radians, double halfLengths, double error) noexcept {
    if (halfLengths == 0) return 1;
    // The coefficients of exp(j*radians*x) are Bessel functions; those of 1/R fall with the ellipse
    // through the face's centre, and the phase's with both.
    constexpr int fewest = 3;
    const double ellipse = 1 / (1 / halfLengths + std::sqrt(1 / (halfLengths * halfLengths) + 1));
    double wave = 1;
    double distance = 0.25;
    int nodes = 1;
    for (; nodes < RowRules<double>::mostNodes; ++nodes) {
        wave *= radians / 2 / nodes;
        distance *= ellipse;
        if (nodes >= fewest && wave + distance * (1 + radians) <= error) break;
    }
    return nodes + 1;
}

}  // namespace pistonfield
