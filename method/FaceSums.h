// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>

#include "lanes/InstructionSet.h"
#include "method/ContourSums.h"

namespace pistonfield {

/// A node on a piston's face, in a frame about the centre of its circle.
struct FaceNode {
    double x, y;
    double weight;  ///< of the face's area
};

/// The nodes of a rule for integrals over the face.
using FaceRule = std::vector<FaceNode>;

/// The sums over the face, with E = exp(-jk(R - Q)) and d the vector from the node to the point:
///
/// phi             E/R
/// slope           (1 + jkR) E/R^3
/// slopeX, slopeY  the same, times d's x and y
/// bend            (3 + 3jkR - (kR)^2) E/R^5
/// bendX, bendY    the same, times d's x and y
struct FaceSums {
    using Sum = ContourSums::Sum;

    Sum phi, slope;
    Sum slopeX, slopeY;
    Sum bend, bendX, bendY;
};

/// Sums up over nodes, for k = wavenumber - j*attenuation. Sums that the derivatives do not need
/// are not touched.
struct FaceSumsOf {
    /// @param points with the distance of the frame's origin for their reference
    void (*compute)(const FaceNode* nodes, std::size_t count, double wavenumber, double attenuation,
                    Derivatives derivatives, const ContourPoints& points, FaceSums& sums);
};

/// Those that are compiled for an instruction set, in that set's copy of FaceSums.lanes.cpp.
template <lanes::InstructionSet set>
const FaceSumsOf& faceSumsOf();

/// Those of the instruction set in use.
const FaceSumsOf& faceSums() noexcept;

}  // namespace pistonfield
