// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <vector>

#include "arrays/MutualKernel.h"
#include "arrays/boundaryNodes.h"

namespace pistonfield {

/// A part of an outline's edge in a frame in which the outline is turned, with Gauss-Legendre
/// nodes.
class BoundaryPanel {
  public:
    /// @param part   the range of the edge's parameter, within -1 to 1
    /// @param along  the direction in the frame of the outline's x axis, of length 1
    /// @throws std::bad_alloc
    BoundaryPanel(const OutlineEdge& edge, const std::array<double, 2>& part,
                  const PlaneVector& along, int order);

    /// The place at s from -1 to 1, and the derivative by s.
    EdgePlace at(double s) const noexcept;

    const std::vector<BoundaryNode>& nodes() const noexcept { return theNodes; }

  private:
    OutlineEdge edge;
    std::array<double, 2> part;
    PlaneVector along;
    std::vector<BoundaryNode> theNodes;
};

/// An outline in panels: its edges, or with losses parts that are so short that two of them have at
/// most one end in common.
/// @throws std::bad_alloc
std::vector<BoundaryPanel> panelsAlong(const Outline& outline, const PlaneVector& along,
                                       const Wave& wave, int refinement);

/// The integral of a kernel K(R) dl . dl' over two panels, the second one moved by an offset.
///
/// With losses K has odd powers of R, which are no smooth functions of the places where panels are
/// the same or meet. There the square of the parameters is cut into two triangles with a corner or
/// a side where R is 0, in which R is smooth by the coordinates x and y/x (Duffy, SIAM J. Numer.
/// Anal. 19, 1260-1262, 1982).
/// @param rounding how far ends may be apart that are the same
double pairIntegral(const BoundaryPanel& one, const BoundaryPanel& other, const PlaneVector& offset,
                    const MutualKernel& kernel, double rounding);

}  // namespace pistonfield
