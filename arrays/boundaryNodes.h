// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <vector>

#include "method/Outline.h"

namespace pistonfield {

/// A node of a rule for integrals along a boundary: its place, and the piece of the boundary that
/// it stands for, along the boundary.
struct BoundaryNode {
    PlaneVector at;
    PlaneVector step;
};

/// The order of a Gauss-Legendre rule along a part of an edge for integrands whose phase changes by
/// up to the wavenumber times the way.
/// @param refinement from 0 on; each one has about a third more nodes
/// @return at most the largest int
int orderAlong(const OutlineEdge& edge, double part, double wavenumber, int refinement) noexcept;

/// The number of nodes along an outline, without a look for them. In panels, parts of its edges,
/// it has as many or more.
/// @param refinement as in `orderAlong`
std::size_t nodesOf(const Outline& outline, double wavenumber, int refinement) noexcept;

/// Gauss-Legendre nodes along an outline, for integrands whose phase changes by up to the
/// wavenumber times the way: edge by edge as many as these waves and an arc's bend need.
/// @throws std::bad_alloc
std::vector<BoundaryNode> nodesAlong(const Outline& outline, double wavenumber, int refinement);

}  // namespace pistonfield
