// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "arrays/vectors.h"
#include "field/Request.h"

namespace pistonfield {

/// How far one may go from a point, backwards and forwards along a direction.
struct Range {
    double from = 0;  ///< not above 0
    double to = 0;    ///< not below 0
};

/// What a lattice spans: between its outermost points along each of its directions. Along one with
/// a single point it has no extent.
class Region {
  public:
    /// @throws InvalidRequest of `sizes` or `transform` where it spans nothing
    explicit Region(const Lattice& lattice);

    Vector3 placeOf(const Vector3& coordinates) const noexcept;
    Vector3 coordinatesOf(const Vector3& place) const noexcept;

    /// The nearest coordinates that are within.
    Vector3 within(const Vector3& coordinates) const noexcept;

    /// Whether a place is within, but for rounding.
    bool contains(const Vector3& place) const noexcept;

    /// Whether coordinates are on the edge along a direction in which there is an extent.
    bool isOnEdge(const Vector3& coordinates) const noexcept;

    /// How far one may go from a place within, along a direction of length 1.
    Range rangeOf(const Vector3& place, const Vector3& direction) const noexcept;

    /// Whether there is more than one point along a direction of the lattice.
    bool extends(std::size_t i) const noexcept { return last[i] > 0; }

    /// The shortest way from one point to the next one; 0 of a single point.
    double shortestStep() const noexcept;

  private:
    std::array<Vector3, 3> steps{};  ///< from a point to the next one
    std::array<Vector3, 3> duals{};  ///< their products with the steps are 1 and 0
    Vector3 origin{};
    Vector3 last{};     ///< the largest coordinates
    double extent = 0;  ///< the longest side
};

}  // namespace pistonfield
