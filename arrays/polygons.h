// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <optional>
#include <vector>

#include "arrays/vectors.h"

namespace pistonfield {

/// The face of an element as a polygon through points of its rim, of a rectangle through its
/// corners. Arcs have 128 chords in a turn, which are off by up to 3e-4 of the radius.
class Polygon {
  public:
    /// @throws std::bad_alloc
    explicit Polygon(const Element& element);

    /// The corners of all loops, in the frame of all elements.
    std::vector<Vector3> corners() const;

    /// Whether two faces intersect, by more than 1e-9 of their sizes.
    bool overlaps(const Polygon& other) const;

    /// The distance to a face that does not overlap.
    double distanceTo(const Polygon& other) const;

    /// The distance of a point.
    double distanceToFace(const Vector3& point) const noexcept;

    /// How far along a ray from a point, in a direction of length 1, it meets the face, if it does.
    std::optional<double> metBy(const Vector3& from, const Vector3& direction) const noexcept;

  private:
    /// A side in the element's plane, with the face to its left.
    struct Side {
        PlaneVector from, to;
    };

    Vector3 placed(const PlaneVector& point) const noexcept;
    bool holds(const PlaneVector& point) const noexcept;
    double distanceToRim(const PlaneVector& point) const noexcept;
    bool isPiercedBy(const Polygon& other, double margin) const noexcept;
    bool isInPlaneOf(const Polygon& other, double margin) const noexcept;
    bool holdsInnerPointOf(const Polygon& other, double beside) const noexcept;
    bool crosses(const Polygon& other, double margin) const noexcept;

    Pose pose;
    std::vector<Side> sides;
    double size = 0;  ///< the largest distance of a corner from the frame's origin
};

}  // namespace pistonfield
