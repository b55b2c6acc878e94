// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "field/Request.h"
#include "method/GroupField.h"

namespace pistonfield {

/// The places of a group's points.
struct GroupPlaces {
    alignas(64) double x[groupSize];
    alignas(64) double y[groupSize];
    alignas(64) double z[groupSize];
};

/// The positions of a request's points, in groups that are the request's own:
/// a point's group does not depend on the box that it is computed in.
class Positions {
  public:
    /// @param request outlives this
    explicit Positions(const Request& request);

    /// The points of group number `group`: those with the linear indices from groupSize*group on,
    /// where past the last one it is taken again.
    void group(std::int64_t group, GroupPoints& points) const;

    /// The same where they are, neither folded nor in the frame of a piston.
    void group(std::int64_t group, GroupPlaces& places) const;

    /// The least and the largest x, y and z.
    std::array<std::array<double, 2>, 3> bounds() const;

    /// Whether positions are formed, of a lattice's origin and steps.
    bool areSums() const noexcept { return list == nullptr; }

    /// The position of a point.
    std::array<double, 3> at(const std::array<std::int64_t, 3>& index) const;

    /// The largest distance of a point from the face's centre, times the wavenumber.
    double reach() const;

    /// The first point behind the face, in grid point order, if there is one; by more than the
    /// rounding of the positions.
    std::optional<std::array<std::int64_t, 3>> firstBehind() const;

    /// A point behind a piston, by more than `rounding`, if there is one.
    std::optional<std::array<double, 3>> firstBehind(const Pose& piston, double rounding) const;

  private:
    /// Of a group of the list, from a point on.
    void groupInList(std::int64_t first, GroupPoints& to) const;

    /// Of a group within a row of the lattice, and of any group, `left` points before the last one.
    void groupInRow(const std::array<std::int64_t, 3>& first, GroupPoints& to) const;
    void groupInRows(std::array<std::int64_t, 3> first, std::int64_t left, GroupPoints& to) const;

    /// Does a work with the indices of the lattice's corners.
    template <class Work>
    void forEachCorner(Work work) const;

    double reachOfList() const;
    std::optional<std::array<std::int64_t, 3>> firstBehindInLattice() const;

    double k;
    const PointList* list;  ///< or null
    std::array<std::int64_t, 3> sizes;
    std::int64_t points;
    std::array<double, 12> rows{};  ///< of the transform, over its last number
};

}  // namespace pistonfield
